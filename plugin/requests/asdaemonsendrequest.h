// SPDX-License-Identifier: LGPL-2.1-or-later
#ifndef PLUGIN_REQUESTS_ASDAEMONSENDREQUEST_H
#define PLUGIN_REQUESTS_ASDAEMONSENDREQUEST_H

#include "plugin/requests/asdaemonrequest.h"

class QDBusPendingCallWatcher;

/**
 * The daemon request that sends one message.
 *
 * Clears the message's Outbox flag when the daemon has accepted it, be it late, and sets it again
 * when sending failed. Cancelling does not stop it: the message goes out, and only its outcome is
 * not reported.
 */
class AsDaemonSendRequest : public AsDaemonRequest
{
    Q_OBJECT

public:
    AsDaemonSendRequest(OrvService &service, const QMailAccountId &accountId, DaemonCall call,
                        const QMailMessageId &messageId, QObject *parent);

    /** As in the base class, but a failure is reported by the returned -1 alone. */
    int execute() override;
    bool isTaken() const override { return m_answerDue || AsDaemonRequest::isTaken(); }

signals:
    /** The message is sent; the list holds it alone. */
    void messagesTransmitted(const QMailMessageIdList &ids);
    /** The message is back in the outbox; the list holds it alone. */
    void messagesFailedTransmission(const QMailMessageIdList &ids,
                                    QMailServiceAction::Status::ErrorCode);

public slots:
    void onRequestCompleted(int code, qulonglong accountId, int request) override;
    /** Only notes it; the daemon is not asked to abort and the scheduler hears nothing. */
    void onCancelled(QMailServiceAction::Status::ErrorCode code) override;

private:
    void awaitAnswer(QDBusPendingCallWatcher *late);
    void onAnsweredLate(const QDBusReply<int> &reply);
    void onAccepted(int requestId);
    void setOutbox(bool waiting);
    void report(int code);
    void reportSuccess();
    void reportFailure(int code);
    void finish(int code);

    QMailMessageId m_messageId;
    /** What the message was before the daemon was asked. */
    QString m_content;
    bool m_cancelled = false;
    /** The daemon gave no answer in time, and may still give it. */
    bool m_answerDue = false;
};

#endif
