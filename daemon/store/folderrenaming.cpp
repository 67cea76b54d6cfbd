// SPDX-License-Identifier: LGPL-2.1-or-later
#include "daemon/store/folderrenaming.h"

#include "daemon/store/mark.h"
#include "daemon/store/removalrecords.h"
#include "daemon/store/storefailure.h"

#include <qmailstore.h>

namespace Store {

namespace {
constexpr int Batch = 20; ///< messages that are written in one step
}

FolderRenaming::FolderRenaming(const FolderState &folder, const Eas::FolderId &newId)
    : m_folder(folder)
    , m_newId(newId)
{
}

Eas::Result FolderRenaming::step(FolderKeys folders, const QMailAccountId &account, bool *isDone)
{
    QMailStore *store = QMailStore::instance();
    *isDone = false;
    if (!m_isListed)
        return list();
    if (!m_messages.isEmpty())
        return forgetNames(folders);
    RemovalRecords records(account);
    Eas::Result result = records.forget(records.in(m_folder.serverId));
    // The messages must be durable before the database has the new id of the folder.
    if (result.ok() && !store->ensureDurability())
        result = storeFailure(QStringLiteral("cannot make messages durable"));
    if (result.ok())
        result = folders.rename(m_folder.serverId, m_newId);
    *isDone = result.ok();
    return result;
}

Eas::Result FolderRenaming::list()
{
    QMailStore *store = QMailStore::instance();
    const QMailMessageKey here = m_folder.messages();
    // What a search found: no synchronisation will show it, and no search could recognise it.
    const QMailMessageKey found = here & FoundMark.key();
    if (m_folder.isLimited() && store->countMessages(found) > 0 && !store->removeMessages(found))
        return storeFailure(QStringLiteral("cannot remove what was found in a folder"));
    m_messages = store->queryMessages(here);
    // What cannot be read is not empty: its messages would keep names that are other ones' now.
    if (store->lastError() != QMailStore::NoError)
        return storeFailure(QStringLiteral("cannot read a folder under another name"));
    m_isListed = true;
    return {};
}

/** Whether the server has the message in this folder, as far as is known here. */
bool FolderRenaming::isOurs(const FolderKeys &folders, const QMailMessageMetaData &message) const
{
    const ServerUid uid(message);
    if (uid.isIn(m_folder.serverId))
        return true;
    // A renaming that was broken off has left ids that the folder never got.
    const bool isLeftOver =
        uid.kind() == ServerUid::Kind::Unnamed && !folders.find(uid.collectionId());
    const QMailFolderId former = message.previousParentFolderId();
    return isLeftOver
        && m_folder.folderId == (former.isValid() ? former : message.parentFolderId());
}

/** Nothing else is written: the user may be doing more with the messages right now. */
Eas::Result FolderRenaming::forgetNames(const FolderKeys &folders)
{
    QMailStore *store = QMailStore::instance();
    const QMailMessageIdList ids = m_messages.mid(0, Batch);
    const QMailMessageMetaDataList found = store->messagesMetaData(
        QMailMessageKey::id(ids),
        QMailMessageKey::Id | QMailMessageKey::ServerUid | QMailMessageKey::ParentFolderId
            | QMailMessageKey::PreviousParentFolderId);
    if (store->lastError() != QMailStore::NoError)
        return storeFailure(QStringLiteral("cannot read the messages of a renamed folder"));
    m_messages = m_messages.mid(Batch);
    for (const QMailMessageMetaData &message : found) {
        if (!isOurs(folders, message))
            continue; // the user put it there
        QMailMessageMetaData data;
        ServerUid::unnamed(m_newId, message.id()).assignTo(&data);
        if (!store->updateMessagesMetaData(QMailMessageKey::id(message.id()),
                                           QMailMessageKey::ServerUid, data))
            return storeFailure(QStringLiteral("cannot rename a message"));
    }
    return {};
}

} // namespace Store
