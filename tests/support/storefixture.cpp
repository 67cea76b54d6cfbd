// SPDX-License-Identifier: LGPL-2.1-or-later
#include "tests/support/storefixture.h"

#include <qmailaccountconfiguration.h>
#include <qmailserviceconfiguration.h>
#include <qmailstore.h>

namespace StoreFixture {

namespace {

const QString Service = QStringLiteral("orvmail");

/** Makes the encoding of passwords public. */
class Encoder : public QMailServiceConfiguration
{
public:
    using QMailServiceConfiguration::encodeValue;
};

void need(bool done, const char *what)
{
    if (!done)
        qFatal("the mail store refused to %s (error %d)", what,
               QMailStore::instance()->lastError());
}

QMailAccountConfiguration configurationOf(const Account &settings)
{
    QMailAccountConfiguration configuration;
    configuration.addServiceConfiguration(Service);
    QMailServiceConfiguration service(&configuration, Service);
    service.setVersion(100);
    service.setType(QMailServiceConfiguration::SourceAndSink);
    const auto set = [&service](const char *key, const QString &value) {
        // The store refuses a null text.
        service.setValue(QLatin1String(key), value.isNull() ? QLatin1String("") : value);
    };
    set("email", settings.email);
    set("domain", settings.domain);
    set("username", settings.username);
    set("password", Encoder::encodeValue(settings.password));
    set("server", settings.server);
    set("port", QString::number(settings.port));
    set("encryption", QString::number(settings.encryption));
    return configuration;
}

quint64 folderStatus(QMailFolder::StandardFolder standard)
{
    quint64 status = QMailFolder::SynchronizationEnabled | QMailFolder::Synchronized
        | QMailFolder::MessagesPermitted;
    switch (standard) {
    case QMailFolder::InboxFolder:
        return status | QMailFolder::Incoming;
    case QMailFolder::OutboxFolder:
        return status | QMailFolder::Outgoing;
    case QMailFolder::DraftsFolder:
        return status | QMailFolder::Drafts;
    case QMailFolder::SentFolder:
        return status | QMailFolder::Sent;
    case QMailFolder::TrashFolder:
        return status | QMailFolder::Trash;
    case QMailFolder::JunkFolder:
        return status | QMailFolder::Junk;
    default:
        return status;
    }
}

QMailMessage plainMessage(const QMailAccountId &account, const QMailFolderId &folder,
                          const QString &subject)
{
    QMailMessage message;
    message.setMessageType(QMailMessage::Email);
    message.setParentAccountId(account);
    message.setParentFolderId(folder);
    message.setFrom(QMailAddress(QStringLiteral("Bob"), QStringLiteral("bob@example.com")));
    message.setTo(QMailAddress(QStringLiteral("Alice"), QStringLiteral("alice@example.com")));
    message.setSubject(subject);
    message.setDate(QMailTimeStamp::currentDateTime());
    message.setReceivedDate(QMailTimeStamp::currentDateTime());
    message.setBody(QMailMessageBody::fromData(QStringLiteral("Hello.\n"),
                                               QMailMessageContentType("text/plain; charset=UTF-8"),
                                               QMailMessageBody::QuotedPrintable));
    message.setStatus(QMailMessage::ContentAvailable, true);
    return message;
}

} // namespace

QMailAccountId addAccount(const Account &settings)
{
    // The status flags have no values before the store is there.
    QMailStore::instance();
    QMailAccount account;
    account.setName(settings.name);
    account.setMessageType(QMailMessage::Email);
    account.setFromAddress(QMailAddress(settings.name, settings.email));
    account.setStatus(QMailAccount::Enabled, settings.enabled);
    account.setStatus(QMailAccount::UserEditable | QMailAccount::UserRemovable
                          | QMailAccount::MessageSource | QMailAccount::CanRetrieve
                          | QMailAccount::MessageSink | QMailAccount::CanTransmit,
                      true);
    QMailAccountConfiguration configuration = configurationOf(settings);
    need(QMailStore::instance()->addAccount(&account, &configuration), "add an account");
    return account.id();
}

QMailFolderId addFolder(const QMailAccountId &accountId, const QString &name,
                        QMailFolder::StandardFolder standard, const QMailFolderId &parent)
{
    QMailFolder folder(name, parent, accountId);
    folder.setDisplayName(name);
    folder.setStatus(folderStatus(standard));
    need(QMailStore::instance()->addFolder(&folder), "add a folder");
    if (standard != QMailFolder::StandardFolder(0)) {
        QMailAccount account(accountId);
        account.setStandardFolder(standard, folder.id());
        need(QMailStore::instance()->updateAccount(&account), "name a standard folder");
    }
    return folder.id();
}

void addStandardFolders(const QMailAccountId &account)
{
    addFolder(account, QStringLiteral("Inbox"), QMailFolder::InboxFolder);
    addFolder(account, QStringLiteral("Drafts"), QMailFolder::DraftsFolder);
    addFolder(account, QStringLiteral("Sent"), QMailFolder::SentFolder);
    addFolder(account, QStringLiteral("Trash"), QMailFolder::TrashFolder);
    addFolder(account, QStringLiteral("Junk"), QMailFolder::JunkFolder);
    addFolder(account, QStringLiteral("Outbox"), QMailFolder::OutboxFolder);
}

QMailMessageId addMessage(const QMailAccountId &account, const QMailFolderId &folder,
                          const QString &subject, quint64 status, const QString &serverUid)
{
    QMailMessage message = plainMessage(account, folder, subject);
    message.setStatus(status ? status : QMailMessage::Incoming | QMailMessage::ContentAvailable);
    message.setServerUid(serverUid);
    need(QMailStore::instance()->addMessage(&message), "add a message");
    return message.id();
}

QMailMessageId addOutgoing(const QMailAccountId &account, const QString &subject)
{
    const QMailFolderId outbox = QMailAccount(account).standardFolder(QMailFolder::OutboxFolder);
    QMailMessage message = plainMessage(
        account, outbox.isValid() ? outbox : QMailFolderId(QMailFolder::LocalStorageFolderId),
        subject);
    message.setFrom(QMailAddress(QStringLiteral("Alice"), QStringLiteral("alice@example.com")));
    message.setTo(QMailAddress(QStringLiteral("Bob"), QStringLiteral("bob@example.com")));
    message.setStatus(QMailMessage::Outgoing | QMailMessage::Outbox | QMailMessage::ContentAvailable
                          | QMailMessage::LocalOnly | QMailMessage::Read,
                      true);
    need(QMailStore::instance()->addMessage(&message), "add an outgoing message");
    return message.id();
}

bool exists(const QMailMessageId &id)
{
    return QMailStore::instance()->countMessages(QMailMessageKey::id(id)) == 1;
}

bool hasStatus(const QMailMessageId &id, quint64 flag)
{
    const auto key =
        QMailMessageKey::id(id) & QMailMessageKey::status(flag, QMailDataComparator::Includes);
    return QMailStore::instance()->countMessages(key) == 1;
}

void setCustomField(const QMailAccountId &id, const QString &name, const QString &value)
{
    QMailAccount account(id);
    if (value.isNull())
        account.removeCustomField(name);
    else
        account.setCustomField(name, value);
    need(QMailStore::instance()->updateAccount(&account), "change an account");
}

void clear()
{
    need(QMailStore::instance()->removeAccounts(QMailAccountKey()), "remove the accounts");
}

} // namespace StoreFixture
