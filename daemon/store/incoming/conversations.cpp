// SPDX-License-Identifier: LGPL-2.1-or-later
#include "daemon/store/incoming/conversations.h"

#include "daemon/store/currentmessages.h"
#include "daemon/store/incoming/messagebuilder.h"
#include "daemon/store/storefailure.h"

#include <QCryptographicHash>
#include <qmailstore.h>

#include <algorithm>

namespace Store {

namespace {

using Message = QMailMessageMetaData;

/** Of the conversation's id; empty where the message has none. */
QByteArray digestOf(const Message &message)
{
    const QByteArray id = MessageBuilder::conversationId(message);
    return id.isEmpty() ? id : QCryptographicHash::hash(id, QCryptographicHash::Sha256);
}

template <typename Messages>
QSet<QByteArray> digestsOf(const Messages &messages)
{
    QSet<QByteArray> digests;
    for (const auto &message : messages)
        digests.insert(digestOf(message));
    digests.remove(QByteArray());
    return digests;
}

QDateTime dateOf(const Message &message)
{
    return message.date().toUTC();
}

/** What is to be sent again answers what its author says; all else, what it follows. */
bool isDraft(const Message &message)
{
    return message.status() & Message::Draft;
}

/** Messages of the server that answer this one; what of the person's answers it, its author says.
 */
QMailMessageIdList guessedAnswers(const QMailMessageId &id)
{
    const QMailMessageMetaDataList answers = QMailStore::instance()->messagesMetaData(
        QMailMessageKey::inResponseTo(id),
        QMailMessageKey::Id | QMailMessageKey::Status | QMailMessageKey::ServerUid);
    QMailMessageIdList guessed;
    for (const Message &answer : answers) {
        if (!isDraft(answer) && !answer.serverUid().isEmpty())
            guessed.append(answer.id());
    }
    return guessed;
}

QHash<quint64, Message> messagesHere(const QMailAccountId &account, const QMailMessageIdList &ids)
{
    static const QMailMessageKey::Properties needed = QMailMessageKey::Id
        | QMailMessageKey::TimeStamp | QMailMessageKey::ParentThreadId | QMailMessageKey::Custom;
    QHash<quint64, Message> here;
    if (ids.isEmpty())
        return here;
    const QMailMessageKey key =
        QMailMessageKey::id(ids) & QMailMessageKey::parentAccountId(account);
    // By a query: what this process remembers of a message's thread may be out of date.
    for (const Message &message : QMailStore::instance()->messagesMetaData(key, needed))
        here.insert(message.id().toULongLong(), message);
    return here;
}

QSet<quint64> threadsHere(const QMailAccountId &account, const QMailThreadIdList &ids)
{
    QSet<quint64> here;
    if (ids.isEmpty())
        return here;
    const QMailThreadKey key = QMailThreadKey::id(ids) & QMailThreadKey::parentAccountId(account);
    for (const QMailThreadId &id : QMailStore::instance()->queryThreads(key))
        here.insert(id.toULongLong());
    return here;
}

} // namespace

/** The message is in the thread. */
void Conversations::Known::take(const Message &message)
{
    const QDateTime date = dateOf(message);
    if (!record.first.isValid() || date < firstDate) {
        record.first = message.id();
        firstDate = date;
    }
    if (!record.last.isValid() || date >= lastDate) {
        record.last = message.id();
        lastDate = date;
    }
}

Conversations::Conversations(SyncStateDb &db, const QMailAccountId &account)
    : m_account(account)
    , m_table(db, account)
{
}

Eas::Result Conversations::add(const QList<QMailMessage *> &messages)
{
    QSet<QByteArray> digests;
    for (const QMailMessage *message : messages)
        digests.insert(digestOf(*message));
    digests.remove(QByteArray());
    lookUp(digests);
    // In this order, the mail store finds for itself what answers what.
    QList<QMailMessage *> ordered = messages;
    std::stable_sort(
        ordered.begin(), ordered.end(),
        [](const QMailMessage *a, const QMailMessage *b) { return dateOf(*a) < dateOf(*b); });
    // A new conversation's thread is known when its first message is in the store.
    QList<QMailMessage *> now;
    QList<QMailMessage *> next;
    QSet<QByteArray> begun;
    for (QMailMessage *message : qAsConst(ordered)) {
        const QByteArray digest = digestOf(*message);
        const bool waits = !join(message) && begun.contains(digest);
        (waits ? next : now).append(message);
        if (!digest.isEmpty())
            begun.insert(digest);
    }
    Eas::Result result = addTogether(now);
    if (!result.ok())
        return result;
    for (QMailMessage *message : qAsConst(next))
        join(message);
    result = addTogether(next);
    if (result.ok()) {
        refreshThreads();
    } else {
        QMailMessageIdList ids;
        for (const QMailMessage *message : qAsConst(now))
            ids.append(message->id());
        QMailStore::instance()->removeMessages(QMailMessageKey::id(ids));
    }
    return result;
}

void Conversations::note(const QMailMessageMetaDataList &messages)
{
    lookUp(digestsOf(messages));
    for (const Message &message : messages) {
        const QByteArray digest = digestOf(message);
        if (!m_known.contains(digest) && !m_full.contains(digest))
            place(message);
    }
}

void Conversations::move(const QList<Change> &changes)
{
    QMailMessageMetaDataList messages;
    QHash<QByteArray, QMailMessageIdList> together;
    for (const auto &[before, after] : changes) {
        messages.append(after);
        together[digestOf(after)].append(after.id());
    }
    lookUp(digestsOf(messages));
    for (const auto &[before, after] : changes) {
        const QByteArray digest = digestOf(after);
        // What had no conversation so far keeps the thread that the mail store has given it.
        const bool isToLeave =
            !m_known.contains(digest) && !isInFullThread(after) && !digestOf(before).isEmpty();
        Message message = after;
        if (!isToLeave || leave(&message, together.value(digest)))
            place(message);
    }
    refreshThreads();
}

void Conversations::recount(const QMailMessageMetaDataList &messages)
{
    QHash<quint64, QMailMessageId> threads;
    for (const Message &message : messages) {
        if (message.parentThreadId().isValid())
            threads.insert(message.parentThreadId().toULongLong(), message.id());
    }
    // Where flags are set, the mail store counts in one of the messages' threads alone.
    if (threads.size() < 2)
        return;
    m_joinedThreads = threads;
    refreshThreads();
}

void Conversations::save()
{
    if (!m_unsaved.isEmpty())
        m_table.save(m_unsaved.values());
    m_unsaved.clear();
}

/** Finds what the store has of the conversations. */
void Conversations::lookUp(const QSet<QByteArray> &digests)
{
    m_known.clear();
    m_full.clear();
    QList<ConversationRecord> records;
    QList<QByteArray> saved;
    for (const QByteArray &digest : digests) {
        const auto unsaved = m_unsaved.constFind(digest);
        if (unsaved != m_unsaved.constEnd())
            records.append(*unsaved);
        else
            saved.append(digest);
    }
    if (!saved.isEmpty())
        records += m_table.find(saved);
    for (const Known &known : believed(records)) {
        if (known.record.messages < MaximumThread)
            m_known.insert(known.record.digest, known);
        else
            m_full.insert(known.record.digest, known.record.thread);
    }
}

/** The conversations as they are in the store now. */
QList<Conversations::Known> Conversations::believed(const QList<ConversationRecord> &records) const
{
    QMailMessageIdList ids;
    QMailThreadIdList threads;
    for (const ConversationRecord &record : records) {
        ids << record.first << record.last;
        threads << record.thread;
    }
    const QHash<quint64, Message> messages = messagesHere(m_account, ids);
    for (const Message &message : messages)
        threads << message.parentThreadId();
    const QSet<quint64> present = threadsHere(m_account, threads);

    QList<Known> believed;
    for (const ConversationRecord &record : records) {
        Known known;
        known.record.digest = record.digest;
        known.record.messages = record.messages;
        // Where its messages are gone, those that came between them may still be in the thread.
        if (present.contains(record.thread.toULongLong()))
            known.record.thread = record.thread;
        for (const QMailMessageId &id : {record.first, record.last}) {
            const Message message = messages.value(id.toULongLong());
            const QMailThreadId thread = message.parentThreadId();
            if (!present.contains(thread.toULongLong()))
                continue;
            if (digestOf(message) != record.digest) {
                // It has taken the thread along to another conversation.
                if (thread == record.thread && !known.record.first.isValid())
                    known.record.thread = QMailThreadId();
                continue;
            }
            known.record.thread = thread;
            known.take(message);
        }
        if (known.record.thread.isValid())
            believed.append(known);
    }
    return believed;
}

/** Prepares a new message for its conversation's thread; false where there is none yet. */
bool Conversations::join(QMailMessage *message)
{
    const auto known = m_known.constFind(digestOf(*message));
    if (known == m_known.constEnd())
        return false;
    message->setParentThreadId(known->record.thread);
    const QDateTime date = dateOf(*message);
    if (isDraft(*message) || !known->record.first.isValid() || date < known->firstDate)
        return true;
    // With this, the mail store does not look for another thread by the subject.
    message->setInResponseTo(date < known->lastDate ? known->record.first : known->record.last);
    if (message->responseType() == Message::NoResponse)
        message->setResponseType(Message::UnspecifiedResponse);
    return true;
}

Eas::Result Conversations::addTogether(const QList<QMailMessage *> &messages)
{
    if (messages.isEmpty())
        return {};
    if (!QMailStore::instance()->addMessages(messages))
        return storeFailure(QStringLiteral("cannot add messages"));
    for (QMailMessage *message : messages) {
        if (!m_known.contains(digestOf(*message)))
            separate(message);
        place(*message);
    }
    return {};
}

/**
 * Takes the first message of a conversation out of another one's thread, or out of a full one: by
 * its subject, the mail store has guessed what it answers.
 */
void Conversations::separate(QMailMessage *message)
{
    const QMailMessageId answered = message->inResponseTo();
    const QByteArray digest = digestOf(*message);
    if (!answered.isValid() || digest.isEmpty() || isDraft(*message))
        return;
    const Message guess = messagesHere(m_account, {answered}).value(answered.toULongLong());
    const QByteArray other = digestOf(guess);
    if (other.isEmpty() || (other == digest && !m_full.contains(digest)))
        return;
    const std::optional<Message> now = takeOut(*message, answered);
    if (!now)
        return;
    message->setParentThreadId(now->parentThreadId());
    // The store still counts it where it was.
    m_joinedThreads.insert(guess.parentThreadId().toULongLong(), guess.id());
}

/**
 * Has a message whose conversation has changed leave the thread of the former one: what comes of
 * its conversation would follow it there. Where the thread has no other messages than those that go
 * along, it stays theirs.
 *
 * False where it stays among others.
 */
bool Conversations::leave(Message *message, const QMailMessageIdList &along)
{
    QMailStore *store = QMailStore::instance();
    const QMailThreadId thread = message->parentThreadId();
    const QMailMessageIdList others =
        store->queryMessages(QMailMessageKey::parentThreadId(thread) & ~QMailMessageKey::id(along),
                             QMailMessageSortKey(), 1);
    if (store->lastError() != QMailStore::NoError)
        return false;
    if (others.isEmpty())
        return true;
    if (isDraft(*message))
        return false;
    const std::optional<Message> now = takeOut(currentMessage(message->id()), others.first());
    if (now)
        *message = *now;
    m_joinedThreads.insert(thread.toULongLong(), others.first());
    return now.has_value();
}

/**
 * Gives a message a thread of its own; `companion` is another one of the thread where it was.
 *
 * The mail store does so with a message that answers another one and then does not any more.
 */
std::optional<Message> Conversations::takeOut(const Message &message,
                                              const QMailMessageId &companion)
{
    if (!message.id().isValid())
        return {};
    QMailStore *store = QMailStore::instance();
    const QMailMessageKey key = QMailMessageKey::id(message.id());
    // What the store takes for answers to it would come along.
    const QMailMessageIdList answers = guessedAnswers(message.id());
    if (store->lastError() != QMailStore::NoError)
        return {};
    Message back;
    back.setInResponseTo(message.inResponseTo());
    if (!answers.isEmpty()
        && !store->updateMessagesMetaData(QMailMessageKey::id(answers),
                                          QMailMessageKey::InResponseTo, back))
        return {};
    back.setInResponseTo(companion);
    if (!message.inResponseTo().isValid()
        && !store->updateMessagesMetaData(key, QMailMessageKey::InResponseTo, back))
        return {};
    awaitWriters(); // the message is written as a whole
    Message alone = currentMessage(message.id());
    alone.setInResponseTo(QMailMessageId());
    alone.setResponseType(Message::NoResponse);
    alone.setParentThreadId(QMailThreadId());
    if (!store->updateMessage(&alone))
        return {};
    const Message now = currentMessage(message.id());
    moveTo(now.parentThreadId(), now);
    return now;
}

/** Whether the message is in its conversation's thread, which is full. */
bool Conversations::isInFullThread(const Message &message) const
{
    const QByteArray digest = digestOf(message);
    const auto full = m_full.constFind(digest);
    return !m_known.contains(digest) && full != m_full.constEnd()
        && *full == message.parentThreadId();
}

/**
 * Brings a message of the store into its conversation's thread, if it is not there already.
 *
 * Where there is none yet, it is the message's: only for new messages, the store makes threads.
 */
void Conversations::place(const Message &message)
{
    const QByteArray digest = digestOf(message);
    // With a record, others would follow it there.
    if (digest.isEmpty() || isInFullThread(message))
        return;
    Known &known = m_known[digest];
    known.record.digest = digest;
    if (!known.record.thread.isValid()) {
        known.record.thread = message.parentThreadId();
    } else {
        if (message.parentThreadId() != known.record.thread)
            moveTo(known.record.thread, message);
        m_joinedThreads.insert(known.record.thread.toULongLong(), message.id());
    }
    known.record.messages += 1;
    known.take(message);
    m_unsaved.insert(digest, known.record);
}

void Conversations::moveTo(const QMailThreadId &thread, const Message &message)
{
    QMailMessageKey::Properties properties = QMailMessageKey::ParentThreadId;
    if (!isDraft(message))
        properties |= QMailMessageKey::InResponseTo | QMailMessageKey::ResponseType;
    Message data;
    data.setParentThreadId(thread);
    data.setResponseType(Message::NoResponse);
    // Where this fails, the message stays in the thread where it is.
    QMailStore::instance()->updateMessagesMetaData(QMailMessageKey::id(message.id()), properties,
                                                   data);
}

/**
 * Has the mail store count its threads anew, and find what is first and last in each.
 *
 * When messages are added, it compares them with what it remembers of the thread, which is out of
 * date from the second message on. It counts the threads of messages whose data are updated.
 */
void Conversations::refreshThreads()
{
    if (m_joinedThreads.isEmpty())
        return;
    Message same;
    same.setMessageType(Message::Email); // as all messages of ours are
    QMailStore::instance()->updateMessagesMetaData(QMailMessageKey::id(m_joinedThreads.values()),
                                                   QMailMessageKey::Type, same);
    m_joinedThreads.clear();
}

} // namespace Store
