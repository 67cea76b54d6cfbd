// SPDX-License-Identifier: LGPL-2.1-or-later
#include "daemon/engine/statusrecorder.h"

#include "daemon/log/logging.h"
#include "daemon/push/pushwatch.h"
#include "daemon/store/outgoing/outbox.h"
#include "daemon/store/state/workrecordtable.h"
#include "daemon/tasks/failurewords.h"

#include <QDateTime>
#include <qmailstore.h>

#include <algorithm>

namespace Daemon {

using Activesync::AccountStatus;
using Activesync::WaitingMail;

namespace {

qint64 now()
{
    return QDateTime::currentSecsSinceEpoch();
}

/** The time since which something is so, 0 when it is over; `before`: that time as it was known. */
qint64 since(bool isSo, bool isOver, qint64 before)
{
    if (isSo)
        return before > 0 ? before : now();
    return isOver ? 0 : before;
}

AccountStatus::Push phaseOf(const PushWatch &push)
{
    if (push.isGivenUp())
        return AccountStatus::PushStopped;
    if (push.isWaiting())
        return AccountStatus::PushWaiting;
    return push.isPausing() ? AccountStatus::PushPaused : AccountStatus::PushBusy;
}

} // namespace

StatusRecorder::StatusRecorder(const AccountContext &context, QObject *parent)
    : QObject(parent)
    , m_context(context)
{
    Store::WorkRecordTable(*m_context.db, m_context.id()).read(&m_status);
    readOutbox();
}

void StatusRecorder::tellAgain()
{
    m_told = m_status;
    emit changed(m_context.id().toULongLong(), m_status.toMap());
}

void StatusRecorder::noteWork(int code, const QString &words)
{
    const AccountStatus before = m_status;
    const bool isSuccess = code == Eas::Success;
    // A success without an answer of the server, as there was nothing to do, clears no error.
    const bool isAnswered = m_context.session->answers() != m_answers;
    m_answers = m_context.session->answers();
    if (isAnswered || !isSuccess) {
        m_status.errorCode = isSuccess ? 0 : code;
        m_status.errorText = words;
    }
    m_status.loginRefusedAt = since(code == Eas::LoginRefused, isAnswered, m_status.loginRefusedAt);
    m_status.policyUnmetAt =
        since(code == Eas::PolicyDemanded, isAnswered && isSuccess, m_status.policyUnmetAt);
    if (!(m_status == before))
        keep();
}

void StatusRecorder::noteSync(int code, const QString &words)
{
    m_status.syncedAt = now();
    m_status.syncCode = code;
    m_status.syncText = words;
    if (code == Eas::Success)
        m_status.succeededAt = m_status.syncedAt;
    keep();
}

void StatusRecorder::noteNewSettings()
{
    // Where the settings name another mailbox, the table has forgotten all of this.
    AccountStatus known;
    Store::WorkRecordTable(*m_context.db, m_context.id()).read(&known);
    m_status.syncedAt = known.syncedAt;
    m_status.syncCode = known.syncCode;
    m_status.syncText = known.syncText;
    m_status.succeededAt = known.succeededAt;
    m_status.errorCode = 0;
    m_status.errorText.clear();
    m_status.loginRefusedAt = m_status.policyUnmetAt = 0;
    m_answers = 0;
    keep();
}

void StatusRecorder::setPush(const PushWatch *push)
{
    m_status.push = push ? phaseOf(*push) : AccountStatus::PushOff;
    m_status.pushSince = m_status.push == AccountStatus::PushWaiting ? push->waitsSince() : 0;
    m_status.pushRetryAt = m_status.push == AccountStatus::PushPaused ? push->pausesUntil() : 0;
    const Eas::Result failure = push ? push->failure() : Eas::Result();
    m_status.pushCode = failure.ok() ? 0 : failure.code;
    m_status.pushText = failureWords(failure, m_context.session->serverName());
    tell();
}

void StatusRecorder::setSending(const QSet<QMailMessageId> &ids)
{
    if (m_sending == ids)
        return;
    const Store::Outbox outbox(*m_context.db, m_context.record);
    // The others are as they were: to look at all of them each time would cost their square.
    const QSet<QMailMessageId> ended = m_sending - ids;
    for (const QMailMessageId &id : ended) {
        const auto mail = outbox.waiting(id);
        if (QMailStore::instance()->lastError() != QMailStore::NoError)
            continue;
        const auto isIt = [&id](const WaitingMail &one) { return one.message == id.toULongLong(); };
        m_waiting.erase(std::remove_if(m_waiting.begin(), m_waiting.end(), isIt), m_waiting.end());
        if (mail)
            m_waiting.append(*mail);
    }
    m_sending = ids;
    setOutbox();
    tell();
}

void StatusRecorder::setChanges(int count)
{
    m_status.changes = count;
    readOutbox();
    tell();
}

void StatusRecorder::readOutbox()
{
    // What is being sent is known to be; to look at it is to read all of it.
    const QList<WaitingMail> waiting =
        Store::Outbox(*m_context.db, m_context.record).waiting(m_sending);
    // An outbox that cannot be read just now is not empty.
    if (QMailStore::instance()->lastError() == QMailStore::NoError)
        m_waiting = waiting;
    setOutbox();
}

void StatusRecorder::setOutbox()
{
    m_status.outbox = m_waiting;
    QSet<QMailMessageId> others = m_sending;
    for (WaitingMail &mail : m_status.outbox) {
        if (others.remove(QMailMessageId(mail.message)))
            mail.state = WaitingMail::Sending;
    }
    // Those that are being sent and that the outbox does not show.
    for (const QMailMessageId &id : qAsConst(others)) {
        WaitingMail mail;
        mail.message = id.toULongLong();
        mail.state = WaitingMail::Sending;
        m_status.outbox.append(mail);
    }
}

void StatusRecorder::keep()
{
    const Eas::Result saved = Store::WorkRecordTable(*m_context.db, m_context.id()).save(m_status);
    if (!saved.ok() && saved.code != Eas::Cancelled)
        qCWarning(lcDaemon) << "account" << m_context.id() << saved.text;
    tell();
}

void StatusRecorder::tell()
{
    if (!(m_status == m_told))
        tellAgain();
}

} // namespace Daemon
