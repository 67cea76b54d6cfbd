// SPDX-License-Identifier: LGPL-2.1-or-later
#include "daemon/store/windowwriter.h"

#include "daemon/store/accountguard.h"
#include "daemon/store/batchsize.h"
#include "daemon/store/contentcheck.h"
#include "daemon/store/contentmark.h"
#include "daemon/store/currentmessages.h"
#include "daemon/store/fingerprint.h"
#include "daemon/store/folderflags.h"
#include "daemon/store/foundmark.h"
#include "daemon/store/messagebuilder.h"
#include "daemon/store/renamedmark.h"
#include "daemon/store/serveruid.h"
#include "daemon/store/storefailure.h"
#include "eas/folderchanges.h"

#include <QElapsedTimer>
#include <qmailstore.h>

#include <vector>

namespace Store {

namespace {

constexpr int noteBatch = 500;    ///< messages whose fingerprint is taken in one step
constexpr int removalBatch = 100; ///< messages that are removed in one step
constexpr int everything = 0;     ///< the filter of a folder that is synchronised as a whole

const QString noKey = QStringLiteral("0");

/** Of this thread, in milliseconds. */
qint64 cpuTime()
{
    struct timespec time = {};
    ::clock_gettime(CLOCK_THREAD_CPUTIME_ID, &time);
    return qint64(time.tv_sec) * 1000 + time.tv_nsec / 1000000;
}

/** How many messages a step writes; shared, as all folders lie in the same store. */
BatchSize &batchSize()
{
    static BatchSize size;
    return size;
}

/** Bytes of the items' texts, as they will at least be in the store. */
qint64 textSize(const QList<Eas::MailItem> &items)
{
    qint64 size = 0;
    for (const Eas::MailItem &item : items) {
        const QByteArray text =
            item.body && item.body->type != Eas::Mime ? item.body->data : QByteArray();
        // The store keeps neither, and lines end with LF alone.
        size += text.size() - text.count('\r') - text.count('\0');
    }
    return size;
}

/** Whether the message lost its content, so that the item must bring it again. */
bool isDamaged(const QMailMessageMetaData &message, const Eas::MailItem &item)
{
    // What was downloaded as a whole is not of the item's size.
    return isContentDamaged(message, ContentMark::read(message).downloaded ? 0 : textSize({item}));
}

/** Pointers to the messages, as the store's calls want them. */
template <typename Message>
QList<Message *> pointers(std::vector<Message> &messages)
{
    QList<Message *> list;
    for (Message &message : messages)
        list.append(&message);
    return list;
}

} // namespace

WindowWriter::WindowWriter(SyncStateDb &db, const QMailAccountId &account,
                           const Eas::SyncWindow &window, Answers answers)
    : m_db(db)
    , m_account(account)
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
    const std::optional<FolderState> folder = m_db.folder(m_account, m_window.collectionId);
    if (!folder || store->countFolders(QMailFolderKey::id(folder->folderId)) == 0)
        return {Eas::NotFound, QStringLiteral("no folder here for ") + m_window.collectionId};
    if (m_window.status != 1)
        return {Eas::InvalidAnswer, QStringLiteral("a refused window has no content")};
    m_folder = *folder;
    findPresent();
    m_first = m_folder.syncKey == noKey;
    for (const QMailMessageRemovalRecord &record : store->messageRemovalRecords(m_account)) {
        if (ServerUid::split(record.serverUid()).collectionId == m_window.collectionId)
            m_deleted.insert(record.serverUid());
    }
    if (m_first) {
        m_toNote =
            store->queryMessages(QMailMessageKey::parentFolderId(m_folder.folderId)
                                 | QMailMessageKey::previousParentFolderId(m_folder.folderId));
        if (m_folder.filter != everything)
            passOverFound();
        m_phase = Phase::Note;
        return {};
    }
    expect(m_db.unconfirmed(m_account, m_window.collectionId));
    m_hasUnconfirmed = !m_unconfirmed.isEmpty();
    expectFound();
    m_phase = Phase::Items;
    return {};
}

void WindowWriter::expect(const QList<Unconfirmed> &messages)
{
    for (const Unconfirmed &message : messages)
        m_unconfirmed.insert(message.fingerprint, message.messageId);
}

/** What a search brought may lie outside of what the server will show now. */
void WindowWriter::passOverFound()
{
    const QMailMessageIdList found = QMailStore::instance()->queryMessages(
        QMailMessageKey::parentAccountId(m_account) & FoundMark::key());
    const QSet<QMailMessageId> marked(found.cbegin(), found.cend());
    QMailMessageIdList others;
    for (const QMailMessageId &id : qAsConst(m_toNote)) {
        if (!marked.contains(id))
            others.append(id);
    }
    m_toNote = others;
}

/** What a search brought is recognised when the server shows it under another id. */
void WindowWriter::expectFound()
{
    const QMailMessageMetaDataList found = QMailStore::instance()->messagesMetaData(
        QMailMessageKey::parentFolderId(m_folder.folderId) & FoundMark::key(),
        fingerprintProperties | QMailMessageKey::ServerUid);
    for (const QMailMessageMetaData &message : found) {
        const ServerUid known = ServerUid::split(message.serverUid());
        const bool isNamed = !known.itemId.isEmpty();
        const bool mayBeRenamed = m_first || m_folder.reconciling;
        if (known.collectionId == m_window.collectionId && (mayBeRenamed || !isNamed))
            m_unconfirmed.insert(fingerprint(message), message.id());
    }
}

/** Notes what the folder has from the server; what the user put there is not compared. */
Eas::Result WindowWriter::note()
{
    const QMailMessageIdList ids = m_toNote.mid(0, noteBatch);
    m_toNote = m_toNote.mid(noteBatch);
    const QMailMessageMetaDataList found = QMailStore::instance()->messagesMetaData(
        QMailMessageKey::id(ids), fingerprintProperties | QMailMessageKey::ServerUid);
    for (const QMailMessageMetaData &message : found) {
        if (ServerUid::split(message.serverUid()).collectionId == m_window.collectionId)
            m_noted.append({message.id(), fingerprint(message)});
    }
    if (m_toNote.isEmpty()) {
        expect(m_noted);
        expectFound();
        m_phase = Phase::Items;
    }
    return {};
}

Eas::Result WindowWriter::writeItems()
{
    if (m_items.isEmpty()) {
        m_phase = Phase::Removals;
        return {};
    }
    // Not the clock's time: on a busy machine smaller batches would only make more work.
    const qint64 before = cpuTime();
    const QList<Item> batch = nextBatch();
    const Eas::Result result = writeBatch(batch);
    batchSize().took(batch.size(), cpuTime() - before);
    return result;
}

/** The next items, each of them once: a change of one that was just added must find it. */
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
    for (const Item &item : batch) {
        if (!item.data.serverId.isEmpty() && !wasDeleted(uid(item.data.serverId), &present))
            items.append(item);
    }
    if (!m_unconfirmed.isEmpty()) {
        const Eas::Result result = rematch(items, &present);
        if (!result.ok())
            return result;
    }
    QList<Eas::MailItem> missing;
    QList<QPair<Eas::MailItem, QMailMessageMetaData>> known;
    for (const Item &item : qAsConst(items)) {
        const auto found = present.constFind(uid(item.data.serverId));
        if (found != present.constEnd())
            known.append({item.data, *found});
        else if (item.isNew || MessageBuilder::isComplete(item.data))
            missing.append(item.data);
        else
            m_incomplete.append(item.data.serverId);
    }
    const Eas::Result result = add(missing);
    return result.ok() ? update(known) : result;
}

/** Looks the window's messages up, all at once: each look goes through the whole account. */
void WindowWriter::findPresent()
{
    QStringList uids;
    for (const Item &item : qAsConst(m_items))
        uids.append(uid(item.data.serverId));
    if (uids.isEmpty())
        return;
    const QMailMessageMetaDataList found = QMailStore::instance()->messagesMetaData(
        QMailMessageKey::parentAccountId(m_account) & QMailMessageKey::serverUid(uids),
        QMailMessageKey::Id | QMailMessageKey::ServerUid);
    for (const QMailMessageMetaData &message : found)
        m_present.insert(message.serverUid(), message.id());
}

/** Whether the user deleted the message here; if it is here, it comes to those present. */
bool WindowWriter::wasDeleted(const QString &uid, Messages *present) const
{
    const QMailMessageId id = m_present.value(uid);
    if (!id.isValid())
        return m_deleted.contains(uid);
    const QMailMessageMetaData message = currentMessage(id);
    if (!message.id().isValid())
        return true; // since this window began
    present->insert(uid, message);
    return false;
}

/**
 * Finds the messages of a fresh synchronisation that the server calls by other ids than before, and
 * lets them keep their place in the store under the new ids.
 */
Eas::Result WindowWriter::rematch(const QList<Item> &items, Messages *present)
{
    QList<QMailMessageMetaData> renamed;
    for (const Item &item : items) {
        if (!MessageBuilder::isComplete(item.data))
            continue;
        const QString wanted = uid(item.data.serverId);
        const QByteArray mark = fingerprint(MessageBuilder::build(item.data));
        const QMailMessageId named = present->value(wanted).id();
        const bool isSame = named.isValid() && m_unconfirmed.contains(mark, named);
        const QMailMessageId match = isSame ? named : m_unconfirmed.value(mark);
        m_unconfirmed.remove(mark, match);
        if (isSame || !match.isValid() || m_confirmed.contains(match))
            continue;
        QMailMessageMetaData message = currentMessage(match);
        for (const QMailMessageMetaData &other : qAsConst(renamed)) {
            if (other.id() == match)
                message = other;
        }
        if (!message.id().isValid())
            continue; // deleted here since it was noted
        if (named.isValid()) {
            // Another message has the id now: it may yet be found under its own new one.
            QMailMessageMetaData displaced = present->take(wanted);
            displaced.setServerUid(ServerUid::joinUnnamed(m_window.collectionId, named));
            renamed.append(displaced);
        }
        present->remove(message.serverUid());
        if (m_present.value(message.serverUid()) == match)
            m_present.remove(message.serverUid());
        m_present.insert(wanted, match);
        // What a search brought had its LongId alone.
        const bool isFirstName = !ServerUid::split(message.serverUid()).longId.isEmpty();
        if (message.status() & QMailMessageMetaData::HasAttachments && !isFirstName)
            RenamedMark::set(&message);
        message.setServerUid(wanted);
        renamed.append(message);
        present->insert(wanted, message);
    }
    return store(renamed);
}

Eas::Result WindowWriter::store(QList<QMailMessageMetaData> &messages)
{
    QList<QMailMessageMetaData *> list;
    for (QMailMessageMetaData &message : messages)
        list.append(&message);
    if (!list.isEmpty() && !QMailStore::instance()->updateMessages(list))
        return storeFailure(QStringLiteral("cannot update messages"));
    return {};
}

Eas::Result WindowWriter::add(const QList<Eas::MailItem> &items)
{
    std::vector<QMailMessage> messages;
    for (const Eas::MailItem &item : items) {
        QMailMessage message = MessageBuilder::build(item);
        message.setParentAccountId(m_account);
        message.setParentFolderId(m_folder.folderId);
        message.setServerUid(uid(item.serverId));
        message.setStatus(folderFlags(m_folder), true);
        messages.push_back(message);
    }
    Eas::Result result = checkRoom(textSize(items));
    if (messages.empty() || !result.ok())
        return result;
    if (!QMailStore::instance()->addMessages(pointers(messages)))
        return storeFailure(QStringLiteral("cannot add messages"));
    QMailMessageIdList ids;
    for (const QMailMessage &message : messages)
        ids.append(message.id());
    // Removed while we wrote: nobody else would remove the messages.
    result = AccountGuard::check(m_account);
    for (int i = 0; result.ok() && i < items.size(); ++i) {
        if (isContentDamaged(messages.at(size_t(i)), textSize({items.at(i)})))
            result = storeFailure(QStringLiteral("the content of a message was not written"));
    }
    if (!result.ok()) {
        QMailStore::instance()->removeMessages(QMailMessageKey::id(ids));
        return result;
    }
    m_added.append(ids);
    for (const QMailMessage &message : messages)
        m_present.insert(message.serverUid(), message.id());
    return {};
}

Eas::Result WindowWriter::update(const QList<QPair<Eas::MailItem, QMailMessageMetaData>> &items)
{
    std::vector<QMailMessage> contents;
    QMap<QPair<quint64, bool>, QMailMessageIdList> flags;
    QList<QMailMessageMetaData> marked;
    QList<Eas::MailItem> changed;
    for (const auto &[item, before] : items) {
        changed.append(item);
        m_confirmed.append(before.id());
        if (MessageBuilder::isComplete(item)
            && (MessageBuilder::isNews(item, before) || isDamaged(before, item))) {
            contents.push_back(MessageBuilder::rebuilt(before, item));
            RenamedMark::clear(&contents.back());
            continue;
        }
        if (MessageBuilder::isNews(item, before)) {
            contents.push_back(MessageBuilder::updated(QMailMessage(before.id()), item));
            continue;
        }
        QMailMessageMetaData after = before;
        MessageBuilder::updateFlags(&after, item);
        FoundMark::clear(&after);
        const quint64 different = after.status() ^ before.status();
        const bool isMarkNew = after.customFields() != before.customFields();
        if (different || isMarkNew)
            m_updated.append(before.id());
        if (isMarkNew)
            marked.append(after);
        if (different & after.status())
            flags[{different & after.status(), true}].append(before.id());
        if (different & before.status())
            flags[{different & before.status(), false}].append(before.id());
    }
    const Eas::Result room = contents.empty() ? Eas::Result() : checkRoom(textSize(changed));
    if (!room.ok())
        return room;
    for (QMailMessage &message : contents) {
        FoundMark::clear(&message);
        m_updated.append(message.id());
    }
    if (!contents.empty() && !QMailStore::instance()->updateMessages(pointers(contents)))
        return storeFailure(QStringLiteral("cannot update messages"));
    const Eas::Result result = storeFlags(flags);
    return result.ok() ? storeMarks(marked) : result;
}

/** Writes the marks alone, as the flags. */
Eas::Result WindowWriter::storeMarks(const QList<QMailMessageMetaData> &marked)
{
    for (const QMailMessageMetaData &message : marked) {
        if (!QMailStore::instance()->updateMessagesMetaData(QMailMessageKey::id(message.id()),
                                                            QMailMessageKey::Custom, message))
            return storeFailure(QStringLiteral("cannot update messages"));
    }
    return {};
}

/** Writes the flags alone: the user may be doing more with the messages right now. */
Eas::Result WindowWriter::storeFlags(const QMap<QPair<quint64, bool>, QMailMessageIdList> &flags)
{
    for (auto it = flags.cbegin(); it != flags.cend(); ++it) {
        if (!QMailStore::instance()->updateMessagesMetaData(QMailMessageKey::id(it.value()),
                                                            it.key().first, it.key().second))
            return storeFailure(QStringLiteral("cannot update messages"));
    }
    return {};
}

Eas::Result WindowWriter::removeItems()
{
    if (m_gone.isEmpty()) {
        m_phase = Phase::Key;
        return {};
    }
    QStringList uids;
    QStringList deleted;
    for (const QString &id : m_gone.mid(0, removalBatch)) {
        uids.append(uid(id));
        if (m_deleted.contains(uid(id)))
            deleted.append(uid(id));
    }
    m_gone = m_gone.mid(removalBatch);
    QMailStore *store = QMailStore::instance();
    const QMailMessageKey key =
        QMailMessageKey::parentAccountId(m_account) & QMailMessageKey::serverUid(uids);
    const int count = store->countMessages(key);
    if (count > 0 && !store->removeMessages(key))
        return storeFailure(QStringLiteral("cannot remove messages"));
    // The server has deleted them as well: nothing is left to tell it.
    if (!deleted.isEmpty() && !store->purgeMessageRemovalRecords(m_account, deleted))
        return storeFailure(QStringLiteral("cannot forget deleted messages"));
    m_removed += count;
    return {};
}

Eas::Result WindowWriter::saveKey()
{
    if (hasChangedFolder() && !QMailStore::instance()->ensureDurability())
        return storeFailure(QStringLiteral("cannot make messages durable"));
    if (!m_window.unchanged)
        m_folder.syncKey = m_window.syncKey;
    Eas::Result result;
    if (m_first) {
        m_folder.reconciling = !m_noted.isEmpty();
        result = m_db.startReconciling(m_account, m_folder, m_noted);
    }
    if (result.ok())
        result = m_db.confirm(m_account, m_folder, m_confirmed);
    const bool isLast = !m_first && !m_window.moreAvailable && m_answers == Answers::Download;
    m_phase = isLast && (m_folder.reconciling || m_hasUnconfirmed) ? Phase::Sweep : Phase::End;
    return result;
}

/** Removes what the synchronisation had to bring and did not. */
Eas::Result WindowWriter::sweep()
{
    const QList<Unconfirmed> left =
        m_db.unconfirmed(m_account, m_window.collectionId).mid(0, removalBatch);
    if (left.isEmpty()) {
        m_folder.reconciling = false;
        m_phase = Phase::End;
        return m_db.saveFolder(m_account, m_folder);
    }
    QMailMessageIdList ids;
    for (const Unconfirmed &message : left)
        ids.append(message.messageId);
    QMailStore *store = QMailStore::instance();
    const QMailMessageKey key =
        QMailMessageKey::parentAccountId(m_account) & QMailMessageKey::id(ids);
    const int count = store->countMessages(key);
    if (count > 0 && !store->removeMessages(key))
        return storeFailure(QStringLiteral("cannot remove messages"));
    m_removed += count;
    return m_db.confirm(m_account, m_folder, ids);
}

QString WindowWriter::uid(const QString &itemId) const
{
    return ServerUid::join(m_window.collectionId, itemId);
}

Eas::Result startReconciling(SyncStateDb &db, const QMailAccountId &account,
                             const QString &serverId)
{
    std::optional<FolderState> folder = db.folder(account, serverId);
    if (!folder)
        return {Eas::NotFound, QStringLiteral("no folder here for ") + serverId};
    folder->syncKey = noKey;
    folder->reconciling = false;
    return db.startReconciling(account, *folder, {});
}

} // namespace Store
