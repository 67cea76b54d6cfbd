// SPDX-License-Identifier: LGPL-2.1-or-later
#include "plugin/settings/accountsettings.h"

#include "asclient/servicekey.h"
#include "plugin/settings/orvconfigurationeditor.h"

#include <qmailaccount.h>
#include <qmailmessage.h>
#include <qmailstore.h>

#include <tuple>

namespace {

/**
 * Replaces the account's whole status word.
 *
 * The flags have their values from the mail store and are all 0 until it is open.
 */
void markAccount(QMailAccount *account)
{
    QMailStore::instance();
    account->setStatus(QMailAccount::Enabled);
    account->setStatus(QMailAccount::CanTransmit, true);
    account->setStatus(QMailAccount::CanRetrieve, true);
    account->setStatus(QMailAccount::MessageSource, true);
    account->setStatus(QMailAccount::MessageSink, true);
    account->setStatus(QMailAccount::UseSmartReply, true);
    account->setStatus(QMailAccount::UserEditable, true);
    account->setStatus(QMailAccount::UserRemovable, false);
    account->setMessageType(QMailMessage::Email);
}

} // namespace

bool AccountSettings::operator==(const AccountSettings &other) const
{
    const auto fields = [](const AccountSettings &s) {
        return std::tie(s.userName, s.password, s.server, s.port, s.encryption, s.email, s.domain);
    };
    return fields(*this) == fields(other);
}

bool isOrvAccount(const QMailAccountConfiguration &config)
{
    return config.services().contains(Activesync::mailServiceKey());
}

AccountSettings readSettings(const QMailAccountConfiguration &config)
{
    if (!isOrvAccount(config))
        return {};
    const OrvConfiguration stored(config);
    AccountSettings settings;
    settings.userName = stored.mailUserName();
    settings.password = stored.mailPassword();
    settings.server = stored.mailServer();
    settings.port = stored.mailPort();
    settings.encryption = stored.mailEncryption();
    settings.email = stored.mailEmail();
    settings.domain = stored.mailDomain();
    return settings;
}

bool canKeepPassword(const QString &password)
{
    QMailAccountConfiguration config;
    config.addServiceConfiguration(Activesync::mailServiceKey());
    OrvConfigurationEditor editor(&config);
    editor.setMailPassword(password);
    return editor.mailPassword() == password;
}

void writeSettings(const AccountSettings &settings, QMailAccount *account,
                   QMailAccountConfiguration *config)
{
    if (!isOrvAccount(*config))
        config->addServiceConfiguration(Activesync::mailServiceKey());
    OrvConfigurationEditor editor(config);
    editor.setVersion(100);
    editor.setType(QMailServiceConfiguration::SourceAndSink);
    editor.setMailUserName(settings.userName);
    editor.setMailPassword(settings.password);
    editor.setMailServer(settings.server);
    editor.setMailPort(settings.port);
    editor.setMailEncryption(settings.encryption);
    editor.setMailEmail(settings.email);
    editor.setMailDomain(settings.domain);

    account->setCustomField(QStringLiteral("HostName"), editor.mailServer());
    account->setCustomField(QStringLiteral("UserName"), editor.mailUserName());
    account->setCustomField(QStringLiteral("service"), Activesync::mailServiceKey());
    markAccount(account);
}
