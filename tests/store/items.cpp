// SPDX-License-Identifier: LGPL-2.1-or-later
#include "tests/store/items.h"

#include "daemon/store/folderwriter.h"
#include "daemon/store/serveruid.h"
#include "daemon/store/windowwriter.h"

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

Eas::SyncWindow window(const QString &collection, const QString &key)
{
    Eas::SyncWindow window;
    window.collectionId = collection;
    window.syncKey = key;
    return window;
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

Eas::FolderRecord folder(const QString &serverId, const QString &name, int type,
                         const QString &parent)
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
    changes.added = {folder(QStringLiteral("in"), QStringLiteral("Inbox"), Eas::Inbox),
                     folder(QStringLiteral("dr"), QStringLiteral("Drafts"), Eas::Drafts),
                     folder(QStringLiteral("se"), QStringLiteral("Sent"), Eas::SentItems),
                     folder(QStringLiteral("tr"), QStringLiteral("Trash"), Eas::DeletedItems)};
    return changes;
}

} // namespace Items

SyncedAccount::SyncedAccount(const StoreFixture::Account &settings)
    : id(StoreFixture::addAccount(settings))
{
    const bool opened = db.open().ok() && db.openAccount(Store::AccountRecord::read(id)).ok();
    if (!opened || !Store::FolderWriter(db, id, Items::usualFolders()).run().ok())
        qFatal("cannot set up a synchronised account");
    for (const Store::FolderState &state : db.folders(id)) {
        if (write(Items::window(state.serverId, QStringLiteral("1"))) != Eas::Success)
            qFatal("cannot prepare a folder");
    }
}

SyncedAccount::~SyncedAccount()
{
    db.removeAccount(id);
    StoreFixture::clear();
}

int SyncedAccount::write(const Eas::SyncWindow &window)
{
    return Store::WindowWriter(db, id, window).run().code;
}

Store::FolderState SyncedAccount::state(const QString &collection)
{
    return db.folder(id, collection).value_or(Store::FolderState());
}

QMailFolderId SyncedAccount::folderId(const QString &collection)
{
    return state(collection).folderId;
}

QMailMessageIdList SyncedAccount::messages(const QString &collection)
{
    return QMailStore::instance()->queryMessages(
        QMailMessageKey::parentFolderId(folderId(collection)));
}

QMailMessage SyncedAccount::message(const QString &serverId, const QString &collection)
{
    const QMailMessageIdList ids = QMailStore::instance()->queryMessages(
        QMailMessageKey::serverUid(Store::ServerUid::join(collection, serverId)));
    return ids.size() == 1 ? QMailMessage(ids.first()) : QMailMessage();
}

QMailMessageMetaData SyncedAccount::metaData(const QString &serverId, const QString &collection)
{
    const QMailMessageIdList ids = QMailStore::instance()->queryMessages(
        QMailMessageKey::serverUid(Store::ServerUid::join(collection, serverId)));
    return ids.size() == 1 ? QMailMessageMetaData(ids.first()) : QMailMessageMetaData();
}
