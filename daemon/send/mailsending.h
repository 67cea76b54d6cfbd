// SPDX-License-Identifier: LGPL-2.1-or-later
#ifndef DAEMON_SEND_MAILSENDING_H
#define DAEMON_SEND_MAILSENDING_H

#include "daemon/send/outgoingfile.h"
#include "daemon/store/outbox.h"
#include "daemon/store/responseplan.h"
#include "daemon/tasks/accountcontext.h"
#include "daemon/tasks/job.h"
#include "daemon/tasks/retry.h"

#include <qmailmessage.h>

namespace Eas {
struct OutgoingMail;
class SendMailCommand;
}

namespace Daemon {

class SendingPreparation;
class SentLookup;

/**
 * Sends one message, once.
 *
 * That the server may have the message is durable before the first byte of it leaves. Where it is
 * not known whether the server has it (after a crash, a cut connection), the folder of sent
 * messages is asked before it is sent again. Once a byte has left, it goes on though nobody waits
 * any more, and then brings the message itself into the state that its end demands.
 *
 * Where nobody can tell, it is not sent again by itself: the next time that a person has it sent
 * decides.
 */
class MailSending : public Job
{
    Q_OBJECT

public:
    MailSending(const AccountContext &context, const QMailMessageId &id, QObject *parent);
    ~MailSending() override;

    QMailMessageId messageId() const { return m_id; }

    bool isUrgent() const override { return true; }
    QList<Request> requests() const override { return m_requests; }
    bool join(const Request &request) override;
    bool drop(int requestId) override;
    void proceed() override;

private:
    void begin();
    void send();
    void prepare(const QMailMessage &message);
    void onPrepared(const QMailMessage &prepared, const SendingPreparation &preparation,
                    const Eas::Result &result);
    Eas::Result compose(QMailMessage *message, const QMailMessage &original);
    void leave();
    Eas::OutgoingMail mail();
    /** Whether it can still go without the server's help. */
    bool canFallBack(const Eas::Result &failure) const;
    bool noteLeaving();
    void sendPlain();
    void onSent(const Eas::Result &answer);
    void onFailed(const Eas::Result &failure);
    void lookUp();
    void onLooked(const SentLookup &lookup, const Eas::Result &result);
    void endInDoubt();
    void finish(const Eas::Result &result);
    void settle(const Eas::Result &result);

    const AccountContext m_context;
    const QMailMessageId m_id;
    Store::Outbox m_outbox;
    Store::Outgoing m_outgoing;
    QList<Request> m_requests;
    Store::ResponsePlan m_plan;
    bool m_takenBack = false; ///< by its author, before it left
    bool m_plain = false;     ///< the server cannot help with it
    /** Nobody could tell whether it was sent, and a person has it sent again. */
    bool m_byHand = false;
    std::unique_ptr<OutgoingFile> m_file;
    Eas::SendMailCommand *m_command = nullptr;
    Eas::Result m_failure; ///< why it has to be found out whether the server has it
    Retry m_retry;
    bool m_over = false;
};

} // namespace Daemon

#endif
