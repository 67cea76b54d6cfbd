// SPDX-License-Identifier: LGPL-2.1-or-later
// Follows the synchronisations that the daemon starts by itself: each is shown to the message
// server's clients as a running action of the account, the marker.
#include "source/orvsource.h"

#include "requests/requestscheduler.h"
#include "service/clock.h"
#include "service/orvservice.h"
#include "service/statuscode.h"

#include <qmaillog.h>

bool OrvSource::isExternalSyncWorking()
{
    return m_externalSyncAction->activity() == QMailServiceAction::InProgress;
}

/** The marker is sent, and the message server has not yet begun with it. */
bool OrvSource::isMarkerPending()
{
    // An action that was never sent is Pending, too, and does not run.
    return m_externalSyncAction->isRunning()
        && m_externalSyncAction->activity() == QMailServiceAction::Pending;
}

/**
 * The marker was delivered and waits for its end, whatever its action says.
 *
 * The message server numbers the actions that it makes for itself as a client in its process does:
 * the end of another one may have been taken for the marker's.
 */
bool OrvSource::isMarkerLeftOpen()
{
    return m_protocolRequestOpen
        && (isMarkerPending() || (m_service->isWaiting() && m_service->scheduler()->isIdle()));
}

bool OrvSource::cancelExternalSync()
{
    return false;
}

void OrvSource::handleSyncRequestCompleted(int code, AsDaemonRequest *, bool cancelled)
{
    if (cancelled || statusErrorCode(code) != QMailServiceAction::Status::ErrNoError)
        return;
    m_lastSyncCompletedAt = Clock::now();
    qMailLog(Messaging) << "Sync completed at" << m_lastSyncCompletedAt;
}

void OrvSource::onSyncStarted()
{
    const qulonglong account = m_service->accountId().toULongLong();
    if (account != 0)
        onSyncStarted(account);
}

void OrvSource::onSyncStarted(qulonglong account)
{
    if (account != m_service->accountId().toULongLong())
        return;
    if (m_service->scheduler()->checkRequests(m_service->daemon()))
        return;
    if (isExternalSyncWorking())
        return;
    if (isMarkerPending()) {
        // The marker of the last one is still on its way; it will do for this one.
        m_service->startWaiting();
        return;
    }
    qMailLog(Messaging) << "Got sync request, but have no action for it. Creating FAKE action";
    // Deliberately not QVariant(): an invalid one cannot cross the bus.
    m_externalSyncAction->protocolRequest(QMailAccountId(account), QString(), QVariant(QString()));
    m_markerSent = true;
    m_service->startWaiting();
}

void OrvSource::onSyncCompleted(qulonglong account)
{
    if (account != m_service->accountId().toULongLong())
        return;
    qMailLog(Messaging) << "Synchronize COMPLETED signal received for the account " << account;
    if (isExternalSyncWorking() || isMarkerLeftOpen()) {
        qMailLog(Messaging) << "FAKE action is completed";
        m_service->stopWaiting(200);
        completeAction();
    } else if ((isMarkerPending() || m_markerSent) && m_service->scheduler()->isIdle()) {
        // The marker arrives after the end: it must find the service not waiting.
        m_service->stopWaiting(200);
    }
}
