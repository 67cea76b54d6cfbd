// SPDX-License-Identifier: LGPL-2.1-or-later
#ifndef TESTS_STORE_ITEMS_H
#define TESTS_STORE_ITEMS_H

#include "daemon/store/state/accountkeys.h"
#include "daemon/store/state/folderkeys.h"
#include "daemon/store/state/syncstatedb.h"
#include "eas/folderchanges.h"
#include "eas/syncwindow.h"
#include "tests/support/folderliteral.h"
#include "tests/support/storefixture.h"

#include <qmailmessage.h>

/** Items and windows as a server sends them, and a synchronised folder to put them into. */
namespace Items {

/** The server's id of the inbox. */
inline const Eas::FolderId InboxId = "in"_folder;

/** A text from a literal in UTF-8. */
inline QString text(const char *utf8)
{
    return QString::fromUtf8(utf8);
}

Eas::MailItem item(const QString &serverId, const QString &subject = QStringLiteral("Hello"),
                   const QByteArray &text = QByteArrayLiteral("How are you?\r\n"));
Eas::Attachment attachment(const QString &name, const QString &reference, qint64 size = 1000);
Eas::SyncWindow window(const Eas::FolderId &collection, const QString &key);
Eas::SyncWindow adding(const QString &key, const QList<Eas::MailItem> &items,
                       const Eas::FolderId &collection = InboxId);
Eas::SyncWindow changing(const QString &key, const QList<Eas::MailItem> &items,
                         const Eas::FolderId &collection = InboxId);
Eas::SyncWindow removing(const QString &key, const QStringList &ids,
                         const Eas::FolderId &collection = InboxId);
Eas::MailItem readChange(const QString &serverId, bool read);
Eas::MailItem flagChange(const QString &serverId, bool flagged);

Eas::FolderRecord folder(const Eas::FolderId &serverId, const QString &name,
                         int type = Eas::UserMailFolder,
                         const Eas::FolderId &parent = Eas::FolderId::Root);
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
    Store::FolderState state(const Eas::FolderId &collection = Items::InboxId);
    QMailFolderId folderId(const Eas::FolderId &collection = Items::InboxId);
    QMailMessageIdList messages(const Eas::FolderId &collection = Items::InboxId);
    /** The message with the server id; an invalid one where there is none or several. */
    QMailMessage message(const QString &serverId, const Eas::FolderId &collection = Items::InboxId);
    QMailMessageMetaData metaData(const QString &serverId,
                                  const Eas::FolderId &collection = Items::InboxId);

    QMailAccountId id;
    Store::SyncStateDb db;
    Store::AccountKeys keys {db, id};
    Store::FolderKeys folders {db, id};
};

#endif
