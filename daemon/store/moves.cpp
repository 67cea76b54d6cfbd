// SPDX-License-Identifier: LGPL-2.1-or-later
#include "daemon/store/moves.h"

#include "daemon/store/accountguard.h"
#include "daemon/store/currentmessages.h"
#include "daemon/store/fingerprint.h"
#include "daemon/store/mark.h"
#include "daemon/store/narrowing.h"
#include "daemon/store/removalrecords.h"
#include "daemon/store/storefailure.h"

#include <qmailstore.h>
#include <QSet>

namespace Store {

using Message = QMailMessageMetaData;

Moves::Moves(SyncStateDb &db, const QMailAccountId &account)
    : m_account(account)
    , m_folders(db, account)
    , m_unconfirmed(db, account)
{
}

QList<Move> Moves::wanted() const
{
    const QMailMessageKey key = QMailMessageKey::parentAccountId(m_account)
        & QMailMessageKey::previousParentFolderId(QMailFolderId(), QMailDataComparator::NotEqual);
    const QMailMessageMetaDataList moved = Narrowing::unsettled(
        m_account, key,
        QMailMessageKey::Id | QMailMessageKey::ServerUid | QMailMessageKey::ParentFolderId);
    if (moved.isEmpty())
        return {};
    QSet<Eas::FolderId> collections;
    QHash<quint64, Eas::FolderId> folders;
    for (const FolderState &folder : m_folders.all()) {
        collections.insert(folder.serverId);
        folders.insert(folder.folderId.toULongLong(), folder.serverId);
    }
    QList<Move> moves;
    for (const Message &message : moved) {
        const ServerUid uid(message);
        const Eas::FolderId destination = folders.value(message.parentFolderId().toULongLong());
        const bool isNamed = collections.contains(uid.collectionId()) && uid.isItem();
        if (isNamed && !destination.isEmpty() && !uid.isIn(destination))
            moves.append({message.id(), uid, destination});
    }
    return moves;
}

Eas::Result Moves::acknowledge(const Move &move, const QString &newItemId)
{
    Eas::Result result = AccountGuard::check(m_account);
    if (!result.ok())
        return result;
    QMailStore *store = QMailStore::instance();
    const ServerUid uid = ServerUid::item(move.destination, newItemId);
    const bool isHere = store->countMessages(QMailMessageKey::id(move.id)) > 0;
    if (store->lastError() != QMailStore::NoError)
        return storeFailure(QStringLiteral("cannot look for a moved message"));
    if (!isHere)
        return deleteWhereItLies(move, uid);
    // The folder's own synchronisation may have brought the moved message as a new one already.
    const QMailMessageKey doubles = ServerUid::key(m_account, {uid})
        & QMailMessageKey::id(move.id, QMailDataComparator::NotEqual);
    const bool isShown = store->countMessages(doubles) > 0;
    // Noted first: otherwise a message that goes at the server before its folder shows it would
    // stay here for ever.
    if (!isShown && m_folders.find(move.destination))
        result = m_unconfirmed.addAcknowledgedMove(move.destination, move.id);
    if (isShown && !store->removeMessages(doubles))
        result = storeFailure(QStringLiteral("cannot remove the double of a moved message"));
    return result.ok() ? leave(move, uid) : result;
}

/** The message was deleted here meanwhile. The store makes removal records only of messages that it
 * has, so this one is added for a moment. */
Eas::Result Moves::deleteWhereItLies(const Move &move, const ServerUid &uid)
{
    RemovalRecords records(m_account);
    // What nobody has deleted has only left the range that is kept here, and stays at the server.
    if (!records.in(move.from.collectionId()).contains(move.from))
        return {};
    QMailStore *store = QMailStore::instance();
    const QMailMessageKey key = ServerUid::key(m_account, {uid});
    const std::optional<FolderState> folder = m_folders.find(move.destination);
    if (folder && store->countMessages(key) == 0) {
        Message message;
        message.setMessageType(Message::Email);
        message.setParentAccountId(m_account);
        message.setParentFolderId(folder->folderId);
        uid.assignTo(&message);
        message.setStatus(Message::NoNotification | Message::Read | Message::ReadElsewhere, true);
        if (!store->addMessage(&message))
            return storeFailure(QStringLiteral("cannot note a deletion"));
    }
    if (folder && !store->removeMessages(key, QMailStore::CreateRemovalRecord))
        return storeFailure(QStringLiteral("cannot note a deletion"));
    return records.forget({move.from});
}

/** The folder that it came from does not wait any more for the server to show it there. */
Eas::Result Moves::leave(const Move &move, const ServerUid &uid)
{
    // Struck off first: otherwise that folder, when it is reconciled, would remove the message.
    Eas::Result result = m_unconfirmed.strikeOff(move.from.collectionId(), move.id);
    // While it has its former id, that says where its attachments are.
    if (result.ok())
        result = markRenamed(move.id);
    return result.ok() ? rename(move, uid) : result;
}

/** What the server called its attachments in the former folder may be another message's there. */
Eas::Result Moves::markRenamed(const QMailMessageId &id)
{
    Message message = currentMessage(id);
    if (!(message.status() & Message::HasAttachments) || RenamedMark.isSet(message))
        return {};
    RenamedMark.set(&message);
    if (!QMailStore::instance()->updateMessagesMetaData(QMailMessageKey::id(id),
                                                        QMailMessageKey::Custom, message))
        return storeFailure(QStringLiteral("cannot mark a message as moved"));
    return {};
}

/** Nothing else is written: the user may be doing more with the message right now. */
Eas::Result Moves::rename(const Move &move, const ServerUid &uid)
{
    const QMailMessageKey here = QMailMessageKey::id(move.id);
    const auto properties = QMailMessageKey::ServerUid | QMailMessageKey::PreviousParentFolderId;
    const std::optional<FolderState> destination = m_folders.find(move.destination);
    QMailStore *store = QMailStore::instance();
    Message data;
    uid.assignTo(&data);
    bool isWritten = false;
    if (!destination) {
        isWritten = store->updateMessagesMetaData(here, properties, data);
    } else {
        // Each looks and writes in one step, as the user may move it on between two, or back.
        const QMailFolderId folder = destination->folderId;
        const QMailMessageKey arrived = here & QMailMessageKey::parentFolderId(folder);
        const QMailMessageKey movedOn =
            here & QMailMessageKey::parentFolderId(folder, QMailDataComparator::NotEqual);
        Message further = data;
        further.setPreviousParentFolderId(folder);
        isWritten = store->updateMessagesMetaData(arrived, properties, data)
            && store->updateMessagesMetaData(movedOn, properties, further)
            && store->updateMessagesMetaData(arrived & ~ServerUid::key(m_account, {uid}),
                                             properties, data);
    }
    if (!isWritten)
        return storeFailure(QStringLiteral("cannot mark a message as moved"));
    return {};
}

Eas::Result Moves::leaveUnconfirmed(const Move &move)
{
    Eas::Result result = AccountGuard::check(m_account);
    const Message message = currentMessage(move.id);
    if (!result.ok() || !message.id().isValid())
        return result;
    result = m_unconfirmed.add(move.destination, {{move.id, fingerprint(message)}});
    if (!result.ok())
        return result;
    // Its id there is not known yet, and what the server says of the old one does not concern it.
    return leave(move, ServerUid::unnamed(move.destination, move.id));
}

Eas::Result Moves::revert(const Move &move)
{
    const Message message = currentMessage(move.id);
    const std::optional<FolderState> destination = m_folders.find(message.parentFolderId());
    // If the message was moved on meanwhile, that is another move.
    if (!message.id().isValid() || !destination || destination->serverId != move.destination)
        return {};
    return putBack(message) ? Eas::Result()
                            : storeFailure(QStringLiteral("cannot move a message back"));
}

} // namespace Store
