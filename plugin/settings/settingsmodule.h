// SPDX-License-Identifier: LGPL-2.1-or-later
#ifndef PLUGIN_SETTINGS_SETTINGSMODULE_H
#define PLUGIN_SETTINGS_SETTINGSMODULE_H

#include <QtPlugin>

class QMailMessageServiceEditor;

/**
 * What the plugin asks of the module that holds the settings form.
 *
 * The form lives in a module of its own so that the message server, which never shows it, does
 * not load the widget libraries.
 */
class SettingsModuleInterface
{
public:
    virtual ~SettingsModuleInterface() = default;

    /** A new editor without parent; the caller owns it. Needs a QApplication. */
    virtual QMailMessageServiceEditor *createEditor() const = 0;
};

#define SettingsModuleInterface_iid "com.tarvo.orvmail.SettingsModule/1"
Q_DECLARE_INTERFACE(SettingsModuleInterface, SettingsModuleInterface_iid)

#endif
