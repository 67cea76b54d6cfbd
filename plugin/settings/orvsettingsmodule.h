// SPDX-License-Identifier: LGPL-2.1-or-later
#ifndef PLUGIN_SETTINGS_ORVSETTINGSMODULE_H
#define PLUGIN_SETTINGS_ORVSETTINGSMODULE_H

#include "plugin/settings/settingsmodule.h"

#include <QObject>

/** The root object of the settings module. */
class OrvSettingsModule : public QObject, public SettingsModuleInterface
{
    Q_OBJECT
    Q_PLUGIN_METADATA(IID SettingsModuleInterface_iid)
    Q_INTERFACES(SettingsModuleInterface)

public:
    QMailMessageServiceEditor *createEditor() const override;
};

#endif
