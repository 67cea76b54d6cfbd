// SPDX-License-Identifier: LGPL-2.1-or-later
#include "daemon/store/incoming/windowwriter.h"

#include "daemon/pacing/sizes.h"
#include "daemon/store/accountguard.h"
#include "daemon/store/currentmessages.h"
#include "daemon/store/fingerprint.h"
#include "daemon/store/incoming/messagebuilder.h"
#include "daemon/store/mark.h"
#include "daemon/store/removalrecords.h"
#include "daemon/store/storefailure.h"
#include "eas/folderchanges.h"

#include <qmailstore.h>

#include <ctime>
#include <utility>

namespace Store {

namespace {

constexpr int RemovalBatch = 100; ///< messages that are removed in one step

/** Of this thread, in milliseconds. */
qint64 cpuTime()
{
    struct timespec time = {};
    ::clock_gettime(CLOCK_THREAD_CPUTIME_ID, &time);
    return qint64(time.tv_sec) * 1000 + time.tv_nsec / 1000000;
}

/** How many messages a step writes; shared, as all folders lie in the same store. */
Daemon::AdaptiveSize &batchSize()
{
    static Daemon::AdaptiveSize size(Daemon::Sizes::Writing);
    return size;
}

/** As the server knows it: what it is to be told may have been meant for another one. */
QMailMessageMetaData settled(QMailMessageMetaData message)
{
    using Message = QMailMessageMetaData;
    message.setStatus(Message::Read, message.status() & Message::ReadElsewhere);
    message.setStatus(Message::Important, message.status() & Message::ImportantElsewhere);
    return message;
}

} // namespace

WindowWriter::WindowWriter(SyncStateDb &db, const QMailAccountId &account,
                           const Eas::SyncWindow &window, Answers answers)
    : m_account(account)
    , m_folders(db, account)
    , m_reconciliation(db, account)
    , m_writer(db, account)
    , m_window(window)
    , m_answers(answers)
    , m_gone(window.removed + window.outOfRange)
{
    for (const Eas::MailItem &item : window.added)
        m_items.append({item, true});
    for (const Eas::MailItem &item : window.changed)
        m_items.append({item, false});
    m_total = qMax(1, m_items.size() + m_gone.size());
}

int WindowWriter::progress() const
{
    return 1000 - 1000 * (m_items.size() + m_gone.size()) / m_total;
}

bool WindowWriter::step()
{
    m_result = AccountGuard::check(m_account);
    if (m_result.ok())
        m_result = perform();
    return m_result.ok() && m_phase != Phase::End;
}

/** Does a share of the current phase, and goes to the next one when it is done. */
Eas::Result WindowWriter::perform()
{
    switch (m_phase) {
    case Phase::Start:
        return start();
    case Phase::Note:
        return note();
    case Phase::Items:
        return writeItems();
    case Phase::Removals:
        return removeItems();
    case Phase::Key:
        return saveKey();
    case Phase::Sweep:
        return sweep();
    case Phase::End:
        break;
    }
    return {};
}

Eas::Result WindowWriter::start()
{
    QMailStore *store = QMailStore::instance();
    const std::optional<FolderState> folder = m_folders.find(m_window.collectionId);
    if (!folder || store->countFolders(QMailFolderKey::id(folder->folderId)) == 0)
        return {Eas::NotFound,
                QStringLiteral("no folder here for ")
                    + Eas::loggedId(m_window.collectionId.text())};
    if (!m_window.result.ok())
        return {Eas::InvalidAnswer, QStringLiteral("a refused window has no content")};
    m_folder = *folder;
    for (const ServerUid &deleted : RemovalRecords(m_account).in(m_window.collectionId))
        m_deleted.insert(deleted);
    Eas::Result result = findPresent();
    if (result.ok())
        result = m_reconciliation.begin(m_folder);
    m_phase = m_reconciliation.isToNote() ? Phase::Note : Phase::Items;
    return result;
}

Eas::Result WindowWriter::note()
{
    const Eas::Result result = m_reconciliation.note();
    if (!m_reconciliation.isToNote())
        m_phase = Phase::Items;
    return result;
}

Eas::Result WindowWriter::writeItems()
{
    if (m_items.isEmpty()) {
        m_phase = Phase::Removals;
        return {};
    }
    // CPU time: on a busy machine, smaller batches would only make more work.
    const qint64 before = cpuTime();
    const QList<Item> batch = nextBatch();
    const Eas::Result result = writeBatch(batch);
    batchSize().adapt(batch.size(), cpuTime() - before);
    return result;
}

/** The next items, no id twice: a change of one that was just added must find it. */
QList<WindowWriter::Item> WindowWriter::nextBatch()
{
    QList<Item> batch;
    QSet<QString> ids;
    while (!m_items.isEmpty() && batch.size() < batchSize().value()) {
        const QString id = m_items.first().data.serverId;
        if (ids.contains(id))
            break;
        ids.insert(id);
        batch.append(m_items.takeFirst());
    }
    return batch;
}

Eas::Result WindowWriter::writeBatch(const QList<Item> &batch)
{
    QList<Item> items;
    Messages present;
    Eas::Result result = leaveOutDeleted(batch, &items, &present);
    bool isRenamingPossible = false;
    if (result.ok() && !m_startsAnew)
        result = m_reconciliation.lookForRenaming(&isRenamingPossible);
    if (result.ok() && isRenamingPossible)
        result = rematch(items, &present);
    if (!result.ok() || m_startsAnew)
        return result;
    QList<Eas::MailItem> missing;
    MessageWriter::Updates known;
    for (const Item &item : qAsConst(items)) {
        const auto found = present.constFind(uid(item.data.serverId));
        if (found != present.constEnd())
            known.append({item.data, *found});
        else if (item.isNew || MessageBuilder::isComplete(item.data))
            missing.append(item.data);
    }
    result = add(missing);
    if (!result.ok())
        return result;
    for (const auto &[item, message] : qAsConst(known))
        m_reconciliation.confirm(message.id());
    return m_writer.update(known);
}

/** Looks which items are here, and leaves out those that the user deleted here. */
Eas::Result WindowWriter::leaveOutDeleted(const QList<Item> &batch, QList<Item> *items,
                                          Messages *present)
{
    for (const Item &item : batch) {
        bool isDeleted = item.data.serverId.isEmpty();
        Eas::Result result =
            isDeleted ? Eas::Result() : look(uid(item.data.serverId), present, &isDeleted);
        bool isAnother = false;
        if (result.ok() && isDeleted)
            result = findAnother(item, &isAnother);
        if (result.ok() && isAnother)
            return startAnew();
        if (!result.ok())
            return result;
        if (!isDeleted)
            items->append(item);
    }
    return {};
}

/** Whether an item that counts as deleted here is in truth another message: one that is here by
 * another id, or, where ids have changed, any that is new: nobody could delete that by its own. */
Eas::Result WindowWriter::findAnother(const Item &item, bool *isFound)
{
    const bool isRunning = m_reconciliation.isRunning() && !item.data.serverId.isEmpty();
    *isFound = isRunning && item.isNew && m_folder.renumbered;
    if (*isFound || !isRunning || !MessageBuilder::isComplete(item.data))
        return {};
    const QByteArray mark = fingerprint(MessageBuilder::build(item.data));
    QMailMessageIdList expected;
    const Eas::Result result = m_reconciliation.findExpected(mark, &expected);
    for (const QMailMessageId &id : qAsConst(expected)) {
        const QMailMessageMetaData message = currentMessage(id);
        if (QMailStore::instance()->lastError() != QMailStore::NoError)
            return storeFailure(QStringLiteral("cannot read a message"));
        // The deleted one itself may still be expected, but it is not here.
        const ServerUid known(message);
        *isFound = *isFound || (known.isItem() && known.isIn(m_window.collectionId));
    }
    return result;
}

Eas::Result WindowWriter::add(const QList<Eas::MailItem> &items)
{
    const Eas::Result result = m_writer.add(m_folder, items);
    const QMailMessageIdList added = m_writer.added();
    for (int i = 0; result.ok() && i < items.size(); ++i)
        m_present.insert(uid(items.at(i).serverId), added.at(added.size() - items.size() + i));
    return result;
}

/** Looks the window's messages up, all at once: without its index, each look goes through the whole
 * account. */
Eas::Result WindowWriter::findPresent()
{
    QMailStore *store = QMailStore::instance();
    QList<ServerUid> uids;
    for (const Item &item : qAsConst(m_items))
        uids.append(uid(item.data.serverId));
    const QMailMessageMetaDataList found = store->messagesMetaData(
        ServerUid::key(m_account, uids), QMailMessageKey::Id | QMailMessageKey::ServerUid);
    if (store->lastError() != QMailStore::NoError)
        return storeFailure(QStringLiteral("cannot look the messages of a window up"));
    for (const QMailMessageMetaData &message : found)
        m_present.insert(ServerUid(message), message.id());
    return {};
}

/** Whether the user deleted the message here; if it is here, adds it to `present`. */
Eas::Result WindowWriter::look(const ServerUid &uid, Messages *present, bool *isDeleted) const
{
    const QMailMessageId id = m_present.value(uid);
    *isDeleted = m_deleted.contains(uid);
    if (!id.isValid())
        return {};
    const QMailMessageMetaData message = currentMessage(id);
    if (QMailStore::instance()->lastError() != QMailStore::NoError)
        return storeFailure(QStringLiteral("cannot read a message"));
    *isDeleted = !message.id().isValid(); // since this window began
    if (!*isDeleted)
        present->insert(uid, message);
    return {};
}

/**
 * Finds the messages that the server calls by other ids than before, and lets them keep their place
 * in the store under the new ids.
 */
Eas::Result WindowWriter::rematch(const QList<Item> &items, Messages *present)
{
    QList<QMailMessageMetaData> changed;
    bool isRenumbered = false;
    for (const Item &item : items) {
        if (!MessageBuilder::isComplete(item.data))
            continue;
        const QMailMessage shown = MessageBuilder::build(item.data);
        const ServerUid wanted = uid(item.data.serverId);
        const QMailMessageMetaData named = present->value(wanted);
        QMailMessageId match;
        const Eas::Result taken = m_reconciliation.take(fingerprint(shown), named, &match);
        if (!taken.ok())
            return taken;
        const QMailMessageMetaData found = inFolder(match, changed);
        const bool isFound = found.id().isValid();
        const bool isNamed = named.id().isValid();
        if (found.id() == named.id() || (!isFound && !isAnother(named, shown)))
            continue;
        isRenumbered = isRenumbered || !isFound || ServerUid(found).isItem();
        if (isNamed && !isFound && mayBeChanged(item, named, shown)) {
            changed.append(settled(named));
            present->insert(wanted, changed.last());
        } else if (isNamed) {
            const Eas::Result expected =
                FoundMark.isSet(named) ? m_reconciliation.expectAnew(named) : Eas::Result();
            if (!expected.ok())
                return expected;
            changed.append(displaced(wanted, present));
        }
        if (isFound) {
            changed.append(renamed(found, wanted, present));
            present->insert(wanted, changed.last());
        }
    }
    const Eas::Result noted = isRenumbered ? noteRenumbering() : Eas::Result();
    return noted.ok() && !m_startsAnew ? m_writer.replace(changed) : noted;
}

/** The message as it is after what was changed so far; invalid where there is none, or where it was
 * deleted here since it was noted, or moved out. */
QMailMessageMetaData WindowWriter::inFolder(const QMailMessageId &id,
                                            const QList<QMailMessageMetaData> &changed) const
{
    QMailMessageMetaData message;
    if (id.isValid())
        message = currentMessage(id);
    for (const QMailMessageMetaData &other : changed) {
        if (other.id() == id)
            message = other;
    }
    return ServerUid(message).isIn(m_window.collectionId) ? message : QMailMessageMetaData();
}

/** Whether the server shows another message under the id of this one. A draft that was changed
 * there may look so as well. */
bool WindowWriter::isAnother(const QMailMessageMetaData &named,
                             const QMailMessageMetaData &shown) const
{
    // Subject and sender may be written otherwise in a content that was downloaded.
    return m_reconciliation.isRunning() && named.id().isValid()
        && named.receivedDate().toUTC().toSecsSinceEpoch()
        != shown.receivedDate().toUTC().toSecsSinceEpoch();
}

/** Whether an item that looks otherwise may be the message all the same, changed there, as a draft
 * is. What the user moved away is not moved for another message's sake. */
bool WindowWriter::mayBeChanged(const Item &item, const QMailMessageMetaData &named,
                                const QMailMessageMetaData &shown) const
{
    const bool isAlike =
        named.subject() == shown.subject() && named.from().address() == shown.from().address();
    return named.parentFolderId() == m_folder.folderId
        && (isAlike || !item.isNew || m_folder.type == Eas::Drafts);
}

/** The message that has the id, without it: it may yet be found under its own new one. */
QMailMessageMetaData WindowWriter::displaced(const ServerUid &wanted, Messages *present)
{
    QMailMessageMetaData message = present->take(wanted);
    m_present.remove(wanted);
    ServerUid::unnamed(m_window.collectionId, message.id()).assignTo(&message);
    return message;
}

/** The message with its new id. */
QMailMessageMetaData WindowWriter::renamed(QMailMessageMetaData message, const ServerUid &wanted,
                                           Messages *present)
{
    const ServerUid before(message);
    present->remove(before);
    if (m_present.value(before) == message.id())
        m_present.remove(before);
    m_present.insert(wanted, message.id());
    // A search result had its LongId alone: this is its first item id.
    const bool isFirstName = before.kind() == ServerUid::Kind::SearchResult;
    if (message.status() & QMailMessageMetaData::HasAttachments && !isFirstName)
        RenamedMark.set(&message);
    wanted.assignTo(&message);
    return message;
}

/** What was deleted here is known by ids that are other messages' now. */
Eas::Result WindowWriter::noteRenumbering()
{
    if (std::exchange(m_folder.renumbered, true))
        return {};
    if (!RemovalRecords(m_account).in(m_window.collectionId).isEmpty())
        return startAnew();
    // First of all: once messages have their new ids, nothing shows any more that they are new.
    return m_folders.save(m_folder);
}

/** Forgets what was deleted here. Earlier windows may have left out other messages for it. */
Eas::Result WindowWriter::startAnew()
{
    m_startsAnew = true;
    m_phase = Phase::End;
    m_writer.saveConversations();
    // First of all, as in noteRenumbering().
    const Eas::Result result = m_reconciliation.startAnew();
    return result.ok() ? forgetDeletions() : result;
}

Eas::Result WindowWriter::forgetDeletions()
{
    RemovalRecords records(m_account);
    return records.forget(records.in(m_window.collectionId));
}

Eas::Result WindowWriter::removeItems()
{
    if (m_gone.isEmpty()) {
        m_phase = Phase::Key;
        return {};
    }
    QList<ServerUid> uids;
    QList<ServerUid> deleted;
    for (const QString &id : m_gone.mid(0, RemovalBatch)) {
        uids.append(uid(id));
        // What is only out of range, the server still has.
        if (m_deleted.contains(uid(id)) && m_window.removed.contains(id))
            deleted.append(uid(id));
    }
    m_gone = m_gone.mid(RemovalBatch);
    const Eas::Result result = m_writer.remove(ServerUid::key(m_account, uids));
    // The server has deleted them as well: nothing is left to tell it.
    return result.ok() ? RemovalRecords(m_account).forget(deleted) : result;
}

Eas::Result WindowWriter::saveKey()
{
    if (hasChangedFolder() && !QMailStore::instance()->ensureDurability())
        return storeFailure(QStringLiteral("cannot make messages durable"));
    if (!m_window.unchanged)
        m_folder.syncKey = m_window.syncKey;
    m_writer.saveConversations();
    const bool isLast = !m_window.moreAvailable && m_answers == Answers::Download;
    Eas::Result result;
    if (m_reconciliation.areDeletionsDoubtful())
        result = forgetDeletions();
    if (result.ok())
        result = m_reconciliation.save(&m_folder);
    m_phase = isLast && m_reconciliation.isToBeSwept(m_folder) ? Phase::Sweep : Phase::End;
    return result;
}

/** Removes what the synchronisation had to bring and did not. */
Eas::Result WindowWriter::sweep()
{
    QMailMessageIdList left;
    const Eas::Result read = m_reconciliation.readUnconfirmed(RemovalBatch, &left);
    if (!read.ok())
        return read;
    if (left.isEmpty()) {
        m_folder.reconciling = false;
        m_phase = Phase::End;
        return m_folders.save(m_folder);
    }
    const auto found = QMailStore::instance()->messagesMetaData(
        QMailMessageKey::id(left), QMailMessageKey::Id | QMailMessageKey::ServerUid);
    if (QMailStore::instance()->lastError() != QMailStore::NoError)
        return storeFailure(QStringLiteral("cannot look at the messages of a folder"));
    // Of what was deleted before the server has shown it, the id may be another one's.
    const bool isAnyDeleted = int(found.size()) < left.size();
    if (isAnyDeleted && m_folder.renumbered
        && !RemovalRecords(m_account).in(m_folder.serverId).isEmpty())
        return startAnew();
    QMailMessageIdList gone;
    for (const QMailMessageMetaData &message : found) {
        // What was moved out since it was noted is another folder's to remove.
        if (ServerUid(message).isIn(m_folder.serverId))
            gone.append(message.id());
    }
    const Eas::Result result =
        gone.isEmpty() ? Eas::Result() : m_writer.remove(QMailMessageKey::id(gone));
    return result.ok() ? m_reconciliation.forget(m_folder, left) : result;
}

ServerUid WindowWriter::uid(const QString &itemId) const
{
    return ServerUid::item(m_window.collectionId, itemId);
}

} // namespace Store
