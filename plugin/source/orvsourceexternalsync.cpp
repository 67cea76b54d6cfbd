// SPDX-License-Identifier: LGPL-2.1-or-later
// Follows the synchronisations that the daemon starts by itself: each is shown to the message
// server's clients as a running action of the account, the marker.
#include "asclient/resultcode.h"
#include "plugin/requests/requestscheduler.h"
#include "plugin/service/clock.h"
#include "plugin/service/orvservice.h"
#include "plugin/service/statuscode.h"
#include "plugin/source/orvsource.h"
#include "plugin/source/syncmarker.h"

#include <qmaillog.h>

bool OrvSource::isExternalSyncWorking()
{
    return m_marker->isInProgress();
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
    const quint64 endsByBroadcast = m_service->scheduler()->endsByBroadcast();
    if (m_service->scheduler()->checkRequests(m_service->daemon()))
        return;
    // A request that ended while the daemon was asked explains this synchronisation.
    if (m_service->scheduler()->endsByBroadcast() != endsByBroadcast)
        return;
    m_marker->beginSync();
}

void OrvSource::onSyncCompleted(qulonglong account)
{
    if (account != m_service->accountId().toULongLong())
        return;
    qMailLog(Messaging) << "Synchronize COMPLETED signal received for the account " << account;
    if (!m_marker->endSync())
        return;
    qMailLog(Messaging) << "FAKE action is completed";
    m_service->stopWaiting(Activesync::Success);
    completeAction();
}
