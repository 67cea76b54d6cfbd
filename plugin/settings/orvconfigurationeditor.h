// SPDX-License-Identifier: LGPL-2.1-or-later
#ifndef PLUGIN_SETTINGS_ORVCONFIGURATIONEDITOR_H
#define PLUGIN_SETTINGS_ORVCONFIGURATIONEDITOR_H

#include "plugin/settings/orvconfiguration.h"

/** The same settings, to be written. The configuration must outlive the editor. */
class OrvConfigurationEditor : public OrvConfiguration
{
public:
    explicit OrvConfigurationEditor(QMailAccountConfiguration *config);

    void setMailEmail(const QString &email);
    void setMailDomain(const QString &domain);
    void setMailUserName(const QString &userName);
    void setMailServer(const QString &server);
    /** Takes the clear text and stores it encoded. */
    void setMailPassword(const QString &password);
    void setMailPort(int port);
    void setMailEncryption(int encryption);
};

#endif
