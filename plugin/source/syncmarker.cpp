// SPDX-License-Identifier: LGPL-2.1-or-later
#include "plugin/source/syncmarker.h"

#include "plugin/requests/requestscheduler.h"
#include "plugin/service/orvservice.h"

#include <qmaillog.h>

namespace {

constexpr int Success = 200;

} // namespace

SyncMarker::SyncMarker(OrvService *service, QObject *parent)
    : QObject(parent)
    , m_service(service)
    , m_action(new QMailProtocolAction(this))
{
    connect(service, qOverload<bool>(&QMailMessageService::actionCompleted), this,
            &SyncMarker::onActionCompleted);
    connect(service, &OrvService::operationCanceled, this, &SyncMarker::onCancelled);
    connect(m_action, &QMailServiceAction::activityChanged, this, &SyncMarker::onActivityChanged);
}

bool SyncMarker::isInProgress() const
{
    return m_action->activity() == QMailServiceAction::InProgress;
}

void SyncMarker::beginSync()
{
    switch (m_state) {
    case None:
        askFor();
        break;
    case AskedFor:
        // The one that is on its way will do, unless its end was told without a delivery.
        if (m_action->isRunning())
            m_service->startWaiting();
        else
            askFor();
        break;
    case Running:
        break;
    case Ending:
        m_syncMissed = true;
        break;
    }
}

bool SyncMarker::endSync()
{
    m_syncMissed = false;
    if (m_state == Running)
        return true;
    // It arrives after the end: it must find the service not waiting.
    if (m_state == AskedFor)
        closeWaiting();
    return false;
}

bool SyncMarker::deliver()
{
    m_state = m_service->isWaiting() ? Running : Ending;
    m_completionDue = m_state == Ending;
    return m_state == Running;
}

void SyncMarker::askFor()
{
    qMailLog(Messaging) << "Got sync request, but have no action for it. Creating FAKE action";
    // Deliberately not QVariant(): an invalid one cannot cross the bus.
    m_action->protocolRequest(m_service->accountId(), QString(), QVariant(QString()));
    // Nothing but its delivery would end the waiting.
    if (!m_action->isRunning())
        return;
    m_state = AskedFor;
    m_service->startWaiting();
}

/** Whatever ended the service's running action, it ended a delivered marker. */
void SyncMarker::onActionCompleted()
{
    if (m_state == Running)
        closeWaiting();
    else if (m_state != Ending)
        return;
    m_state = Ending;
    m_completionDue = false;
    if (!m_action->isRunning())
        settleLater();
}

/** A cancelled action is over for the message server, without a completion. */
void SyncMarker::onCancelled()
{
    if (m_state != Running && m_state != Ending)
        return;
    m_state = Ending;
    m_completionDue = false;
    if (!m_action->isRunning())
        settleLater();
}

void SyncMarker::onActivityChanged(QMailServiceAction::Activity activity)
{
    if (activity != QMailServiceAction::Successful && activity != QMailServiceAction::Failed)
        return;
    if (m_state == AskedFor && activity == QMailServiceAction::Failed) {
        // Taken out of the server's queue by a client; should it come all the same, it is
        // completed at once.
        m_state = None;
        closeWaiting();
    } else if (m_state == Ending) {
        settleLater();
    }
}

/** Not now: the client library is in the middle of telling the end, and takes no new request. */
void SyncMarker::settleLater()
{
    QMetaObject::invokeMethod(this, &SyncMarker::settle, Qt::QueuedConnection);
}

void SyncMarker::settle()
{
    if (m_state != Ending || m_completionDue || m_action->isRunning())
        return;
    m_state = None;
    if (!m_syncMissed)
        return;
    m_syncMissed = false;
    emit syncLeft();
}

/** Ends the waiting for the marker; requests of ours end their own. */
void SyncMarker::closeWaiting()
{
    if (m_service->isWaiting() && m_service->scheduler()->isIdle())
        m_service->stopWaiting(Success);
}
