// SPDX-License-Identifier: LGPL-2.1-or-later
#include "asclient/answerwatch.h"

#include <QCoreApplication>
#include <QDBusError>
#include <QDBusPendingCall>
#include <QDBusServiceWatcher>
#include <QElapsedTimer>
#include <QThread>

#include <algorithm>
#include <limits>

namespace Activesync {

namespace {

/** No time-out: the call ends with an answer, or with the error of the bus for a daemon that is
 * gone. */
constexpr int NoTimeout = std::numeric_limits<int>::max();

/** The daemon answers within so many milliseconds, whatever it is doing. */
constexpr int PromisedMs = 200;

/**
 * Blocks until the call is finished or the time is over.
 *
 * With a time-out of its own, Qt would drop a late answer. So this polls: every 50 microseconds at
 * first, every 2 ms at last.
 */
bool waitFor(const QDBusPendingCall &call, int timeoutMs)
{
    QElapsedTimer timer;
    timer.start();
    for (unsigned long pause = 50; !call.isFinished();
         pause = std::min(pause + pause / 4, 2000ul)) {
        if (timer.hasExpired(timeoutMs))
            return false;
        QThread::usleep(pause);
    }
    return true;
}

} // namespace

AnswerWatch::AnswerWatch(const QDBusConnection &connection, const QString &service, QObject *parent)
    : QObject(parent)
    , m_connection(connection)
    , m_service(service)
{
}

QDBusMessage AnswerWatch::call(const QDBusMessage &call, int timeoutMs)
{
    m_lateAnswer = nullptr;
    if (isSilent())
        return giveUp();
    const QDBusPendingCall pending = m_connection.asyncCall(call, NoTimeout);
    if (waitFor(pending, timeoutMs))
        return pending.reply();
    m_lateAnswer = new QDBusPendingCallWatcher(pending, this);
    watch(m_lateAnswer);
    m_silent = true;
    m_waitedAgain = false;
    emit fellSilent();
    return giveUp();
}

bool AnswerWatch::isSilent()
{
    if (!m_silent)
        return false;
    if (!m_waitedAgain && !m_unanswered.isEmpty()) {
        m_waitedAgain = true;
        waitFor(*m_unanswered.constLast(), PromisedMs);
    }
    for (QDBusPendingCallWatcher *late : qAsConst(m_unanswered)) {
        if (late->isFinished())
            endSilence(*late);
    }
    return m_silent;
}

/** Ends the silence: a call that was given up has its answer, or the error that the daemon is
 * gone. */
void AnswerWatch::endSilence(const QDBusPendingCallWatcher &late)
{
    if (late.isError())
        forget();
    else
        hear();
}

QDBusMessage AnswerWatch::giveUp()
{
    return QDBusMessage::createError(QDBusError::NoReply,
                                     QStringLiteral("the daemon does not answer"));
}

void AnswerWatch::watch(QDBusPendingCallWatcher *late)
{
    if (!m_ownerWatch) {
        m_ownerWatch = new QDBusServiceWatcher(m_service, m_connection,
                                               QDBusServiceWatcher::WatchForOwnerChange, this);
        connect(m_ownerWatch, &QDBusServiceWatcher::serviceOwnerChanged, this,
                &AnswerWatch::forget);
    }
    m_unanswered.append(late);
    connect(late, &QDBusPendingCallWatcher::finished, this, [this, late] {
        m_unanswered.removeAll(late);
        if (m_lateAnswer == late)
            m_lateAnswer = nullptr;
        late->deleteLater();
        endSilence(*late);
    });
}

void AnswerWatch::deliverPosted()
{
    const QList<QDBusPendingCallWatcher *> unanswered = m_unanswered;
    for (QDBusPendingCallWatcher *late : unanswered)
        QCoreApplication::sendPostedEvents(late, QEvent::MetaCall);
}

void AnswerWatch::hear()
{
    if (!m_silent)
        return;
    m_silent = false;
    // Queued: a caller of isSilent() may be in the middle of a call of its own.
    QMetaObject::invokeMethod(this, &AnswerWatch::heardAgain, Qt::QueuedConnection);
}

/** Another process, or none, has the daemon's name: nothing is known of its answers. */
void AnswerWatch::forget()
{
    m_silent = false;
}

} // namespace Activesync
