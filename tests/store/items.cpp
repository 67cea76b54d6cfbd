// SPDX-License-Identifier: LGPL-2.1-or-later
#include "tests/store/items.h"

#include "daemon/store/folderwriter.h"
#include "daemon/store/incoming/windowwriter.h"
#include "daemon/store/serveruid.h"

#include <QFile>
#include <qmailstore.h>

namespace Items {

Eas::MailItem item(const QString &serverId, const QString &subject, const QByteArray &text)
{
    Eas::MailItem item;
    item.serverId = serverId;
    item.from = QStringLiteral("\"Carol Sender\" <carol@elsewhere.test>");
    item.to = QStringLiteral("\"Alice Example\" <alice@example.test>");
    item.subject = subject;
    item.dateReceived = QDateTime(QDate(2026, 11, 18), QTime(10, 0), Qt::UTC);
    item.read = false;
    item.flag = Eas::FlagStatus::Clear;
    item.importance = 1;
    Eas::Body body;
    body.data = text;
    body.estimatedSize = text.size();
    item.body = body;
    return item;
}

Eas::Attachment attachment(const QString &name, const QString &reference, qint64 size)
{
    Eas::Attachment attachment;
    attachment.displayName = name;
    attachment.fileReference = reference;
    attachment.estimatedSize = size;
    return attachment;
}

Eas::SyncWindow window(const Eas::FolderId &collection, const QString &key)
{
    Eas::SyncWindow window;
    window.collectionId = collection;
    window.syncKey = key;
    return window;
}

Eas::SyncWindow adding(const QString &key, const QList<Eas::MailItem> &items,
                       const Eas::FolderId &collection)
{
    Eas::SyncWindow adding = window(collection, key);
    adding.added = items;
    return adding;
}

Eas::SyncWindow changing(const QString &key, const QList<Eas::MailItem> &items,
                         const Eas::FolderId &collection)
{
    Eas::SyncWindow changing = window(collection, key);
    changing.changed = items;
    return changing;
}

Eas::SyncWindow removing(const QString &key, const QStringList &ids,
                         const Eas::FolderId &collection)
{
    Eas::SyncWindow removing = window(collection, key);
    removing.removed = ids;
    return removing;
}

Eas::MailItem readChange(const QString &serverId, bool read)
{
    Eas::MailItem item;
    item.serverId = serverId;
    item.read = read;
    return item;
}

Eas::MailItem flagChange(const QString &serverId, bool flagged)
{
    Eas::MailItem item;
    item.serverId = serverId;
    item.flag = flagged ? Eas::FlagStatus::Active : Eas::FlagStatus::Clear;
    return item;
}

Eas::FolderRecord folder(const Eas::FolderId &serverId, const QString &name, int type,
                         const Eas::FolderId &parent)
{
    Eas::FolderRecord record;
    record.serverId = serverId;
    record.displayName = name;
    record.type = type;
    record.parentId = parent;
    return record;
}

Eas::FolderChanges usualFolders(const QString &key)
{
    Eas::FolderChanges changes;
    changes.syncKey = key;
    changes.complete = true;
    changes.added = {folder("in"_folder, QStringLiteral("Inbox"), Eas::Inbox),
                     folder("dr"_folder, QStringLiteral("Drafts"), Eas::Drafts),
                     folder("se"_folder, QStringLiteral("Sent"), Eas::SentItems),
                     folder("tr"_folder, QStringLiteral("Trash"), Eas::DeletedItems)};
    return changes;
}

} // namespace Items

SyncedAccount::SyncedAccount(const StoreFixture::Account &settings)
    : id(StoreFixture::addAccount(settings))
{
    const bool opened = db.open().ok() && keys.open(Store::AccountRecord::read(id)).ok();
    if (!opened || !Store::FolderWriter(db, id, Items::usualFolders()).run().ok())
        qFatal("cannot set up a synchronised account");
    for (const Store::FolderState &state : folders.all()) {
        if (write(Items::window(state.serverId, QStringLiteral("1"))) != Eas::Success)
            qFatal("cannot prepare a folder");
    }
}

SyncedAccount::~SyncedAccount()
{
    keys.remove();
    StoreFixture::clear();
}

int SyncedAccount::write(const Eas::SyncWindow &window)
{
    return Store::WindowWriter(db, id, window).run().code;
}

Store::FolderState SyncedAccount::state(const Eas::FolderId &collection)
{
    return folders.find(collection).value_or(Store::FolderState());
}

QMailFolderId SyncedAccount::folderId(const Eas::FolderId &collection)
{
    return state(collection).folderId;
}

QMailMessageIdList SyncedAccount::messages(const Eas::FolderId &collection)
{
    return QMailStore::instance()->queryMessages(
        QMailMessageKey::parentFolderId(folderId(collection)));
}

QMailMessage SyncedAccount::message(const QString &serverId, const Eas::FolderId &collection)
{
    const QMailMessageIdList ids = QMailStore::instance()->queryMessages(
        Store::ServerUid::key(id, {Store::ServerUid::item(collection, serverId)}));
    return ids.size() == 1 ? QMailMessage(ids.first()) : QMailMessage();
}

QMailMessageMetaData SyncedAccount::metaData(const QString &serverId,
                                             const Eas::FolderId &collection)
{
    const QMailMessageIdList ids = QMailStore::instance()->queryMessages(
        Store::ServerUid::key(id, {Store::ServerUid::item(collection, serverId)}));
    return ids.size() == 1 ? QMailMessageMetaData(ids.first()) : QMailMessageMetaData();
}
