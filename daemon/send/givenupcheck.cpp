// SPDX-License-Identifier: LGPL-2.1-or-later
#include "daemon/send/givenupcheck.h"

#include "daemon/log/logging.h"
#include "daemon/send/sentlookup.h"

namespace Daemon {

GivenUpCheck::GivenUpCheck(const AccountContext &context, const QList<Store::Outgoing> &messages,
                           QObject *parent)
    : Job(context, parent)
    , m_outbox(*context.db, context.record)
    , m_messages(messages)
{
}

void GivenUpCheck::lookNext()
{
    if (m_messages.isEmpty()) {
        end({});
        return;
    }
    const Store::Outgoing message = m_messages.takeFirst();
    if (message.state == Store::Outgoing::Sent) {
        settle(message);
        return;
    }
    auto *lookup = new SentLookup(m_context, SentMark::of(message), this);
    run(lookup, [this, lookup, message](const Eas::Result &result) {
        onLooked(message, lookup->answer() == SentLookup::There, result);
    });
}

void GivenUpCheck::onLooked(const Store::Outgoing &message, bool isFound, const Eas::Result &result)
{
    if (!result.ok()) {
        // Not looked for again: if the server never answers, each synchronisation would be held up.
        if (result.code != Eas::NoConnection)
            emit notFound(message);
        end(result);
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
    bool isEdited = false;
    Eas::Result settled = m_outbox.compare(message, &isEdited);
    if (settled.ok() && isEdited) {
        emit notFound(message);
        lookNext();
        return;
    }
    if (settled.ok()) {
        qCInfo(lcDaemon) << "account" << m_context.id() << "message"
                         << message.messageId.toULongLong() << "was given up, but is sent";
        settled = m_outbox.settleGivenUp(message);
    }
    if (settled.ok())
        lookNext();
    else
        end(settled);
}

} // namespace Daemon
