// SPDX-License-Identifier: LGPL-2.1-or-later
#include "plugin/service/orvservice.h"

#include "asclient/asdbusinterface.h"
#include "asclient/resultcode.h"
#include "asclient/syncinfoshmreader.h"
#include "plugin/requests/requestscheduler.h"
#include "plugin/service/matchrule.h"
#include "plugin/service/servicekey.h"
#include "plugin/service/statuscode.h"
#include "plugin/sink/orvsink.h"
#include "plugin/source/orvsource.h"
#include "plugin/source/syncmarker.h"

#include <QDBusConnection>
#include <qmaillog.h>
#include <QTimer>

#include <limits>

namespace {

constexpr int TickMs = 1500;
constexpr int RestartedTickMs = 2000;
constexpr int InitialTotal = 1000;
constexpr int TotalExtension = 100;

/** The sum of two numbers that are not negative, without an overflow. */
int sumOf(int a, int b)
{
    return a > std::numeric_limits<int>::max() - b ? std::numeric_limits<int>::max() : a + b;
}

} // namespace

OrvService::OrvService(const QMailAccountId &accountId)
    : m_accountId(accountId)
{
    qMailLog(Messaging) << "OrvService::OrvService";
    // Connected first: another receiver, the message server, may begin the next action.
    connect(this, qOverload<bool>(&QMailMessageService::actionCompleted), this,
            &OrvService::forgetCompletions);
    connect(this, &OrvService::operationCanceled, this, &OrvService::forgetCompletions);
    m_daemon = new Activesync::AsDBusInterface(QDBusConnection::sessionBus(), this);
    {
        // A daemon that starts now may begin a synchronisation and end it at once: who hears of its
        // beginning has to hear of its end.
        const MatchRule ends(QStringLiteral("syncCompleted"));
        // Sink and source must not use the scheduler in their constructors: there is none yet.
        m_sink = new OrvSink(this);
        m_source = new OrvSource(this);
    }
    connect(m_source, SIGNAL(updateStatus(QString)), this, SLOT(updateStatus(QString)));
    connect(m_source, SIGNAL(actionCompleted(bool)), this, SIGNAL(actionCompleted(bool)));
    connect(m_sink, SIGNAL(actionCompleted(bool)), this, SIGNAL(actionCompleted(bool)));
    m_scheduler = new RequestScheduler(*this, this);
    connect(m_scheduler, SIGNAL(actionCompleted(bool)), this, SIGNAL(actionCompleted(bool)));
}

OrvService::~OrvService()
{
    stopWaiting(Activesync::ServiceGone);
    qMailLog(Messaging) << " OrvService::~OrvService";
    delete m_sink;
    delete m_source;
}

QString OrvService::service() const
{
    return OrvServiceKey;
}

QMailAccountId OrvService::accountId() const
{
    return m_accountId;
}

bool OrvService::hasSource() const
{
    return true;
}

QMailMessageSource &OrvService::source() const
{
    return *m_source;
}

bool OrvService::hasSink() const
{
    return true;
}

QMailMessageSink &OrvService::sink() const
{
    return *m_sink;
}

bool OrvService::available() const
{
    return true;
}

bool OrvService::cancelOperation(QMailServiceAction::Status::ErrorCode code, const QString &text)
{
    qMailLog(Messaging) << "cancelOperation code" << int(code) << text;
    emit operationCanceled(code);
    stopWaiting(code);
    emit availabilityChanged(true);
    if (m_source->isExternalSyncWorking())
        m_daemon->stopSync(m_accountId.toULongLong(), code, QDBus::Block);
    return true;
}

void OrvService::updateStatus(const QString &text)
{
    updateStatus(QMailServiceAction::Status::ErrNoError, text, m_accountId, QMailFolderId(),
                 QMailMessageId(), 0);
}

void OrvService::completeAction()
{
    qMailLog(Messaging) << "Action completed";
    emit activityChanged(QMailServiceAction::Successful);
    emit actionCompleted(true);
}

void OrvService::completeLater(int delayMs, const std::function<void()> &complete)
{
    ++m_completionsDue;
    QTimer::singleShot(delayMs, this, [this, complete, action = m_endedActions] {
        if (action != m_endedActions)
            return;
        --m_completionsDue;
        m_isCompleting = true;
        complete();
    });
}

/** Drops completions that were put off when their action ends otherwise: when they are due, the
 * next action may run. */
void OrvService::forgetCompletions()
{
    if (m_isCompleting) {
        m_isCompleting = false;
        return;
    }
    ++m_endedActions;
    m_completionsDue = 0;
}

bool OrvService::hasActionOfItsOwn() const
{
    return m_completionsDue > 0 || m_source->marker().state() == SyncMarker::Running;
}

bool OrvService::needsDaemon() const
{
    return !m_scheduler->isIdle() || (m_waiting && m_source->marker().state() != SyncMarker::None);
}

bool OrvService::startWaiting()
{
    qMailLog(Messaging) << "OrvService::startWaiting()";
    if (m_timerId != 0) {
        qMailLog(Messaging) << "Timer is active, working is " << m_waiting;
        return false;
    }
    // Made here, to save the first tick the time.
    SyncInfoShmReader::instance();
    qMailLog(Messaging) << "start waiting for the signal";
    m_progressTotal = InitialTotal;
    m_progress = 0;
    m_waiting = true;
    m_progressCounterAllowed = true;
    emit progressChanged(0, InitialTotal);
    m_timerId = startTimer(TickMs);
    return true;
}

void OrvService::stopWaiting(int code)
{
    qMailLog(Messaging) << "OrvService::stopWaiting(" << code << ")";
    if (m_waiting) {
        m_waiting = false;
        if (isPlainSuccess(code))
            emit activityChanged(QMailServiceAction::Successful);
        else
            updateStatus(statusErrorCode(code), QString(), m_accountId, QMailFolderId(),
                         QMailMessageId(), 0);
    }
    if (m_timerId != 0) {
        killTimer(m_timerId);
        m_timerId = m_restartTimer ? startTimer(RestartedTickMs) : 0;
        m_restartTimer = false;
    }
}

void OrvService::setProgress(int progress, int total)
{
    m_progress = progress;
    m_progressTotal = total;
    if (m_waiting) {
        emit progressChanged(progress, total);
        qMailLog(Messaging) << " progress changed to " << progress << "of" << total;
    }
}

void OrvService::allowProgressCounter(bool allow)
{
    m_progressCounterAllowed = allow;
}

void OrvService::countProgress()
{
    if (!m_waiting) {
        killTimer(m_timerId);
        m_restartTimer = false;
        m_timerId = 0;
        return;
    }
    if (!m_progressCounterAllowed) {
        updateStatus(QStringLiteral("Progressing..."));
        emit progressChanged(m_progress, m_progressTotal);
        qMailLog(Messaging) << " progress is " << m_progress << "of" << m_progressTotal;
        return;
    }
    const int oldProgress = m_progress;
    if (!advanceProgress()
        && (m_scheduler->checkRequests(m_daemon) || m_source->isExternalSyncWorking())) {
        m_progressTotal = sumOf(m_progressTotal, TotalExtension);
        m_progress = sumOf(m_progress, 1);
        qMailLog(Messaging)
            << "reached max progress, but it seems that some requests are still alive, continue";
    }
    if (m_progress != oldProgress) {
        updateStatus(QStringLiteral("Progressing..."));
        emit progressChanged(m_progress, m_progressTotal);
        qMailLog(Messaging) << " progress changed to " << m_progress << "of" << m_progressTotal;
    }
}

/** Moves the progress to what the daemon publishes, or by one; false when it is at its maximum. */
bool OrvService::advanceProgress()
{
    const int published = publishedProgress();
    if (published > m_progress) {
        // At exactly the maximum the bar still moves by one only.
        if (published != m_progressTotal) {
            m_progress = published;
            if (m_progressTotal <= published)
                return false;
        }
    } else if (m_progressTotal <= m_progress) {
        return false;
    }
    m_progress = sumOf(m_progress, 1);
    return true;
}

int OrvService::publishedProgress() const
{
    SyncInfoNode node;
    SyncInfoShmReader::instance().fill(node, m_accountId.toULongLong());
    return node.progress;
}

void OrvService::timerEvent(QTimerEvent *)
{
    countProgress();
}
