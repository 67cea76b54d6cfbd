// SPDX-License-Identifier: LGPL-2.1-or-later
#ifndef TESTS_STORE_ITEMS_H
#define TESTS_STORE_ITEMS_H

#include "daemon/store/syncstatedb.h"
#include "eas/folderchanges.h"
#include "eas/syncwindow.h"
#include "tests/support/storefixture.h"

#include <qmailmessage.h>

/** Items and windows as a server sends them, and a synchronised folder to put them into. */
namespace Items {

Eas::MailItem item(const QString &serverId, const QString &subject = QStringLiteral("Hello"),
                   const QByteArray &text = QByteArrayLiteral("How are you?\r\n"));
Eas::Attachment attachment(const QString &name, const QString &reference, qint64 size = 1000);
Eas::SyncWindow window(const QString &collection, const QString &key);
Eas::MailItem readChange(const QString &serverId, bool read);
Eas::MailItem flagChange(const QString &serverId, bool flagged);

Eas::FolderRecord folder(const QString &serverId, const QString &name,
                         int type = Eas::UserMailFolder,
                         const QString &parent = QStringLiteral("0"));
/** A server's usual folders: inbox, drafts, sent, trash, with the ids "in", "dr", "se", "tr". */
Eas::FolderChanges usualFolders(const QString &key = QStringLiteral("f1"));

} // namespace Items

/** An enabled account with the usual folders, each ready for its first window (key "1"). */
class SyncedAccount
{
public:
    explicit SyncedAccount(const StoreFixture::Account &settings = StoreFixture::Account());
    ~SyncedAccount();

    /** Writes the window; the result's code. */
    int write(const Eas::SyncWindow &window);
    Store::FolderState state(const QString &collection = QStringLiteral("in"));
    QMailFolderId folderId(const QString &collection = QStringLiteral("in"));
    QMailMessageIdList messages(const QString &collection = QStringLiteral("in"));
    /** The message with the server id; an invalid one where there is none or several. */
    QMailMessage message(const QString &serverId, const QString &collection = QStringLiteral("in"));
    QMailMessageMetaData metaData(const QString &serverId,
                                  const QString &collection = QStringLiteral("in"));

    QMailAccountId id;
    Store::SyncStateDb db;
};

#endif
