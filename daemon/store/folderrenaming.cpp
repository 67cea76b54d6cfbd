// SPDX-License-Identifier: LGPL-2.1-or-later
#include "daemon/store/folderrenaming.h"

#include "daemon/store/foundmark.h"
#include "daemon/store/serveruid.h"
#include "daemon/store/storefailure.h"

#include <qmailstore.h>

namespace Store {

namespace {
constexpr int batch = 20;     ///< messages that are written in one step
constexpr int everything = 0; ///< the filter of a folder that is synchronised as a whole
}

FolderRenaming::FolderRenaming(const FolderState &folder, const QString &newId)
    : m_folder(folder)
    , m_newId(newId)
{
}

Eas::Result FolderRenaming::step(SyncStateDb &db, const QMailAccountId &account, bool *isDone)
{
    QMailStore *store = QMailStore::instance();
    *isDone = false;
    if (!m_isListed)
        return list();
    if (!m_messages.isEmpty())
        return forgetNames(db, account);
    Eas::Result result = forgetDeletions(account);
    // What the daemon's memory says of the folder must never be ahead of the messages.
    if (result.ok() && !store->ensureDurability())
        result = storeFailure(QStringLiteral("cannot make messages durable"));
    if (result.ok())
        result = db.renameFolder(account, m_folder.serverId, m_newId);
    *isDone = result.ok();
    return result;
}

Eas::Result FolderRenaming::list()
{
    QMailStore *store = QMailStore::instance();
    const QMailMessageKey here = QMailMessageKey::parentFolderId(m_folder.folderId)
        | QMailMessageKey::previousParentFolderId(m_folder.folderId);
    // The server will not show it, and the next search could not recognise it.
    const QMailMessageKey found = here & FoundMark::key();
    if (m_folder.filter > everything && store->countMessages(found) > 0
        && !store->removeMessages(found))
        return storeFailure(QStringLiteral("cannot remove what was found in a folder"));
    m_messages = store->queryMessages(here);
    m_isListed = true;
    return {};
}

/** Whether the server has the message in this folder, as far as is known here. */
bool FolderRenaming::isOurs(const SyncStateDb &db, const QMailAccountId &account,
                            const QMailMessageMetaData &message) const
{
    const ServerUid uid = ServerUid::split(message.serverUid());
    if (uid.collectionId == m_folder.serverId)
        return true;
    // A renaming that was broken off has left ids that the folder never got.
    const bool isLeftOver =
        !uid.collectionId.isEmpty() && !uid.isKnownThere() && !db.folder(account, uid.collectionId);
    const QMailFolderId former = message.previousParentFolderId();
    return isLeftOver
        && m_folder.folderId == (former.isValid() ? former : message.parentFolderId());
}

/** Nothing else is written: the user may be doing more with the messages right now. */
Eas::Result FolderRenaming::forgetNames(const SyncStateDb &db, const QMailAccountId &account)
{
    QMailStore *store = QMailStore::instance();
    const QMailMessageIdList ids = m_messages.mid(0, batch);
    m_messages = m_messages.mid(batch);
    const QMailMessageMetaDataList found = store->messagesMetaData(
        QMailMessageKey::id(ids),
        QMailMessageKey::Id | QMailMessageKey::ServerUid | QMailMessageKey::ParentFolderId
            | QMailMessageKey::PreviousParentFolderId);
    for (const QMailMessageMetaData &message : found) {
        if (!isOurs(db, account, message))
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
