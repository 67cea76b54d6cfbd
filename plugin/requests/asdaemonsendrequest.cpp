// SPDX-License-Identifier: LGPL-2.1-or-later
#include "plugin/requests/asdaemonsendrequest.h"

#include "asclient/asdbusinterface.h"
#include "asclient/resultcode.h"
#include "plugin/requests/transmittedmails.h"
#include "plugin/service/orvservice.h"
#include "plugin/service/statuscode.h"

#include <QDBusPendingReply>
#include <qmaillog.h>
#include <qmailstore.h>
#include <QPointer>

AsDaemonSendRequest::AsDaemonSendRequest(OrvService &service, const QMailAccountId &accountId,
                                         DaemonCall call, const QMailMessageId &messageId,
                                         QObject *parent)
    : AsDaemonRequest(service, accountId, call, parent)
    , m_messageId(messageId)
{
}

int AsDaemonSendRequest::execute()
{
    // What is written after this may leave, or be written after all has left.
    m_content = TransmittedMails::contentOf(m_messageId);
    const QDBusReply<int> reply = m_call();
    // Deliberate: a failed send stays with the scheduler until its poll finds it dead, and the
    // message stays in the outbox for the next automatic transmission.
    if (!reply.isValid()) {
        qMailLog(Messaging) << "Request has returned an error" << reply.error().name();
        awaitAnswer(m_service.daemon()->answers().lateAnswer());
        return -1;
    }
    if (reply.value() == -1)
        return -1;
    onAccepted(reply.value());
    return m_requestId;
}

/** Waits for a late answer: a daemon that was held up still gets the call, and sends the
 * message. */
void AsDaemonSendRequest::awaitAnswer(QDBusPendingCallWatcher *late)
{
    if (!late)
        return;
    m_answerDue = true;
    connect(late, &QDBusPendingCallWatcher::finished, this,
            [this](QDBusPendingCallWatcher *answer) {
                onAnsweredLate(QDBusPendingReply<int>(*answer));
            });
}

void AsDaemonSendRequest::onAnsweredLate(const QDBusReply<int> &reply)
{
    m_answerDue = false;
    if (reply.isValid() && reply.value() != -1)
        onAccepted(reply.value());
}

void AsDaemonSendRequest::onAccepted(int requestId)
{
    m_requestId = requestId;
    setOutbox(false);
    qMailLog(Messaging) << "Message" << m_messageId << " is sent and Outbox flag is cleared";
}

void AsDaemonSendRequest::onRequestCompleted(int code, qulonglong accountId, int request)
{
    if (request != m_requestId)
        return;
    qMailLog(Messaging) << "requestCompleted received for Account " << QString::number(accountId)
                        << ".Request " << request;
    // A receiver of the outcome may destroy this request.
    const QPointer<AsDaemonSendRequest> self(this);
    report(code);
    if (!self)
        return;
    if (m_cancelled) {
        qMailLog(Messaging) << "Request has been canceled, return";
        deleteLater();
    } else {
        finish(code);
    }
}

void AsDaemonSendRequest::report(int code)
{
    if (code == Activesync::Success)
        reportSuccess();
    else
        reportFailure(code);
}

void AsDaemonSendRequest::onCancelled(QMailServiceAction::Status::ErrorCode code)
{
    qMailLog(Messaging) << "Operation SEND request to cancel is received with code" << int(code);
    m_cancelled = true;
}

void AsDaemonSendRequest::setOutbox(bool waiting)
{
    const QMailMessageIdList ids {m_messageId};
    QMailStore::instance()->updateMessagesMetaData(
        QMailMessageKey::id(ids, QMailDataComparator::Includes), QMailMessageMetaData::Outbox,
        waiting);
}

void AsDaemonSendRequest::reportSuccess()
{
    qMailLog(Messaging) << "Emitting 'messagesTransmitted' signal for id " << m_messageId;
    if (m_cancelled)
        return;
    TransmittedMails::instance().note(m_messageId, m_content);
    emit messagesTransmitted(QMailMessageIdList {m_messageId});
}

void AsDaemonSendRequest::reportFailure(int code)
{
    qMailLog(Messaging) << "Message is not transmitted, error " << code;
    setOutbox(true);
    qMailLog(Messaging) << "Message" << m_messageId << " is NOT sent and Outbox flag is restored";
    if (!m_cancelled)
        emit messagesFailedTransmission(QMailMessageIdList {m_messageId}, statusErrorCode(code));
}

/** Reports the end, good or bad, to the message server and to the scheduler. */
void AsDaemonSendRequest::finish(int code)
{
    const QMailServiceAction::Status::ErrorCode mapped = statusErrorCode(code);
    qMailLog(Messaging) << " Update status: " << int(mapped);
    const QPointer<AsDaemonSendRequest> self(this);
    m_service.updateStatus(mapped, QString(), m_accountId, QMailFolderId(), m_messageId, 0);
    if (self)
        end(code, false);
}
