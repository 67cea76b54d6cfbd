// SPDX-License-Identifier: LGPL-2.1-or-later
#ifndef PLUGIN_SETTINGS_ACCOUNTSETTINGS_H
#define PLUGIN_SETTINGS_ACCOUNTSETTINGS_H

#include <QString>

class QMailAccount;
class QMailAccountConfiguration;

/** What a person enters to set an account up. */
struct AccountSettings
{
    QString userName;
    QString password; ///< clear text
    QString server;   ///< host name or address
    int port = 80;
    int encryption = 0; ///< 0: none, 1: TLS
    QString email;
    QString domain;

    bool operator==(const AccountSettings &other) const;
};

/** Whether the configuration is that of one of our accounts. */
bool isOrvAccount(const QMailAccountConfiguration &config);

/** The settings that the configuration holds, with the defaults for what it does not. */
AccountSettings readSettings(const QMailAccountConfiguration &config);

/** Whether the store gives the password back as it is: its encoding knows Latin-1 alone. */
bool canKeepPassword(const QString &password);

/**
 * Writes the settings and marks the account as an enabled ActiveSync account.
 *
 * The account's whole status word is replaced. Saving both to the mail store, by which message
 * server and daemon notice, is the caller's.
 */
void writeSettings(const AccountSettings &settings, QMailAccount *account,
                   QMailAccountConfiguration *config);

#endif
