// SPDX-License-Identifier: LGPL-2.1-or-later
#include "daemon/store/incoming/foundwriter.h"

#include "daemon/store/accountguard.h"
#include "daemon/store/fingerprint.h"
#include "daemon/store/incoming/contentmark.h"
#include "daemon/store/incoming/messagebuilder.h"
#include "daemon/store/mark.h"
#include "daemon/store/messageflags.h"
#include "daemon/store/removalrecords.h"
#include "daemon/store/storefailure.h"

#include <QElapsedTimer>
#include <qmailstore.h>

#include <algorithm>

namespace Store {

namespace {

constexpr int ShareMs = 50; ///< how long a step goes on

/** Days that a limited synchronisation shows at most, and some more: what has grown older stays for
 * a while. */
constexpr int LongestRange = 40;

/** All that the message may be known by here. */
QList<ServerUid> namesOf(const FoundItem &found)
{
    QList<ServerUid> names {found.uid};
    if (!found.longUid.isEmpty() && !(found.longUid == found.uid))
        names.append(found.longUid);
    return names;
}

} // namespace

FoundWriter::FoundWriter(SyncStateDb &db, const QMailAccountId &account,
                         const QList<FoundItem> &items)
    : m_account(account)
    , m_folders(db, account)
    , m_conversations(db, account)
    , m_items(items)
    , m_total(qMax(1, items.size()))
{
}

int FoundWriter::progress() const
{
    return 1000 - 1000 * m_items.size() / m_total;
}

bool FoundWriter::step()
{
    m_result = AccountGuard::check(m_account);
    if (!m_started) {
        m_started = true;
        m_deleted = RemovalRecords(m_account).all();
    }
    QElapsedTimer timer;
    timer.start();
    while (m_result.ok() && !m_items.isEmpty() && timer.elapsed() < ShareMs)
        m_result = write(m_items.takeFirst());
    if (!m_result.ok() || !m_items.isEmpty())
        return m_result.ok();
    m_conversations.save();
    if (!QMailStore::instance()->ensureDurability())
        m_result = storeFailure(QStringLiteral("cannot make messages durable"));
    return false;
}

Eas::Result FoundWriter::write(const FoundItem &found)
{
    const std::optional<FolderState> folder = m_folders.find(found.uid.collectionId());
    if (!folder || isDeleted(found))
        return {};
    const QMailMessageId present = presentAs(found, *folder);
    if (present.isValid()) {
        m_messages.append(present);
        return {};
    }
    const bool isNew = MessageBuilder::isComplete(found.item) && !mayBeDeleted(found, *folder);
    return isNew ? add(found, *folder) : Eas::Result();
}

bool FoundWriter::isDeleted(const FoundItem &found) const
{
    const QList<ServerUid> names = namesOf(found);
    return std::any_of(names.begin(), names.end(),
                       [this](const ServerUid &name) { return m_deleted.contains(name); });
}

/**
 * Whether the message may be one of those that were deleted here. Of these, the store has kept the
 * items' ids alone.
 *
 * What no synchronisation has shown was no item here. What it shows, it brings without a search.
 */
bool FoundWriter::mayBeDeleted(const FoundItem &found, const FolderState &folder) const
{
    const QDateTime oldest = QDateTime::currentDateTimeUtc().addDays(-LongestRange);
    if (found.uid.isItem() || (folder.isLimited() && *found.item.dateReceived < oldest))
        return false;
    return std::any_of(m_deleted.begin(), m_deleted.end(), [&folder](const ServerUid &uid) {
        return uid.isItem() && uid.isIn(folder.serverId);
    });
}

QMailMessageId FoundWriter::presentAs(const FoundItem &found, const FolderState &folder) const
{
    QMailStore *store = QMailStore::instance();
    const QMailMessageIdList named =
        store->queryMessages(ServerUid::key(m_account, namesOf(found)));
    if (!named.isEmpty())
        return named.first();
    if (found.uid.isItem() || !found.item.dateReceived)
        return {};
    // It may have come by a synchronisation, which knows it by its real id, and have been moved
    // since.
    const QMailMessage wanted = MessageBuilder::build(found.item);
    const QMailMessageIdList alike = store->queryMessages(
        QMailMessageKey::parentAccountId(m_account) & folder.messages()
        & QMailMessageKey::receptionTimeStamp(wanted.receivedDate().toUTC().addSecs(-1),
                                              QMailDataComparator::GreaterThanEqual)
        & QMailMessageKey::receptionTimeStamp(wanted.receivedDate().toUTC().addSecs(1),
                                              QMailDataComparator::LessThanEqual));
    for (const QMailMessageId &id : alike) {
        if (fingerprint(QMailMessageMetaData(id)) == fingerprint(wanted))
            return id;
    }
    return {};
}

Eas::Result FoundWriter::add(const FoundItem &found, const FolderState &folder)
{
    QMailMessage message = MessageBuilder::build(found.item);
    message.setParentAccountId(m_account);
    message.setParentFolderId(folder.folderId);
    found.uid.assignTo(&message);
    message.setStatus(messageFlags(folder), true);
    // Old mail that a search has found is not to be announced as new.
    message.setStatus(QMailMessageMetaData::New, false);
    message.setStatus(QMailMessageMetaData::NoNotification, true);
    FoundMark.set(&message);
    const Eas::Result room = checkRoom(message.body().length());
    if (!room.ok())
        return room;
    const Eas::Result added = m_conversations.add({&message});
    if (!added.ok())
        return added;
    // If the account was removed meanwhile, nobody else would remove the message.
    Eas::Result finished = AccountGuard::check(m_account);
    if (finished.ok())
        finished = noteContent(message);
    if (!finished.ok()) {
        QMailStore::instance()->removeMessages(QMailMessageKey::id(message.id()));
        return finished;
    }
    m_messages.append(message.id());
    return {};
}

} // namespace Store
