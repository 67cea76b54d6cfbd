// SPDX-License-Identifier: LGPL-2.1-or-later
#include "daemon/store/currentmessages.h"

#include <qmailstore.h>

namespace Store {

QMailMessageMetaDataList currentMessages(const QMailMessageKey &key)
{
    static const QMailMessageKey::Properties everything = QMailMessageKey::Id
        | QMailMessageKey::Type | QMailMessageKey::ParentFolderId | QMailMessageKey::Sender
        | QMailMessageKey::Recipients | QMailMessageKey::Subject | QMailMessageKey::TimeStamp
        | QMailMessageKey::Status | QMailMessageKey::ReceptionTimeStamp | QMailMessageKey::ServerUid
        | QMailMessageKey::Size | QMailMessageKey::ParentAccountId | QMailMessageKey::ContentType
        | QMailMessageKey::PreviousParentFolderId | QMailMessageKey::ContentScheme
        | QMailMessageKey::ContentIdentifier | QMailMessageKey::InResponseTo
        | QMailMessageKey::ResponseType | QMailMessageKey::Custom | QMailMessageKey::CopyServerUid
        | QMailMessageKey::RestoreFolderId | QMailMessageKey::ListId | QMailMessageKey::RfcId
        | QMailMessageKey::Preview | QMailMessageKey::ParentThreadId;
    return QMailStore::instance()->messagesMetaData(key, everything);
}

QMailMessageMetaData currentMessage(const QMailMessageId &id)
{
    const QMailMessageMetaDataList found = currentMessages(QMailMessageKey::id(id));
    return found.isEmpty() ? QMailMessageMetaData() : found.first();
}

bool isHere(const QMailMessageId &id)
{
    return id.isValid() && QMailStore::instance()->countMessages(QMailMessageKey::id(id)) > 0;
}

void awaitWriters()
{
    QMailStore *store = QMailStore::instance();
    store->lock();
    store->unlock();
}

bool putBack(const QMailMessageMetaData &message)
{
    return putBack(message, message.previousParentFolderId());
}

bool putBack(const QMailMessageMetaData &message, const QMailFolderId &home)
{
    const QMailFolderId trash =
        QMailAccount(message.parentAccountId()).standardFolder(QMailFolder::TrashFolder);
    const QMailMessageKey key = QMailMessageKey::id(message.id());
    QMailMessageMetaData data;
    data.setParentFolderId(home);
    QMailStore *store = QMailStore::instance();
    return store->updateMessagesMetaData(
               key, QMailMessageKey::ParentFolderId | QMailMessageKey::PreviousParentFolderId, data)
        && store->updateMessagesMetaData(key, QMailMessageMetaData::Trash, home == trash);
}

} // namespace Store
