// SPDX-License-Identifier: LGPL-2.1-or-later
#include "daemon/send/sendingpreparation.h"

#include "daemon/download/attachmentdownload.h"
#include "daemon/download/messagedownload.h"
#include "daemon/log/logging.h"
#include "daemon/send/headfetch.h"
#include "daemon/store/outgoing/outgoingmail.h"
#include "daemon/store/outgoing/replyheaders.h"

namespace Daemon {

namespace {

/** Whether the preparation goes on: the failure is about one message, not about the account. */
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

void SendingPreparation::perform()
{
    QMailMessage message = m_message;
    Store::OutgoingMail::leaveToServer(&message, m_plan);
    const Eas::Result known = Store::References::missing(message, &m_missing);
    if (known.ok())
        fetchNext();
    else
        end(known);
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
    Task *download = origin.location.isEmpty()
        ? static_cast<Task *>(new MessageDownload(m_context, origin.message, this))
        : new AttachmentDownload(m_context, origin.message, origin.location, this);
    run(download, [this, origin](const Eas::Result &result) { onFetched(origin, result); });
}

void SendingPreparation::onFetched(const Store::ContentOrigin &origin, const Eas::Result &result)
{
    if (!result.ok()) {
        Eas::Result failure = result;
        failure.text =
            QStringLiteral("what the message passes on cannot be fetched: %1").arg(result.text);
        end(failure);
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
        end({});
        return;
    }
    const QMailMessage original(m_plan.originalId);
    const Store::ServerUid uid(original);
    const bool isKnown = !original.headerFieldText(QStringLiteral("Message-ID")).isEmpty();
    if (isKnown || !uid.isKnownThere()) {
        m_original = original;
        end({});
    } else {
        askForOriginal(uid);
    }
}

void SendingPreparation::askForOriginal(const Store::ServerUid &uid)
{
    auto *fetch = new HeadFetch(m_context, uid.locator(), this);
    run(fetch, [this, fetch](const Eas::Result &result) {
        if (result.ok())
            m_original = fetch->message();
        end(isBearable(result) ? Eas::Result {} : result);
    });
}

} // namespace Daemon
