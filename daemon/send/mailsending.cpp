// SPDX-License-Identifier: LGPL-2.1-or-later
#include "daemon/send/mailsending.h"

#include "daemon/log/logging.h"
#include "daemon/pacing/alarm.h"
#include "daemon/pacing/pauses.h"
#include "daemon/send/sendingpreparation.h"
#include "daemon/send/sentlookup.h"
#include "daemon/store/currentmessages.h"
#include "daemon/store/incoming/contentcheck.h"
#include "daemon/store/outgoing/outgoingmail.h"
#include "daemon/store/outgoing/outgoingprint.h"
#include "daemon/store/outgoing/replyheaders.h"
#include "daemon/store/outgoing/storedparts.h"
#include "eas/sendmailcommand.h"
#include "translations/text.h"

#include <QDateTime>
#include <QTimer>

namespace Daemon {

namespace {

/** What the server's answer means for the author of the message. */
Eas::Result resultForAuthor(Eas::Result result)
{
    if (result.outcome == Eas::Outcome::NotSubmitted) {
        result.code = Eas::NotFound;
        result.text =
            FailureText::english("%1, most often because of a recipient").arg(result.text);
    }
    return result;
}

/** The server has refused the reply or forward as such; as a plain message it may go. */
bool isAboutResponse(Eas::Outcome outcome)
{
    // ReplaceMime may be what an answer does not understand, or cannot do.
    return outcome == Eas::Outcome::ItemGone || outcome == Eas::Outcome::ResponseRefused
        || outcome == Eas::Outcome::NotUnderstood || outcome == Eas::Outcome::NotImplemented;
}

/** The server has said that it does not send the message. */
bool isRefusal(const Eas::Result &result)
{
    switch (result.code) {
    case Eas::NoConnection:
    case Eas::Timeout:
    case Eas::InvalidAnswer:
    case Eas::Cancelled:
        return result.isStatus();
    case Eas::ServerFailed:
        return result.outcome == Eas::Outcome::Refused
            || result.outcome == Eas::Outcome::NotUnderstood
            || (result.isStatus() && result.outcome != Eas::Outcome::Uncertain);
    default:
        return true;
    }
}

bool isEdited(const QMailMessageMetaData &message, const QMailMessageMetaData &before)
{
    // Whatever is written into the store has a new identifier there.
    return message.contentIdentifier() != before.contentIdentifier()
        || message.subject() != before.subject() || message.recipients() != before.recipients()
        || message.inResponseTo() != before.inResponseTo()
        || message.responseType() != before.responseType();
}

} // namespace

MailSending::MailSending(const AccountContext &context, const QMailMessageId &id, QObject *parent)
    : Job(context, parent)
    , m_id(id)
    , m_outbox(*context.db, context.record)
    , m_statusAsked(Store::currentMessage(id).status())
{
}

MailSending::~MailSending()
{
    // The command reads from the file.
    delete m_command;
}

bool MailSending::isTakenBack() const
{
    return m_takenBack || Store::Outbox::isTakenBack(Store::currentMessage(m_id), m_statusAsked);
}

Eas::Result MailSending::takenBack()
{
    return {Eas::NotFound, FailureText::english("the message has been removed or taken back")};
}

bool MailSending::mayJoin(const Request &request) const
{
    if (request.kind != RequestKind::SendMail || request.messageId != m_id.toULongLong())
        return false;
    // What was edited since it left is another message.
    return !m_isOut || !m_outbox.mayBeEdited(m_outgoing);
}

bool MailSending::drop(int requestId)
{
    return Job::drop(requestId) && !m_isOut;
}

void MailSending::perform()
{
    const Eas::Result opened = m_outbox.open(m_id, &m_outgoing);
    if (!opened.ok())
        finish(opened);
    else if (m_outgoing.state == Store::Outgoing::Sent)
        finish({});
    else if (m_outbox.isHeld(m_outgoing))
        endInDoubt();
    else if (m_outgoing.state == Store::Outgoing::Ready)
        send();
    else
        lookUp();
}

void MailSending::send()
{
    m_isOut = false;
    m_outbox.noteReason(m_id, QString()); // clears that of the last attempt
    const QMailMessageMetaData stored = Store::currentMessage(m_id);
    const QMailMessage message(m_id);
    if (endIfNotToGo(stored) || endIfLost(stored, message))
        return;
    const Eas::Result known = Store::OutgoingMail::checkRecipients(message);
    if (known.ok())
        prepare(message);
    else
        finish(known);
}

/** What it is now goes only where it is not taken back, and somebody waits for it. */
bool MailSending::endIfNotToGo(const QMailMessageMetaData &message)
{
    m_takenBack = Store::Outbox::isTakenBack(message, m_statusAsked);
    const bool hasBeenComposed = m_composed.id().isValid();
    const bool isUnwanted = hasBeenComposed && m_waiters.isEmpty() && isEdited(message, m_composed);
    if (m_takenBack)
        finish(takenBack());
    else if (isUnwanted)
        endEdited();
    return m_takenBack || isUnwanted;
}

/** What a full disk or a power cut has left of a message does not go: its author wrote more. */
bool MailSending::endIfLost(const QMailMessageMetaData &stored, const QMailMessage &message)
{
    const bool hasParts = message.multipartType() != QMailMessage::MultipartNone;
    if (!Store::isContentLost(stored, hasParts))
        return false;
    m_composed = stored;
    endUnlessOutdated(
        {Eas::NotFound, FailureText::english("content of the message is lost on this device")});
    return true;
}

void MailSending::prepare(const QMailMessage &message)
{
    m_plan = Store::ResponsePlan::of(message);
    if (m_plain)
        m_plan = m_plan.plain();
    auto *preparation = new SendingPreparation(m_context, message, m_plan, this);
    run(preparation, [this, message, preparation](const Eas::Result &result) {
        onPrepared(message, *preparation, result);
    });
}

/** The preparation can have taken long: the message goes as it is now, or not at all. */
void MailSending::onPrepared(const QMailMessage &prepared, const SendingPreparation &preparation,
                             const Eas::Result &result)
{
    const QMailMessageMetaData stored = Store::currentMessage(m_id);
    QMailMessage message(m_id);
    if (endIfNotToGo(stored))
        return;
    if (isEdited(stored, prepared)) {
        perform();
        return;
    }
    if (endIfLost(stored, message))
        return;
    const Eas::Result composed = result.ok() ? compose(&message, preparation.original()) : result;
    if (composed.ok())
        leave();
    else
        finish(composed);
}

Eas::Result MailSending::compose(QMailMessage *message, const QMailMessage &original)
{
    m_composed = *message;
    const QMailMessage asStored = *message;
    // Held from before the print is made: what leaves is what it was made of.
    const Store::StoredParts stored(message);
    m_outgoing.print = Store::OutgoingPrint::of(asStored);
    m_outgoing.rfcId = Store::OutgoingMail::rfcId(*message, m_outgoing);
    const Eas::Result completed = Store::OutgoingMail::completeParts(message, m_plan);
    if (!completed.ok())
        return completed;
    Store::ReplyHeaders::complete(message, original);
    m_file = std::make_unique<OutgoingFile>();
    m_file->mayLeave = [this] { return noteLeaving(); };
    m_file->mayEnd = [this] { return noteTime(); };
    QList<Store::Insertion> insertions;
    const Eas::Result written =
        Store::OutgoingMail::write(*message, m_outgoing, stored, m_file->device(), &insertions);
    if (!written.ok())
        return written;
    if (!m_file->close(insertions))
        return Eas::failure(Eas::NoRoom, Eas::Cause::Here,
                            FailureText::english("the message cannot be prepared: disk full"));
    return {};
}

void MailSending::leave()
{
    m_isStale = false;
    m_command = new Eas::SendMailCommand(m_context.session, mail());
    run(m_command, [this] { onSent(resultForAuthor(m_command->result())); });
}

Eas::OutgoingMail MailSending::mail()
{
    Eas::OutgoingMail mail;
    mail.clientId = m_outgoing.clientId;
    mail.size = m_file->size();
    mail.open = [this] { return m_file->reader(); };
    mail.kind = m_plan.kind == Store::ResponsePlan::Reply ? Eas::OutgoingMail::Reply
        : m_plan.kind == Store::ResponsePlan::Forward     ? Eas::OutgoingMail::Forward
                                                          : Eas::OutgoingMail::Plain;
    mail.original = m_plan.original.locator();
    mail.replaceMime = !m_plan.serverAdds;
    return mail;
}

bool MailSending::canFallBack(const Eas::Result &failure) const
{
    if (m_plan.kind == Store::ResponsePlan::Plain || m_version == 0)
        return false;
    // Before 14.0 a server says no more than that it failed, and a message that needs nothing added
    // has gone as a plain one already.
    if (m_version < 140)
        return m_plan.serverAdds && failure.code == Eas::ServerFailed;
    return isAboutResponse(failure.outcome);
}

/** Whether it is not what was composed any more, or is not to go. */
bool MailSending::isOutdated() const
{
    const QMailMessageMetaData message = Store::currentMessage(m_id);
    return Store::Outbox::isTakenBack(message, m_statusAsked) || isEdited(message, m_composed);
}

/** Looks at the message once more: to reach the server can have taken long, too. */
bool MailSending::noteLeaving()
{
    m_isStale = isOutdated();
    if (m_isStale)
        return false;
    m_outgoing.state = Store::Outgoing::Uncertain;
    m_isOut = noteTime();
    return m_isOut;
}

/** The server can have it in its folder only some time after the last byte has come there. */
bool MailSending::noteTime()
{
    m_outgoing.leftAt = QDateTime::currentMSecsSinceEpoch();
    const Eas::Result noted = m_outbox.save(m_outgoing, m_outgoing.state);
    if (!noted.ok())
        qCWarning(lcDaemon) << "account" << m_context.id() << noted.text;
    return noted.ok();
}

void MailSending::onSent(const Eas::Result &answer)
{
    const bool hasLeft = m_file->hasEnded();
    m_version = m_command->version();
    if (answer.ok()) {
        onAccepted(answer);
    } else if (hasLeft && !isRefusal(answer)) {
        noteTime(); // what was read may have been on its way until now
        onFailed(answer);
    } else {
        m_isOut = false;
        m_outgoing.state = Store::Outgoing::Ready;
        m_outbox.save(m_outgoing, m_outgoing.state);
        if (m_isStale)
            perform();
        else if (m_file->hasChanged())
            onAttachmentChanged();
        else if (canFallBack(answer))
            sendPlain();
        else
            onFailed(answer);
    }
}

/** Not all of it has left, so that the server has no message. */
void MailSending::onAttachmentChanged()
{
    qCInfo(lcDaemon) << "account" << m_context.id() << "an attachment of message"
                     << m_id.toULongLong() << "has changed while it was leaving";
    endUnlessOutdated({Eas::NotFound,
                       FailureText::english(
                           "an attachment was changed or removed while the message was leaving")});
}

/** Its files are not what they were. Who edits or removes it here changes these first. */
void MailSending::endUnlessOutdated(const Eas::Result &failure)
{
    Alarm::once(Pauses::BeforeLook, this, [this, failure] {
        if (isOutdated())
            perform();
        else
            finish(failure);
    });
}

/**
 * The server has what left. A request that ends well has the message server remove the message: not
 * before what its author has written meanwhile has gone, too.
 */
void MailSending::onAccepted(const Eas::Result &answer)
{
    if (m_waiters.isEmpty() || !isEditedSinceItLeft()) {
        finish(answer);
        return;
    }
    m_outbox.save(m_outgoing, Store::Outgoing::Sent);
    sendEdited();
}

bool MailSending::isEditedSinceItLeft() const
{
    // The look at the content takes long for a large one: only where something was written.
    return isEdited(Store::currentMessage(m_id), m_composed) && m_outbox.mayBeEdited(m_outgoing);
}

void MailSending::sendPlain()
{
    qCInfo(lcDaemon) << "account" << m_context.id() << "the server cannot help with the message"
                     << m_id.toULongLong() << "which goes as a plain one";
    m_plain = true;
    m_failure = {};
    send();
}

void MailSending::onFailed(const Eas::Result &failure)
{
    const std::optional<int> delay = m_retry.nextDelay(failure);
    const bool isUncertain = m_file->hasEnded() && !isRefusal(failure);
    if (delay) {
        Alarm::once(*delay, this, [this] { perform(); });
    } else if (isUncertain && failure.code != Eas::Timeout) {
        m_failure = failure;
        Alarm::once(Pauses::BeforeSentCopy, this, [this] { lookUp(); });
    } else {
        finish(failure);
    }
}

void MailSending::lookUp()
{
    m_byHand = m_outgoing.state == Store::Outgoing::Doubtful;
    m_outbox.keepUpWithClock(&m_outgoing);
    auto *lookup = new SentLookup(m_context, SentMark::of(m_outgoing), this);
    run(lookup, [this, lookup](const Eas::Result &result) { onLooked(*lookup, result); });
}

void MailSending::onLooked(const SentLookup &lookup, const Eas::Result &result)
{
    const auto answer = lookup.answer();
    const bool goesAgain = m_failure.ok() || canFallBack(m_failure);
    if (!result.ok())
        finish(m_failure.ok() ? result : m_failure);
    else if (m_outbox.mayBeEdited(m_outgoing))
        sendEdited();
    else if (answer == SentLookup::There)
        finish({});
    else if (answer == SentLookup::Unclear && !m_byHand)
        endInDoubt();
    else if (!goesAgain)
        finish(m_failure);
    else if (SentLookup::timeToSettle(m_outgoing) > 0)
        QTimer::singleShot(SentLookup::timeToSettle(m_outgoing), this, &MailSending::lookUp);
    else if (!m_failure.ok())
        sendPlain();
    else
        send();
}

/** An earlier version was looked for: sends the present one, if somebody waits for it. */
void MailSending::sendEdited()
{
    m_failure = {};
    if (m_waiters.isEmpty())
        endEdited();
    else
        perform();
}

/** Its author has not asked for what it is now. */
void MailSending::endEdited()
{
    finish({Eas::Cancelled, FailureText::english("the message has been edited")});
}

/** Ends as doubtful: it may have been sent, and only a person has it sent again. */
void MailSending::endInDoubt()
{
    Eas::Result doubt = m_failure;
    doubt.code = m_failure.ok() ? int(Eas::Timeout) : m_failure.code;
    doubt.text = Store::Outbox::doubt();
    if (!m_failure.ok())
        doubt.text = FailureText::english("%1 (%2)").arg(doubt.text, m_failure.text);
    m_outgoing.state = Store::Outgoing::Doubtful;
    finish(doubt);
}

void MailSending::finish(const Eas::Result &result)
{
    qCInfo(lcDaemon).noquote()
        << "account" << m_context.id().toULongLong() << "message" << m_id.toULongLong()
        << (result.ok() ? QStringLiteral("is sent")
                        : QStringLiteral("is not sent: %1 %2").arg(result.code).arg(result.text));
    settle(result);
    end(result);
}

/** Saves the end, and where no request reports it, brings the message into that state. */
void MailSending::settle(const Eas::Result &result)
{
    const QString reason = QStringLiteral("%1 %2").arg(result.code).arg(result.text);
    Eas::Result settled;
    if (result.ok())
        settled = m_outbox.save(m_outgoing, Store::Outgoing::Sent);
    else if (m_outgoing.state == Store::Outgoing::Doubtful)
        settled = m_outbox.hold(m_outgoing, reason);
    else
        m_outbox.noteReason(m_id, reason);
    const bool isOurs = settled.ok() && m_waiters.isEmpty();
    if (isOurs && !result.ok() && !isTakenBack())
        settled = m_outbox.putBack(m_id, reason);
    else if (isOurs && result.ok() && !m_outbox.mayBeEdited(m_outgoing))
        settled = m_outbox.takeOut(m_id);
    if (!settled.ok())
        qCWarning(lcDaemon) << "account" << m_context.id() << settled.text;
}

} // namespace Daemon
