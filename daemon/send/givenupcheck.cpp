// SPDX-License-Identifier: LGPL-2.1-or-later
#include "daemon/send/givenupcheck.h"

#include "daemon/bus/logging.h"
#include "daemon/send/sentlookup.h"

namespace Daemon {

GivenUpCheck::GivenUpCheck(const AccountContext &context, const QList<Store::Outgoing> &messages,
                           QObject *parent)
    : Task(context, parent)
    , m_outbox(*context.db, context.record)
    , m_messages(messages)
{
}

void GivenUpCheck::proceed()
{
    lookNext();
}

void GivenUpCheck::lookNext()
{
    if (m_messages.isEmpty()) {
        finishLater({});
        return;
    }
    const Store::Outgoing message = m_messages.takeFirst();
    if (message.state == Store::Outgoing::Sent) {
        settle(message);
        return;
    }
    auto *lookup = new SentLookup(m_context, SentMark::of(message), this);
    connect(lookup, &Task::finished, this, [=](const Eas::Result &result) {
        lookup->deleteLater();
        onLooked(message, lookup->answer() == SentLookup::There, result);
    });
    lookup->proceed();
}

void GivenUpCheck::onLooked(const Store::Outgoing &message, bool isFound, const Eas::Result &result)
{
    if (!result.ok()) {
        // A server that never answers it would hold up each synchronisation.
        if (result.code != Eas::NoConnection)
            emit notFound(message);
        finishLater(result);
    } else if (isFound) {
        settle(message);
    } else {
        if (SentLookup::timeToSettle(message) == 0)
            emit notFound(message);
        lookNext();
    }
}

void GivenUpCheck::settle(const Store::Outgoing &message)
{
    qCInfo(lcDaemon) << "account" << m_context.id() << "message" << message.messageId.toULongLong()
                     << "was given up, but is sent";
    const Eas::Result settled = m_outbox.settleGivenUp(message);
    if (settled.ok())
        lookNext();
    else
        finishLater(settled, true);
}

} // namespace Daemon
