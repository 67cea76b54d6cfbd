// SPDX-License-Identifier: LGPL-2.1-or-later
#include "plugin/requests/daemonwaker.h"

#include "asclient/asdbusinterface.h"
#include "plugin/service/orvservice.h"

#include <QDBusConnection>
#include <QDBusMessage>
#include <QDBusPendingCallWatcher>
#include <QDBusServiceWatcher>
#include <QTimer>

#include <limits>

namespace {

/** The bus has a time-out of its own for starting a service, and always answers. */
constexpr int NoTimeout = std::numeric_limits<int>::max();

QDBusMessage startCall()
{
    const QString bus = QStringLiteral("org.freedesktop.DBus");
    QDBusMessage call = QDBusMessage::createMethodCall(bus, QStringLiteral("/org/freedesktop/DBus"),
                                                       bus, QStringLiteral("StartServiceByName"));
    call.setArguments({QLatin1String(Activesync::ServiceName), 0u});
    return call;
}

} // namespace

DaemonWaker::DaemonWaker(OrvService &service, QObject *parent)
    : QObject(parent)
    , m_service(service)
    , m_timer(new QTimer(this))
{
    m_timer->setSingleShot(true);
    connect(m_timer, &QTimer::timeout, this, &DaemonWaker::onTimeout);
    auto *owner = new QDBusServiceWatcher(QLatin1String(Activesync::ServiceName),
                                          QDBusConnection::sessionBus(),
                                          QDBusServiceWatcher::WatchForUnregistration, this);
    connect(owner, &QDBusServiceWatcher::serviceUnregistered, this, &DaemonWaker::onDaemonGone);
    // Queued: another receiver of the end may begin the next action first.
    connect(&service, qOverload<bool>(&QMailMessageService::actionCompleted), this,
            &DaemonWaker::forget, Qt::QueuedConnection);
    connect(&service, &OrvService::operationCanceled, this, &DaemonWaker::forget,
            Qt::QueuedConnection);
}

void DaemonWaker::ask()
{
    QDBusConnection::sessionBus().send(startCall());
}

void DaemonWaker::wake()
{
    if (m_isAsking || m_timer->isActive())
        return;
    if (m_pauseMs == 0)
        askAndWait();
    else
        m_timer->start(m_pauseMs);
}

void DaemonWaker::askAndWait()
{
    m_isAsking = true;
    m_pauseMs = m_pauseMs == 0 ? FirstPauseMs : qMin(2 * m_pauseMs, MaximumPauseMs);
    auto *answer = new QDBusPendingCallWatcher(
        QDBusConnection::sessionBus().asyncCall(startCall(), NoTimeout), this);
    connect(answer, &QDBusPendingCallWatcher::finished, this, &DaemonWaker::onAnswered);
}

void DaemonWaker::onAnswered(QDBusPendingCallWatcher *answer)
{
    answer->deleteLater();
    m_isAsking = false;
    // The pause is kept: a daemon that dies at its start is started at growing intervals.
    if (answer->isError() && m_service.needsDaemon())
        wake();
    else
        forget();
}

void DaemonWaker::onTimeout()
{
    if (m_service.needsDaemon())
        askAndWait();
}

void DaemonWaker::onDaemonGone()
{
    if (m_service.needsDaemon())
        wake();
}

/** Leaves no timer and no memory of attempts when nobody waits any more. */
void DaemonWaker::forget()
{
    if (m_service.needsDaemon())
        return;
    m_timer->stop();
    m_pauseMs = 0;
}
