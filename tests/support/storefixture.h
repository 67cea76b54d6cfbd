// SPDX-License-Identifier: LGPL-2.1-or-later
#ifndef TESTS_SUPPORT_STOREFIXTURE_H
#define TESTS_SUPPORT_STOREFIXTURE_H

#include <qmailaccount.h>
#include <qmailfolder.h>
#include <qmailmessage.h>

/** Fills the mail store of the test's environment. Whatever fails ends the test program. */
namespace StoreFixture {

/** An account's settings, as a person enters them; the service is "orvmail". */
struct Account
{
    QString name = QStringLiteral("Test");
    QString email = QStringLiteral("alice@example.com");
    QString domain;
    QString username = QStringLiteral("alice");
    QString password = QStringLiteral("secret");
    QString server = QStringLiteral("127.0.0.1");
    int port = 80;
    /** 0 none, 1 SSL. */
    int encryption = 0;
    bool enabled = true;
};

QMailAccountId addAccount(const Account &settings = Account());

/** A folder of the account, which becomes its `standard` folder, too, where one is named. */
QMailFolderId addFolder(const QMailAccountId &account, const QString &name,
                        QMailFolder::StandardFolder standard = QMailFolder::StandardFolder(0),
                        const QMailFolderId &parent = QMailFolderId());

/** Inbox, Drafts, Sent, Trash, Junk and Outbox, each as the standard folder of that kind. */
void addStandardFolders(const QMailAccountId &account);

/** A message with a plain text body, by default a received one that is wholly here. */
QMailMessageId addMessage(const QMailAccountId &account, const QMailFolderId &folder,
                          const QString &subject = QStringLiteral("Hello"), quint64 status = 0,
                          const QString &serverUid = QString());

/** A message in the account's outbox, ready for transmission. */
QMailMessageId addOutgoing(const QMailAccountId &account,
                           const QString &subject = QStringLiteral("Hello"));

/** Whether the store has the message; asked of the database, as this process's copy may be older.
 */
bool exists(const QMailMessageId &id);
/** The same for one of its flags. */
bool hasStatus(const QMailMessageId &id, quint64 flag);

/** Writes a field of the account as another program does; a null text removes it. */
void setCustomField(const QMailAccountId &id, const QString &name, const QString &value);

/** Removes every account, with all that hangs on it. */
void clear();

} // namespace StoreFixture

#endif
