// SPDX-License-Identifier: LGPL-2.1-or-later
#include "daemon/store/localchanges.h"

#include "daemon/store/accountguard.h"
#include "daemon/store/currentmessages.h"
#include "daemon/store/mark.h"
#include "daemon/store/narrowing.h"
#include "daemon/store/removalrecords.h"
#include "daemon/store/storefailure.h"

#include <qmailstore.h>

#include <algorithm>

namespace Store {

namespace {

using Message = QMailMessageMetaData;

const QMailMessageKey::Properties PropertiesOfChanges =
    QMailMessageKey::Id | QMailMessageKey::ServerUid | QMailMessageKey::Status;

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

/** Whether no server has ever had one of them; false where there is none. */
bool areAllNameless(const QList<ServerUid> &uids)
{
    return !uids.isEmpty() && std::all_of(uids.cbegin(), uids.cend(), [](const ServerUid &uid) {
        return uid.isEmpty();
    });
}

} // namespace

LocalChanges::LocalChanges(SyncStateDb &db, const QMailAccountId &account)
    : m_account(account)
    , m_keys(db, account)
    , m_folders(db, account)
    , m_moves(db, account)
{
}

QList<FolderLocalChanges> LocalChanges::collect() const
{
    Changes changes;
    for (const FolderState &state : m_folders.all())
        changes[state.serverId].collectionId = state.serverId;
    collectFlags(&changes);
    collectMoves(&changes);
    collectDeletions(&changes);
    QList<FolderLocalChanges> found;
    for (const FolderLocalChanges &folder : qAsConst(changes)) {
        if (!folder.isEmpty())
            found.append(folder);
    }
    return found;
}

int LocalChanges::count() const
{
    int count = 0;
    for (const FolderLocalChanges &folder : collect())
        count += folder.flags.size() + folder.moves.size() + folder.deletions.size()
            + folder.erasures.size();
    return count;
}

void LocalChanges::collectFlags(Changes *changes) const
{
    const QMailMessageKey key = QMailMessageKey::parentAccountId(m_account)
        & (differing(Message::Read, Message::ReadElsewhere)
           | differing(Message::Important, Message::ImportantElsewhere));
    for (const Message &message : Narrowing::unsettled(m_account, key, PropertiesOfChanges)) {
        const ServerUid uid(message);
        if (!changes->contains(uid.collectionId()) || !uid.isItem())
            continue;
        FlagChange change;
        change.id = message.id();
        change.uid = uid;
        change.read = difference(message, Message::Read, Message::ReadElsewhere);
        change.important = difference(message, Message::Important, Message::ImportantElsewhere);
        change.keepsFlag = !change.important && message.status() & Message::ImportantElsewhere
            && BareFlagMark.isSet(currentMessage(message.id()));
        (*changes)[uid.collectionId()].flags.append(change);
    }
}

void LocalChanges::collectMoves(Changes *changes) const
{
    for (const Move &move : m_moves.wanted())
        (*changes)[move.from.collectionId()].moves.append(move);
}

void LocalChanges::collectDeletions(Changes *changes) const
{
    const RemovalRecords records(m_account);
    const QList<ServerUid> uids = records.all();
    if (uids.isEmpty())
        return;
    QSet<ServerUid> fromTrash;
    for (const FolderState &state : m_folders.all()) {
        if (state.type != Eas::DeletedItems)
            continue;
        for (const ServerUid &uid : records.from(state.folderId)) {
            // What the server has there as well is a deletion like any other.
            if (!uid.isIn(state.serverId))
                fromTrash.insert(uid);
        }
    }
    for (const ServerUid &uid : uids) {
        if (!changes->contains(uid.collectionId()) || !uid.isItem())
            continue;
        FolderLocalChanges &folder = (*changes)[uid.collectionId()];
        (fromTrash.contains(uid) ? folder.erasures : folder.deletions).append(uid);
    }
}

Eas::Result LocalChanges::forgetNamelessDeletions()
{
    RemovalRecords records(m_account);
    if (records.all().isEmpty())
        return {};
    Eas::Result result = AccountGuard::check(m_account);
    if (result.ok())
        result = records.forget(lostDeletions());
    if (!result.ok())
        return result;
    if (!areAllNameless(records.all()))
        return {};
    // The store can purge records without an id only together with all others, and what another
    // process deletes meanwhile would stay at the server.
    awaitWriters();
    return areAllNameless(records.all()) ? records.forgetAll() : Eas::Result();
}

/** Deletions that can never be carried: the id is no item's, be it a search result's LongId or
 * nothing that a server ever gave, or the folder is gone. */
QList<ServerUid> LocalChanges::lostDeletions() const
{
    QSet<Eas::FolderId> collections;
    for (const FolderState &state : m_folders.all())
        collections.insert(state.serverId);
    QList<ServerUid> lost;
    // Until the folders are known, each could be among them.
    if (collections.isEmpty() || m_keys.state().folderSyncKey == Eas::FirstKey)
        return lost;
    for (const ServerUid &uid : RemovalRecords(m_account).all()) {
        const bool isCarried = collections.contains(uid.collectionId()) && uid.isItem();
        if (!isCarried && !uid.isEmpty())
            lost.append(uid);
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
        if (!message.id().isValid() || BareFlagMark.isSet(message) == value)
            continue;
        BareFlagMark.set(&message, value);
        if (!QMailStore::instance()->updateMessagesMetaData(QMailMessageKey::id(id),
                                                            QMailMessageKey::Custom, message))
            return storeFailure(QStringLiteral("cannot mark a flag"));
    }
    return {};
}

Eas::Result LocalChanges::acknowledgeDeletions(const QList<ServerUid> &uids)
{
    const Eas::Result result = AccountGuard::check(m_account);
    return result.ok() ? RemovalRecords(m_account).forget(uids) : result;
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

} // namespace Store
