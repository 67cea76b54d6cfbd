// SPDX-License-Identifier: LGPL-2.1-or-later
#include "daemon/send/mailsending.h"

#include "daemon/bus/logging.h"
#include "daemon/send/sendingpreparation.h"
#include "daemon/send/sentlookup.h"
#include "daemon/store/outgoingmail.h"
#include "daemon/store/replyheaders.h"
#include "eas/sendmailcommand.h"

#include <QDateTime>
#include <QTimer>

#include <algorithm>

namespace Daemon {

namespace {

/** A server may need a moment to put into its folder what it has taken. */
constexpr int LookupDelayMs = 1000;

/** [MS-ASCMD] 2.2.2: the message was not submitted. */
constexpr int SubmissionFailed = 120;
constexpr int ItemGone = 150;
constexpr int RepliesForbidden = 117;
constexpr int ReplyFailed = 121;
/** The server does not understand the request: of a reply's, ReplaceMime may be the reason. */
constexpr int FirstMisunderstood = 101;
constexpr int LastMisunderstood = 106;
constexpr int HttpBadRequest = 400;
constexpr int HttpNotImplemented = 501;
/** The server failed, before or after it has sent the message. */
constexpr int FirstServerError = 110;
constexpr int LastServerError = 111;

/** What the server's answer means for who has written the message. */
Eas::Result judged(Eas::Result result)
{
    if (result.status == SubmissionFailed) {
        result.code = Eas::NotFound;
        result.text += QStringLiteral(", most often because of a recipient");
    }
    return result;
}

/** RFC 7231 6.5: the request was not carried out. */
bool isClientError(int httpStatus)
{
    return httpStatus >= 400 && httpStatus < 500;
}

/** The server has refused what a reply or forward is more than another message. */
bool isAboutResponse(const Eas::Result &failure)
{
    return failure.status == ItemGone || failure.status == RepliesForbidden
        || failure.status == ReplyFailed
        || (failure.status >= FirstMisunderstood && failure.status <= LastMisunderstood)
        || failure.httpStatus == HttpBadRequest || failure.httpStatus == HttpNotImplemented;
}

/** The server has said that it does not send the message. */
bool isRefusal(const Eas::Result &result)
{
    switch (result.code) {
    case Eas::NoConnection:
    case Eas::Timeout:
    case Eas::InvalidAnswer:
    case Eas::Cancelled:
        return result.status > 0;
    case Eas::ServerFailed:
        return isClientError(result.httpStatus)
            || (result.status > 0
                && (result.status < FirstServerError || result.status > LastServerError));
    default:
        return true;
    }
}

/** Its author has removed it, or has made it a draft again. */
bool isTakenBack(const QMailMessage &message, const QMailMessage &before)
{
    const quint64 notToGo = QMailMessage::Trash | QMailMessage::Draft | QMailMessage::Removed;
    return !message.id().isValid() || (message.status() & notToGo & ~before.status()) != 0;
}

bool isEdited(const QMailMessage &message, const QMailMessage &before)
{
    // Whatever is written into the store has a new identifier there.
    return message.contentIdentifier() != before.contentIdentifier()
        || message.subject() != before.subject() || message.recipients() != before.recipients()
        || message.inResponseTo() != before.inResponseTo()
        || message.responseType() != before.responseType();
}

} // namespace

MailSending::MailSending(const AccountContext &context, const QMailMessageId &id, QObject *parent)
    : Job(parent)
    , m_context(context)
    , m_id(id)
    , m_outbox(*context.db, context.record)
{
}

MailSending::~MailSending()
{
    // It reads from the file.
    delete m_command;
}

bool MailSending::join(const Request &request)
{
    if (request.kind != RequestKind::SendMail || request.messageId != m_id.toULongLong() || m_over)
        return false;
    m_requests.append(request);
    return true;
}

bool MailSending::drop(int requestId)
{
    m_requests.erase(
        std::remove_if(m_requests.begin(), m_requests.end(),
                       [requestId](const Request &request) { return request.id == requestId; }),
        m_requests.end());
    return m_requests.isEmpty() && !(m_file && m_file->hasBegun());
}

void MailSending::proceed()
{
    QTimer::singleShot(0, this, &MailSending::begin);
}

void MailSending::begin()
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
    m_outbox.noteReason(m_id, QString()); // what it said of the last try
    const QMailMessage message(m_id);
    Eas::Result known;
    if (!message.id().isValid())
        known = {Eas::NotFound, QStringLiteral("the message has been removed")};
    else
        known = Store::OutgoingMail::checkRecipients(message);
    if (known.ok())
        prepare(message);
    else
        finish(known);
}

void MailSending::prepare(const QMailMessage &message)
{
    m_plan = Store::ResponsePlan::of(message);
    if (m_plain)
        m_plan = m_plan.plain();
    auto *preparation = new SendingPreparation(m_context, message, m_plan, this);
    connect(preparation, &Task::finished, this,
            [this, message, preparation](const Eas::Result &result) {
                preparation->deleteLater();
                onPrepared(message, *preparation, result);
            });
    preparation->proceed();
}

/** To fetch what it needs can have taken long: it goes as it is now, or not at all. */
void MailSending::onPrepared(const QMailMessage &prepared, const SendingPreparation &preparation,
                             const Eas::Result &result)
{
    QMailMessage message(m_id);
    m_takenBack = isTakenBack(message, prepared);
    if (m_takenBack) {
        finish({Eas::NotFound, QStringLiteral("the message has been removed or taken back")});
        return;
    }
    if (isEdited(message, prepared)) {
        send();
        return;
    }
    const Eas::Result composed = result.ok() ? compose(&message, preparation.original()) : result;
    if (composed.ok())
        leave();
    else
        finish(composed);
}

Eas::Result MailSending::compose(QMailMessage *message, const QMailMessage &original)
{
    const Eas::Result completed = Store::OutgoingMail::completeParts(message, m_plan);
    if (!completed.ok())
        return completed;
    Store::ReplyHeaders::complete(message, original);
    m_file = std::make_unique<OutgoingFile>();
    m_file->mayLeave = [this] { return noteLeaving(); };
    const Eas::Result written = Store::OutgoingMail::write(*message, m_outgoing, m_file->device());
    if (!written.ok())
        return written;
    if (!m_file->close())
        return Eas::failure(Eas::NoRoom, Eas::Cause::Here,
                            QStringLiteral("the message cannot be prepared: disk full"));
    return {};
}

void MailSending::leave()
{
    m_command = new Eas::SendMailCommand(m_context.session, mail());
    connect(m_command, &Eas::Command::finished, this, [this] {
        Eas::SendMailCommand *ended = m_command;
        m_command = nullptr;
        ended->deleteLater();
        onSent(judged(ended->result()));
    });
    m_command->start();
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
    if (m_plan.kind == Store::ResponsePlan::Plain)
        return false;
    // An older server says no more than that it failed; what says all went to it as plain.
    if (m_context.session->version() < 140)
        return m_plan.serverAdds && failure.code == Eas::ServerFailed;
    return isAboutResponse(failure);
}

bool MailSending::noteLeaving()
{
    m_outgoing.leftAt = QDateTime::currentMSecsSinceEpoch();
    m_outgoing.state = Store::Outgoing::Uncertain;
    const Eas::Result noted = m_outbox.save(m_outgoing, m_outgoing.state);
    if (!noted.ok())
        qCWarning(lcDaemon) << "account" << m_context.id() << noted.text;
    return noted.ok();
}

void MailSending::onSent(const Eas::Result &answer)
{
    const bool hasLeft = m_file->hasEnded();
    if (answer.ok()) {
        finish(answer);
    } else if (hasLeft && !isRefusal(answer)) {
        onFailed(answer);
    } else {
        m_outgoing.state = Store::Outgoing::Ready;
        m_outbox.save(m_outgoing, m_outgoing.state);
        if (canFallBack(answer))
            sendPlain();
        else
            onFailed(answer);
    }
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
        QTimer::singleShot(*delay, this, &MailSending::begin);
    } else if (isUncertain && failure.code != Eas::Timeout) {
        m_failure = failure;
        QTimer::singleShot(LookupDelayMs, this, &MailSending::lookUp);
    } else {
        finish(failure);
    }
}

void MailSending::lookUp()
{
    m_byHand = m_outgoing.state == Store::Outgoing::Doubtful;
    auto *lookup = new SentLookup(m_context, SentMark::of(m_outgoing), this);
    connect(lookup, &Task::finished, this, [this, lookup](const Eas::Result &result) {
        lookup->deleteLater();
        onLooked(*lookup, result);
    });
    lookup->proceed();
}

void MailSending::onLooked(const SentLookup &lookup, const Eas::Result &result)
{
    const auto answer = lookup.answer();
    const bool goesAgain = m_failure.ok() || canFallBack(m_failure);
    if (!result.ok())
        finish(m_failure.ok() ? result : m_failure);
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

/** Not known to be sent, and not to be sent again by itself. */
void MailSending::endInDoubt()
{
    Eas::Result doubt = m_failure;
    doubt.code = m_failure.ok() ? int(Eas::Timeout) : m_failure.code;
    doubt.text = Store::Outbox::doubt();
    if (!m_failure.ok())
        doubt.text += QStringLiteral(" (%1)").arg(m_failure.text);
    m_outgoing.state = Store::Outgoing::Doubtful;
    finish(doubt);
}

void MailSending::finish(const Eas::Result &result)
{
    m_over = true;
    qCInfo(lcDaemon).noquote()
        << "account" << m_context.id().toULongLong() << "message" << m_id.toULongLong()
        << (result.ok() ? QStringLiteral("is sent")
                        : QStringLiteral("is not sent: %1 %2").arg(result.code).arg(result.text));
    settle(result);
    for (const Request &request : qAsConst(m_requests))
        emit requestFinished(request.id, result);
    m_requests.clear();
    emit over(result);
}

/** Makes the end durable, and where nobody else does, visible. */
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
    if (settled.ok() && m_requests.isEmpty() && !m_takenBack)
        settled = result.ok() ? m_outbox.takeOut(m_id) : m_outbox.putBack(m_id, reason);
    if (!settled.ok())
        qCWarning(lcDaemon) << "account" << m_context.id() << settled.text;
}

} // namespace Daemon
