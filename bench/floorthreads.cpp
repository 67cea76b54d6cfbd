// SPDX-License-Identifier: LGPL-2.1-or-later
#include "bench/floorthreads.h"

#include "daemon/store/incoming/messagebuilder.h"

using Store::MessageBuilder::conversationId;

bool FloorThreads::join(QMailMessage *message) const
{
    const auto thread = m_threads.constFind(conversationId(*message));
    if (thread == m_threads.constEnd())
        return false;
    message->setParentThreadId(thread->id);
    const QDateTime date = message->date().toUTC();
    if (date < thread->firstDate)
        return true;
    message->setInResponseTo(date < thread->lastDate ? thread->first : thread->last);
    message->setResponseType(QMailMessage::UnspecifiedResponse);
    return true;
}

void FloorThreads::note(const QMailMessage &message)
{
    const QByteArray conversation = conversationId(message);
    if (conversation.isEmpty())
        return;
    Thread &thread = m_threads[conversation];
    const QDateTime date = message.date().toUTC();
    if (!thread.id.isValid())
        thread = {message.parentThreadId(), message.id(), message.id(), date, date};
    if (date < thread.firstDate) {
        thread.first = message.id();
        thread.firstDate = date;
    }
    if (date >= thread.lastDate) {
        thread.last = message.id();
        thread.lastDate = date;
    }
}
