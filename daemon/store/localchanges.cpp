// SPDX-License-Identifier: LGPL-2.1-or-later
#include "daemon/store/localchanges.h"

#include "daemon/store/accountguard.h"
#include "daemon/store/currentmessages.h"
#include "daemon/store/fingerprint.h"
#include "daemon/store/flagmark.h"
#include "daemon/store/serveruid.h"
#include "daemon/store/storefailure.h"

#include <qmailstore.h>

#include <algorithm>

namespace Store {

namespace {

using Message = QMailMessageMetaData;

const QMailMessageKey::Properties propertiesOfChanges = QMailMessageKey::Id
    | QMailMessageKey::ServerUid | QMailMessageKey::Status | QMailMessageKey::ParentFolderId
    | QMailMessageKey::PreviousParentFolderId;

/** Whether the server can be told of it: of some that a search found or that moved, the id is not
 * known. */
bool isNamed(const ServerUid &uid)
{
    return !uid.itemId.isEmpty();
}

/** Messages of which one of two flags is set and the other is not. */
QMailMessageKey differing(quint64 ours, quint64 theirs)
{
    const auto with = QMailDataComparator::Includes;
    const auto without = QMailDataComparator::Excludes;
    return (QMailMessageKey::status(ours, with) & QMailMessageKey::status(theirs, without))
        | (QMailMessageKey::status(ours, without) & QMailMessageKey::status(theirs, with));
}

std::optional<bool> difference(const Message &message, quint64 ours, quint64 theirs)
{
    const bool value = message.status() & ours;
    return value == bool(message.status() & theirs) ? std::nullopt : std::make_optional(value);
}

QStringList uids(const QString &collectionId, const QStringList &serverIds)
{
    QStringList result;
    for (const QString &id : serverIds)
        result.append(ServerUid::join(collectionId, id));
    return result;
}

} // namespace

LocalChanges::LocalChanges(SyncStateDb &db, const QMailAccountId &account)
    : m_db(db)
    , m_account(account)
{
}

QList<FolderLocalChanges> LocalChanges::collect() const
{
    Changes changes;
    for (const FolderState &state : m_db.folders(m_account))
        changes[state.serverId].collectionId = state.serverId;
    collectFlags(&changes);
    collectMoves(&changes);
    collectDeletions(&changes);
    QList<FolderLocalChanges> found;
    for (const FolderLocalChanges &folder : qAsConst(changes)) {
        if (!folder.isEmpty())
            found.append(folder);
    }
    std::sort(found.begin(), found.end(),
              [](const auto &a, const auto &b) { return a.collectionId < b.collectionId; });
    return found;
}

void LocalChanges::collectFlags(Changes *changes) const
{
    const QMailMessageKey key = QMailMessageKey::parentAccountId(m_account)
        & (differing(Message::Read, Message::ReadElsewhere)
           | differing(Message::Important, Message::ImportantElsewhere));
    for (const Message &message :
         QMailStore::instance()->messagesMetaData(key, propertiesOfChanges)) {
        const ServerUid uid = ServerUid::split(message.serverUid());
        if (!changes->contains(uid.collectionId) || !isNamed(uid))
            continue;
        FlagChange change;
        change.id = message.id();
        change.serverId = uid.itemId;
        change.read = difference(message, Message::Read, Message::ReadElsewhere);
        change.important = difference(message, Message::Important, Message::ImportantElsewhere);
        change.keepsFlag = !change.important && message.status() & Message::ImportantElsewhere
            && FlagMark::isSet(currentMessage(message.id()));
        (*changes)[uid.collectionId].flags.append(change);
    }
}

void LocalChanges::collectMoves(Changes *changes) const
{
    const QMailMessageKey moved = QMailMessageKey::parentAccountId(m_account)
        & QMailMessageKey::previousParentFolderId(QMailFolderId(), QMailDataComparator::NotEqual);
    for (const Message &message :
         QMailStore::instance()->messagesMetaData(moved, propertiesOfChanges)) {
        const ServerUid uid = ServerUid::split(message.serverUid());
        const std::optional<FolderState> destination = m_db.folder(message.parentFolderId());
        if (!changes->contains(uid.collectionId) || !isNamed(uid) || !destination
            || !changes->contains(destination->serverId)
            || destination->serverId == uid.collectionId)
            continue;
        (*changes)[uid.collectionId].moves.append(
            {message.id(), uid.collectionId, uid.itemId, destination->serverId});
    }
}

void LocalChanges::collectDeletions(Changes *changes) const
{
    for (const QMailMessageRemovalRecord &record :
         QMailStore::instance()->messageRemovalRecords(m_account)) {
        const ServerUid uid = ServerUid::split(record.serverUid());
        if (changes->contains(uid.collectionId) && isNamed(uid))
            (*changes)[uid.collectionId].deletions.append(uid.itemId);
    }
}

Eas::Result LocalChanges::forgetNamelessDeletions()
{
    const Eas::Result result = AccountGuard::check(m_account);
    if (!result.ok())
        return result;
    QMailStore *store = QMailStore::instance();
    const QStringList lost = lostDeletions();
    if (!lost.isEmpty() && !store->purgeMessageRemovalRecords(m_account, lost))
        return storeFailure(QStringLiteral("cannot forget deletions in folders that are gone"));
    const auto records = store->messageRemovalRecords(m_account);
    const bool isEachNameless =
        std::all_of(records.cbegin(), records.cend(),
                    [](const auto &record) { return record.serverUid().isEmpty(); });
    if (records.isEmpty() || !isEachNameless)
        return result;
    // Nameless ones go only with all others: nothing may come between the look and the purge, for
    // what another process deletes in that moment would stay at the server.
    if (!store->purgeMessageRemovalRecords(m_account))
        return storeFailure(QStringLiteral("cannot forget deleted drafts"));
    return result;
}

/** Ids of deletions that can never be carried: no server ever gave the id, or the folder is gone.
 */
QStringList LocalChanges::lostDeletions() const
{
    QSet<QString> collections;
    for (const FolderState &state : m_db.folders(m_account))
        collections.insert(state.serverId);
    QStringList lost;
    // Until the folders are known, each could be among them.
    if (collections.isEmpty() || m_db.account(m_account).folderSyncKey == QLatin1String("0"))
        return lost;
    for (const QMailMessageRemovalRecord &record :
         QMailStore::instance()->messageRemovalRecords(m_account)) {
        const ServerUid uid = ServerUid::split(record.serverUid());
        const bool isCarried = collections.contains(uid.collectionId) && isNamed(uid);
        if (!isCarried && !record.serverUid().isEmpty())
            lost.append(record.serverUid());
    }
    return lost;
}

Eas::Result LocalChanges::mark(const QMailMessageIdList &ids, quint64 mask, bool value)
{
    if (ids.isEmpty())
        return {};
    if (!QMailStore::instance()->updateMessagesMetaData(QMailMessageKey::id(ids), mask, value))
        return storeFailure(QStringLiteral("cannot mark messages as known to the server"));
    return {};
}

Eas::Result LocalChanges::acknowledgeFlags(const QList<FlagChange> &changes)
{
    Eas::Result result = AccountGuard::check(m_account);
    for (const bool value : {false, true}) {
        QMailMessageIdList read;
        QMailMessageIdList important;
        for (const FlagChange &change : changes) {
            if (change.read == value)
                read.append(change.id);
            if (change.important == value)
                important.append(change.id);
        }
        if (result.ok())
            result = mark(read, Message::ReadElsewhere, value);
        if (result.ok())
            result = mark(important, Message::ImportantElsewhere, value);
        if (result.ok())
            result = markBareFlags(important, value);
    }
    return result;
}

/** What was flagged from here has no dates. */
Eas::Result LocalChanges::markBareFlags(const QMailMessageIdList &ids, bool value)
{
    for (const QMailMessageId &id : ids) {
        Message message = currentMessage(id);
        if (!message.id().isValid() || FlagMark::isSet(message) == value)
            continue;
        FlagMark::set(&message, value);
        if (!QMailStore::instance()->updateMessagesMetaData(QMailMessageKey::id(id),
                                                            QMailMessageKey::Custom, message))
            return storeFailure(QStringLiteral("cannot mark a flag"));
    }
    return {};
}

Eas::Result LocalChanges::acknowledgeMove(const Move &move, const QString &newServerId)
{
    Eas::Result result = AccountGuard::check(m_account);
    if (!result.ok())
        return result;
    const QString uid = ServerUid::join(move.destination, newServerId);
    const QMailMessageKey here = QMailMessageKey::id(move.id);
    if (QMailStore::instance()->countMessages(here) == 0) {
        // Deleted meanwhile: it is to be deleted where it lies now.
        result = deleteAt(move.destination, newServerId);
        return result.ok() ? acknowledgeDeletions(move.collectionId, {move.serverId}) : result;
    }
    const QMailMessageKey shown = doubles(uid, move.id);
    // Noted first: what is not noted, and gone before the folder shows it, would stay for ever.
    if (QMailStore::instance()->countMessages(shown) == 0
        && m_db.folder(m_account, move.destination))
        result = m_db.addMoved(m_account, move.destination, move.id);
    if (result.ok())
        result = removeDoubles(shown);
    return result.ok() ? renameMoved(move, uid) : result;
}

/** Nothing else is written: the user may be doing more with the message right now. */
Eas::Result LocalChanges::renameMoved(const Move &move, const QString &uid)
{
    const QMailMessageKey here = QMailMessageKey::id(move.id);
    const std::optional<FolderState> destination = m_db.folder(m_account, move.destination);
    const QMailMessageKey movedOn = here
        & QMailMessageKey::parentFolderId(destination ? destination->folderId : QMailFolderId(),
                                          QMailDataComparator::NotEqual);
    Message data;
    data.setServerUid(uid);
    if (destination && QMailStore::instance()->countMessages(movedOn) > 0)
        data.setPreviousParentFolderId(destination->folderId);
    if (!QMailStore::instance()->updateMessagesMetaData(
            here, QMailMessageKey::ServerUid | QMailMessageKey::PreviousParentFolderId, data))
        return storeFailure(QStringLiteral("cannot mark a message as moved"));
    return {};
}

Eas::Result LocalChanges::awaitMoved(const Move &move)
{
    Eas::Result result = AccountGuard::check(m_account);
    const Message message = currentMessage(move.id);
    if (!result.ok() || !message.id().isValid())
        return result;
    result = m_db.addUnconfirmed(m_account, move.destination, {move.id, fingerprint(message)});
    if (!result.ok())
        return result;
    // Its id there is not known yet, and what comes of the old one is not about it any more.
    return renameMoved(move, ServerUid::joinUnnamed(move.destination, move.id));
}

/** The folder's own synchronisation may have brought the moved message as a new one already. */
QMailMessageKey LocalChanges::doubles(const QString &uid, const QMailMessageId &original) const
{
    return QMailMessageKey::parentAccountId(m_account) & QMailMessageKey::serverUid(uid)
        & QMailMessageKey::id(original, QMailDataComparator::NotEqual);
}

Eas::Result LocalChanges::removeDoubles(const QMailMessageKey &doubles)
{
    QMailStore *store = QMailStore::instance();
    if (store->countMessages(doubles) > 0 && !store->removeMessages(doubles))
        return storeFailure(QStringLiteral("cannot remove the double of a moved message"));
    return {};
}

/** The store makes a removal record for a message alone, so there is one for a moment. */
Eas::Result LocalChanges::deleteAt(const QString &collectionId, const QString &serverId)
{
    QMailStore *store = QMailStore::instance();
    const QString uid = ServerUid::join(collectionId, serverId);
    const QMailMessageKey key =
        QMailMessageKey::parentAccountId(m_account) & QMailMessageKey::serverUid(uid);
    const std::optional<FolderState> folder = m_db.folder(m_account, collectionId);
    if (!folder)
        return {};
    if (store->countMessages(key) == 0) {
        Message message;
        message.setMessageType(Message::Email);
        message.setParentAccountId(m_account);
        message.setParentFolderId(folder->folderId);
        message.setServerUid(uid);
        message.setStatus(Message::NoNotification | Message::Read | Message::ReadElsewhere, true);
        if (!store->addMessage(&message))
            return storeFailure(QStringLiteral("cannot note a deletion"));
    }
    if (!store->removeMessages(key, QMailStore::CreateRemovalRecord))
        return storeFailure(QStringLiteral("cannot note a deletion"));
    return {};
}

Eas::Result LocalChanges::acknowledgeDeletions(const QString &collectionId,
                                               const QStringList &serverIds)
{
    const Eas::Result result = AccountGuard::check(m_account);
    if (!result.ok() || serverIds.isEmpty())
        return result;
    if (!QMailStore::instance()->purgeMessageRemovalRecords(m_account,
                                                            uids(collectionId, serverIds)))
        return storeFailure(QStringLiteral("cannot forget deleted messages"));
    return {};
}

Eas::Result LocalChanges::dropMessage(const QMailMessageId &id)
{
    const QMailMessageKey key =
        QMailMessageKey::id(id) & QMailMessageKey::parentAccountId(m_account);
    QMailStore *store = QMailStore::instance();
    if (store->countMessages(key) > 0 && !store->removeMessages(key))
        return storeFailure(QStringLiteral("cannot remove a message"));
    return {};
}

Eas::Result LocalChanges::revertMove(const Move &move)
{
    const Message message = currentMessage(move.id);
    const std::optional<FolderState> destination = m_db.folder(message.parentFolderId());
    // Moved on meanwhile, that is another move.
    if (!message.id().isValid() || !destination || destination->serverId != move.destination)
        return {};
    return putBack(message) ? Eas::Result()
                            : storeFailure(QStringLiteral("cannot move a message back"));
}

} // namespace Store
