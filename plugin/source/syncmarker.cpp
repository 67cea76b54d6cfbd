// SPDX-License-Identifier: LGPL-2.1-or-later
#include "plugin/source/syncmarker.h"

#include "asclient/resultcode.h"
#include "plugin/requests/requestscheduler.h"
#include "plugin/service/orvservice.h"

#include <qmaillog.h>

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
        // The pending marker serves this synchronisation, too, unless it ended undelivered.
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
    // The marker arrives after the end: deliver() must find the service not waiting.
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
    // If it was not sent, no delivery will end the waiting.
    if (!m_action->isRunning())
        return;
    m_state = AskedFor;
    m_service->startWaiting();
}

/** Any completion of the service ends a delivered marker, too. */
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

/** Queued: the client library is still reporting the end, and takes no new request. */
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

/** Ends the service's waiting, unless requests run: these end it. */
void SyncMarker::closeWaiting()
{
    if (m_service->isWaiting() && m_service->scheduler()->isIdle())
        m_service->stopWaiting(Activesync::Success);
}
