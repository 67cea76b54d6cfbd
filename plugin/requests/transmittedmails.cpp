// SPDX-License-Identifier: LGPL-2.1-or-later
#include "plugin/requests/transmittedmails.h"

#include <qmailstore.h>

namespace {

using Message = QMailMessageMetaData;

/** As the database has them now: this process hears later of what others write. */
QMailMessageMetaDataList currentMessages(const QMailMessageIdList &ids)
{
    return QMailStore::instance()->messagesMetaData(QMailMessageKey::id(ids),
                                                    QMailMessageKey::Id | QMailMessageKey::Status
                                                        | QMailMessageKey::ContentIdentifier);
}

/** An invalid one where there is none. */
Message currentMessage(const QMailMessageId &id)
{
    const QMailMessageMetaDataList found = currentMessages({id});
    return found.isEmpty() ? Message() : found.first();
}

/** Those of the messages that are marked as sent now. */
QMailMessageIdList sentOf(const QMailMessageIdList &ids)
{
    if (ids.isEmpty())
        return {};
    return QMailStore::instance()->queryMessages(QMailMessageKey::id(ids)
                                                 & QMailMessageKey::status(Message::Sent));
}

void setMarks(const QMailMessageId &id, quint64 marks, bool on)
{
    if (marks != 0)
        QMailStore::instance()->updateMessagesMetaData(QMailMessageKey::id(id), marks, on);
}

/** Gives the message back what the message server has marked otherwise. */
void restoreMarks(const Message &before)
{
    const quint64 marks = Message::Sent | Message::Outbox | Message::Draft | Message::LocalOnly;
    const quint64 now = currentMessage(before.id()).status();
    if (!(now & Message::Sent))
        return;
    const quint64 changed = (now ^ before.status()) & marks;
    // Neither in the outbox nor sent is what an interrupted sending leaves.
    setMarks(before.id(), changed & before.status(), true);
    setMarks(before.id(), changed & now, false);
}

void makeDraft(const Message &message)
{
    if (!(message.status() & Message::Outbox))
        setMarks(message.id(), Message::Draft, true);
    setMarks(message.id(), Message::Sent, false);
}

} // namespace

TransmittedMails::Guard::Guard(OrvService &service)
    : m_service(&service)
    , m_before(instance().takeStock())
{
}

TransmittedMails::Guard::~Guard()
{
    QMailMessageIdList unsent;
    for (const Message &before : qAsConst(m_before)) {
        if (!(before.status() & Message::Sent))
            unsent.append(before.id());
    }
    if (m_service)
        instance().m_flaggings.begin(m_service, sentOf(unsent));
    for (const Message &before : qAsConst(m_before)) {
        if (instance().isRewritten(before.id(), before))
            restoreMarks(before);
    }
}

TransmittedMails &TransmittedMails::instance()
{
    static TransmittedMails mails;
    return mails;
}

QString TransmittedMails::contentOf(const QMailMessageId &id)
{
    return currentMessage(id).contentIdentifier();
}

void TransmittedMails::note(const QMailMessageId &id, const QString &content)
{
    m_contents.insert(id, content);
}

void TransmittedMails::forget(const QMailMessageIdList &ids)
{
    for (const QMailMessageId &id : ids)
        m_contents.remove(id);
}

bool TransmittedMails::isRewritten(const QMailMessageId &id, const Message &now) const
{
    const auto told = m_contents.find(id);
    return told != m_contents.end() && *told != now.contentIdentifier();
}

/** Forgets the mails that are gone; gives the others as they are. */
QMailMessageMetaDataList TransmittedMails::takeStock()
{
    if (isEmpty())
        return {};
    QHash<QMailMessageId, QString> here;
    const QMailMessageMetaDataList messages = currentMessages(m_contents.keys());
    for (const Message &message : messages)
        here.insert(message.id(), m_contents.value(message.id()));
    // What cannot be read is not gone.
    if (QMailStore::instance()->lastError() == QMailStore::NoError)
        m_contents = here;
    return messages;
}

QMailMessageIdList TransmittedMails::keepRewritten(const QMailMessageIdList &ids) const
{
    QMailMessageIdList others;
    for (const QMailMessageId &id : ids) {
        const Message message = currentMessage(id);
        if (!isRewritten(id, message))
            others.append(id);
        else if (message.status() & Message::Sent)
            makeDraft(message);
    }
    return others;
}
