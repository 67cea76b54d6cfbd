// SPDX-License-Identifier: LGPL-2.1-or-later
#ifndef DAEMON_SEND_MAILSENDING_H
#define DAEMON_SEND_MAILSENDING_H

#include "daemon/send/outgoingfile.h"
#include "daemon/store/outgoing/outbox.h"
#include "daemon/store/outgoing/responseplan.h"
#include "daemon/tasks/job.h"

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
    /** The message's status when somebody asked for its sending. */
    quint64 statusAsked() const { return m_statusAsked; }
    /** Whether its author has taken it back since it was to be sent. */
    bool isTakenBack() const;
    /** How it ends then. */
    static Eas::Result takenBack();

    bool drop(int requestId) override;

private:
    void perform() override;
    bool mayJoin(const Request &request) const override;
    void send();
    bool endIfNotToGo(const QMailMessageMetaData &message);
    bool endIfLost(const QMailMessageMetaData &stored, const QMailMessage &message);
    void prepare(const QMailMessage &message);
    void onPrepared(const QMailMessage &prepared, const SendingPreparation &preparation,
                    const Eas::Result &result);
    Eas::Result compose(QMailMessage *message, const QMailMessage &original);
    void leave();
    Eas::OutgoingMail mail();
    /** Whether it can be sent as a plain message instead. */
    bool canFallBack(const Eas::Result &failure) const;
    bool isOutdated() const;
    bool noteLeaving();
    bool noteTime();
    void sendPlain();
    void onSent(const Eas::Result &answer);
    void onAttachmentChanged();
    void endUnlessOutdated(const Eas::Result &failure);
    void onAccepted(const Eas::Result &answer);
    bool isEditedSinceItLeft() const;
    void onFailed(const Eas::Result &failure);
    void lookUp();
    void onLooked(const SentLookup &lookup, const Eas::Result &result);
    void sendEdited();
    void endEdited();
    void endInDoubt();
    void finish(const Eas::Result &result);
    void settle(const Eas::Result &result);

    const QMailMessageId m_id;
    Store::Outbox m_outbox;
    const quint64 m_statusAsked;
    Store::Outgoing m_outgoing;
    QMailMessageMetaData m_composed; ///< the message of which the file was made
    bool m_isOut = false;            ///< it began to leave, and the server has not refused it
    bool m_isStale = false;          ///< it was changed or taken back before it left
    Store::ResponsePlan m_plan;
    bool m_takenBack = false; ///< by its author, before it left
    bool m_plain = false;     ///< it goes as a plain message, no reply or forward
    /** Nobody could tell whether it was sent, and a person has it sent again. */
    bool m_byHand = false;
    std::unique_ptr<OutgoingFile> m_file;
    QPointer<Eas::SendMailCommand> m_command;
    int m_version = 0;     ///< of the protocol, in the last command; 0 where that never left
    Eas::Result m_failure; ///< why it has to be found out whether the server has it
};

} // namespace Daemon

#endif
