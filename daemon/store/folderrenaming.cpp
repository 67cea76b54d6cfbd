// SPDX-License-Identifier: LGPL-2.1-or-later
#include "daemon/store/folderrenaming.h"

#include "daemon/store/serveruid.h"
#include "daemon/store/storefailure.h"

#include <qmailstore.h>

namespace Store {

namespace {
constexpr int batch = 20; ///< messages that are written in one step
}

FolderRenaming::FolderRenaming(const FolderState &folder, const QString &newId)
    : m_folder(folder)
    , m_newId(newId)
{
}

Eas::Result FolderRenaming::step(SyncStateDb &db, const QMailAccountId &account, bool *isDone)
{
    QMailStore *store = QMailStore::instance();
    if (!m_isListed) {
        m_messages =
            store->queryMessages(QMailMessageKey::parentFolderId(m_folder.folderId)
                                 | QMailMessageKey::previousParentFolderId(m_folder.folderId));
        m_isListed = true;
    }
    *isDone = false;
    if (!m_messages.isEmpty())
        return forgetNames();
    Eas::Result result = forgetDeletions(account);
    // What the daemon's memory says of the folder must never be ahead of the messages.
    if (result.ok() && !store->ensureDurability())
        result = storeFailure(QStringLiteral("cannot make messages durable"));
    if (result.ok())
        result = db.renameFolder(account, m_folder.serverId, m_newId);
    *isDone = result.ok();
    return result;
}

/** Nothing else is written: the user may be doing more with the messages right now. */
Eas::Result FolderRenaming::forgetNames()
{
    QMailStore *store = QMailStore::instance();
    const QMailMessageIdList ids = m_messages.mid(0, batch);
    m_messages = m_messages.mid(batch);
    const QMailMessageMetaDataList found = store->messagesMetaData(
        QMailMessageKey::id(ids), QMailMessageKey::Id | QMailMessageKey::ServerUid);
    for (const QMailMessageMetaData &message : found) {
        if (ServerUid::split(message.serverUid()).collectionId != m_folder.serverId)
            continue; // the user put it there
        QMailMessageMetaData data;
        data.setServerUid(ServerUid::joinUnnamed(m_newId, message.id()));
        if (!store->updateMessagesMetaData(QMailMessageKey::id(message.id()),
                                           QMailMessageKey::ServerUid, data))
            return storeFailure(QStringLiteral("cannot rename a message"));
    }
    return {};
}

Eas::Result FolderRenaming::forgetDeletions(const QMailAccountId &account) const
{
    QMailStore *store = QMailStore::instance();
    QStringList deleted;
    for (const QMailMessageRemovalRecord &record : store->messageRemovalRecords(account)) {
        if (ServerUid::split(record.serverUid()).collectionId == m_folder.serverId)
            deleted.append(record.serverUid());
    }
    if (!deleted.isEmpty() && !store->purgeMessageRemovalRecords(account, deleted))
        return storeFailure(QStringLiteral("cannot forget what was deleted in a folder"));
    return {};
}

} // namespace Store
