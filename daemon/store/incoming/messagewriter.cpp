// SPDX-License-Identifier: LGPL-2.1-or-later
#include "daemon/store/incoming/messagewriter.h"

#include "daemon/store/accountguard.h"
#include "daemon/store/currentmessages.h"
#include "daemon/store/incoming/contentcheck.h"
#include "daemon/store/incoming/contentmark.h"
#include "daemon/store/incoming/messagebuilder.h"
#include "daemon/store/mark.h"
#include "daemon/store/messageflags.h"
#include "daemon/store/serveruid.h"
#include "daemon/store/storefailure.h"

#include <qmailstore.h>

namespace Store {

namespace {

qint64 count(const QByteArray &text, char c)
{
    qint64 found = 0;
    for (int at = text.indexOf(c); at >= 0; at = text.indexOf(c, at + 1))
        ++found;
    return found;
}

/** Bytes of the items' texts, as they will at least be in the store. */
qint64 textSize(const QList<Eas::MailItem> &items)
{
    qint64 size = 0;
    for (const Eas::MailItem &item : items) {
        const QByteArray text =
            item.body && item.body->type != Eas::Mime ? item.body->data : QByteArray();
        // The store keeps neither, and lines end with LF alone.
        size += text.size() - count(text, '\r') - count(text, '\0');
    }
    return size;
}

/** Whether the message lost its content, so that the item must bring it again. */
bool isDamaged(const QMailMessageMetaData &message, const Eas::MailItem &item)
{
    // What was downloaded as a whole, or edited, is not of the item's size.
    const bool isOfAnySize = ContentMark::read(message).downloaded || isEdited(message);
    return isContentDamaged(message, isOfAnySize ? 0 : textSize({item}));
}

/** Takes over what was done with the message since it had this status: another process may have
 * moved or flagged it, and its own thread grows when messages are added. */
void follow(QMailMessage *message, quint64 statusBefore, const QMailMessageMetaData &now)
{
    const quint64 changed = statusBefore ^ now.status();
    message->setStatus((message->status() & ~changed) | (now.status() & changed));
    message->setParentFolderId(now.parentFolderId());
    message->setPreviousParentFolderId(now.previousParentFolderId());
    message->setRestoreFolderId(now.restoreFolderId());
    message->setServerUid(now.serverUid());
    message->setParentThreadId(now.parentThreadId());
    message->setInResponseTo(now.inResponseTo());
    message->setResponseType(now.responseType());
}

/** The updates but for those of the same messages. */
MessageWriter::Updates without(const MessageWriter::Updates &updates,
                               const MessageWriter::Updates &others)
{
    QSet<QMailMessageId> ids;
    for (const auto &[item, message] : others)
        ids.insert(message.id());
    MessageWriter::Updates rest;
    for (const MessageWriter::Update &update : updates) {
        if (!ids.contains(update.second.id()))
            rest.append(update);
    }
    return rest;
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

MessageWriter::MessageWriter(SyncStateDb &db, const QMailAccountId &account)
    : m_account(account)
    , m_conversations(db, account)
{
}

Eas::Result MessageWriter::replace(QList<QMailMessageMetaData> &messages)
{
    QList<QMailMessageMetaData *> list;
    for (QMailMessageMetaData &message : messages)
        list.append(&message);
    if (!list.isEmpty() && !QMailStore::instance()->updateMessages(list))
        return storeFailure(QStringLiteral("cannot update messages"));
    return {};
}

Eas::Result MessageWriter::add(const FolderState &folder, const QList<Eas::MailItem> &items)
{
    std::vector<QMailMessage> messages;
    for (const Eas::MailItem &item : items) {
        QMailMessage message = MessageBuilder::build(item);
        message.setParentAccountId(m_account);
        message.setParentFolderId(folder.folderId);
        ServerUid::item(folder.serverId, item.serverId).assignTo(&message);
        message.setStatus(messageFlags(folder), true);
        messages.push_back(message);
    }
    Eas::Result result = checkRoom(textSize(items));
    if (messages.empty() || !result.ok())
        return result;
    result = m_conversations.add(pointers(messages));
    if (!result.ok())
        return result;
    QMailMessageIdList ids;
    for (const QMailMessage &message : messages)
        ids.append(message.id());
    // If the account was removed meanwhile, nobody else would remove the messages.
    result = AccountGuard::check(m_account);
    for (int i = 0; result.ok() && i < items.size(); ++i) {
        // Where the user has removed it already, nothing is missing.
        if (isContentDamaged(messages.at(size_t(i)), textSize({items.at(i)})) && isHere(ids.at(i)))
            result = storeFailure(QStringLiteral("the content of a message was not written"));
        if (result.ok())
            result = noteContent(messages.at(size_t(i)));
    }
    if (!result.ok()) {
        QMailStore::instance()->removeMessages(QMailMessageKey::id(ids));
        return result;
    }
    m_added.append(ids);
    return {};
}

Eas::Result MessageWriter::update(const Updates &items)
{
    std::vector<QMailMessage> contents;
    QMap<QPair<quint64, bool>, QMailMessageIdList> flags;
    QMailMessageMetaDataList read;
    QList<QMailMessageMetaData> marked;
    QList<Eas::MailItem> changed;
    for (const auto &[item, before] : items) {
        changed.append(item);
        const bool isNews = MessageBuilder::isNews(item, before);
        if (MessageBuilder::isComplete(item)
            && (isNews ? !keepsContent(before, item) : isDamaged(before, item))) {
            contents.push_back(MessageBuilder::rebuilt(before, item));
            RenamedMark.clear(&contents.back());
            continue;
        }
        if (isNews) {
            contents.push_back(MessageBuilder::updated(QMailMessage(before.id()), item));
            continue;
        }
        QMailMessageMetaData after = before;
        MessageBuilder::updateFlags(&after, item);
        MessageBuilder::updateConversation(&after, item);
        FoundMark.clear(&after);
        // A daemon that died after it had written a draft has not noted it.
        markContent(&after);
        const quint64 different = after.status() ^ before.status();
        const bool isMarkNew = after.customFields() != before.customFields();
        if (different || isMarkNew)
            m_updated.append(before.id());
        if (different & QMailMessageMetaData::Read)
            read.append(before);
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
    Updates outdated;
    Eas::Result result = storeContents(contents, items, &outdated);
    if (result.ok())
        result = storeFlags(flags);
    // Also where some were not set: what was set is not a change the next time.
    m_conversations.recount(read);
    if (result.ok())
        result = storeMarks(marked);
    if (!result.ok())
        return result;
    followConversations(without(items, outdated));
    return outdated.isEmpty() ? result : update(outdated);
}

/**
 * With a content, the store writes all of a message. So each is looked at once more directly
 * before: what the user did since the items were looked up would be undone. Where that is another
 * content, nothing is written: what is to become of the message is `outdated`.
 */
Eas::Result MessageWriter::storeContents(std::vector<QMailMessage> &contents, const Updates &items,
                                         Updates *outdated)
{
    if (contents.empty())
        return {};
    QMap<QMailMessageId, Update> updates;
    for (const Update &update : items)
        updates.insert(update.second.id(), update);
    QMap<QMailMessageId, QMailMessage *> left;
    for (QMailMessage &message : contents)
        left.insert(message.id(), &message);
    QMailStore *store = QMailStore::instance();
    awaitWriters();
    const QMailMessageMetaDataList found = currentMessages(QMailMessageKey::id(left.keys()));
    if (store->lastError() != QMailStore::NoError)
        return storeFailure(QStringLiteral("cannot look at messages once more"));
    QList<QMailMessage *> written;
    for (const QMailMessageMetaData &now : found) {
        const auto &[item, before] = *updates.constFind(now.id());
        if (now.contentIdentifier() != before.contentIdentifier()) {
            outdated->append({item, now});
            continue;
        }
        QMailMessage *message = left.value(now.id());
        follow(message, before.status(), now);
        FoundMark.clear(message);
        written.append(message);
        m_updated.append(now.id());
    }
    if (!written.isEmpty() && !store->updateMessages(written))
        return storeFailure(QStringLiteral("cannot update messages"));
    Eas::Result noted;
    for (int i = 0; noted.ok() && i < written.size(); ++i)
        noted = noteContent(*written.at(i));
    return noted;
}

/** After the messages were written. */
void MessageWriter::followConversations(const Updates &items)
{
    QMailMessageMetaDataList same;
    QList<Conversations::Change> changed;
    for (const auto &[item, before] : items) {
        QMailMessageMetaData after = before;
        if (!MessageBuilder::updateConversation(&after, item))
            continue; // it is not told
        if (after.customFields() == before.customFields())
            same.append(after);
        else
            changed.append({before, after});
    }
    if (!same.isEmpty())
        m_conversations.note(same);
    if (!changed.isEmpty())
        m_conversations.move(changed);
}

/** Writes the marks alone: the user may be doing more with the messages right now. */
Eas::Result MessageWriter::storeMarks(const QList<QMailMessageMetaData> &marked)
{
    for (const QMailMessageMetaData &message : marked) {
        if (!QMailStore::instance()->updateMessagesMetaData(QMailMessageKey::id(message.id()),
                                                            QMailMessageKey::Custom, message))
            return storeFailure(QStringLiteral("cannot update messages"));
    }
    return {};
}

/** Writes the flags alone: the user may be doing more with the messages right now. */
Eas::Result MessageWriter::storeFlags(const QMap<QPair<quint64, bool>, QMailMessageIdList> &flags)
{
    for (auto it = flags.cbegin(); it != flags.cend(); ++it) {
        if (!QMailStore::instance()->updateMessagesMetaData(QMailMessageKey::id(it.value()),
                                                            it.key().first, it.key().second))
            return storeFailure(QStringLiteral("cannot update messages"));
    }
    return {};
}

Eas::Result MessageWriter::remove(const QMailMessageKey &messages)
{
    QMailStore *store = QMailStore::instance();
    const QMailMessageKey key = QMailMessageKey::parentAccountId(m_account) & messages;
    const int count = store->countMessages(key);
    if (count > 0 && !store->removeMessages(key))
        return storeFailure(QStringLiteral("cannot remove messages"));
    m_removed += count;
    return {};
}

} // namespace Store
