// SPDX-License-Identifier: LGPL-2.1-or-later
#include "daemon/send/sendingpreparation.h"

#include "daemon/bus/logging.h"
#include "daemon/download/attachmentdownload.h"
#include "daemon/download/messagedownload.h"
#include "daemon/send/headfetch.h"
#include "daemon/store/outgoingmail.h"
#include "daemon/store/replyheaders.h"

namespace Daemon {

namespace {

/** It is about this one message; anything else would stop the sending, too. */
bool isBearable(const Eas::Result &result)
{
    return result.ok() || result.code == Eas::NotFound || result.code == Eas::InvalidAnswer
        || result.code == Eas::ServerFailed;
}

} // namespace

SendingPreparation::SendingPreparation(const AccountContext &context, const QMailMessage &message,
                                       const Store::ResponsePlan &plan, QObject *parent)
    : Task(context, parent)
    , m_message(message)
    , m_plan(plan)
{
}

void SendingPreparation::proceed()
{
    QMailMessage message = m_message;
    Store::OutgoingMail::leaveToServer(&message, m_plan);
    const Eas::Result known = Store::References::missing(message, &m_missing);
    if (known.ok())
        fetchNext();
    else
        finishLater(known);
}

void SendingPreparation::fetchNext()
{
    if (m_missing.isEmpty()) {
        findOriginal();
        return;
    }
    const Store::ContentOrigin origin = m_missing.takeFirst();
    qCInfo(lcDaemon) << "account" << m_context.id() << "message" << m_message.id().toULongLong()
                     << "passes on what is not here:" << origin.message.toULongLong()
                     << origin.location;
    Task *step = origin.location.isEmpty()
        ? static_cast<Task *>(new MessageDownload(m_context, origin.message, this))
        : new AttachmentDownload(m_context, origin.message, origin.location, this);
    connect(step, &Task::finished, this, [this, step, origin](const Eas::Result &result) {
        step->deleteLater();
        onFetched(origin, result);
    });
    step->proceed();
}

void SendingPreparation::onFetched(const Store::ContentOrigin &origin, const Eas::Result &result)
{
    if (!result.ok()) {
        Eas::Result failure = result;
        failure.text =
            QStringLiteral("what the message passes on cannot be fetched: %1").arg(result.text);
        emit finished(failure, false);
        return;
    }
    if (origin.location.isEmpty())
        queueParts(origin.message);
    fetchNext();
}

/** A server that does not give a message as a whole gives its attachments one by one. */
void SendingPreparation::queueParts(const QMailMessageId &id)
{
    const QMailMessage message(id);
    if (message.contentAvailable())
        return;
    message.foreachPart([&](const QMailMessagePart &part) {
        if (!part.contentAvailable())
            m_missing.append({id, part.location().toString(false)});
        return true;
    });
}

void SendingPreparation::findOriginal()
{
    const bool isReply = m_message.responseType() == QMailMessage::Reply
        || m_message.responseType() == QMailMessage::ReplyToAll;
    if (!isReply || !m_plan.originalId.isValid() || !Store::ReplyHeaders::isIncomplete(m_message)) {
        finishLater({});
        return;
    }
    const QMailMessage original(m_plan.originalId);
    const auto uid = Store::ServerUid::split(original.serverUid());
    const bool isKnown = !original.headerFieldText(QStringLiteral("Message-ID")).isEmpty();
    if (isKnown || !uid.isKnownThere()) {
        m_original = original;
        finishLater({});
    } else {
        askForOriginal(uid);
    }
}

void SendingPreparation::askForOriginal(const Store::ServerUid &uid)
{
    auto *fetch = new HeadFetch(m_context, uid.locator(), this);
    connect(fetch, &Task::finished, this, [this, fetch](const Eas::Result &result) {
        fetch->deleteLater();
        if (result.ok())
            m_original = fetch->message();
        emit finished(isBearable(result) ? Eas::Result {} : result, false);
    });
    fetch->proceed();
}

} // namespace Daemon
