// SPDX-License-Identifier: LGPL-2.1-or-later
// Follows the synchronisations that the daemon starts by itself: each is shown to the message
// server's clients as a running action of the account, the marker.
#include "asclient/resultcode.h"
#include "asclient/syncinfoshmreader.h"
#include "plugin/requests/requestscheduler.h"
#include "plugin/service/clock.h"
#include "plugin/service/orvservice.h"
#include "plugin/service/statuscode.h"
#include "plugin/source/orvsource.h"
#include "plugin/source/syncmarker.h"

#include <QDBusConnection>
#include <QDBusMessage>
#include <QDBusPendingCall>
#include <QDBusPendingCallWatcher>
#include <qmaillog.h>

bool OrvSource::isExternalSyncWorking()
{
    return m_marker->isInProgress();
}

bool OrvSource::cancelExternalSync()
{
    return false;
}

bool OrvSource::isSyncRunning() const
{
    SyncInfoNode node;
    SyncInfoShmReader::instance().fill(node, m_service->accountId().toULongLong());
    return node.syncState == SyncInfoNode::SyncRunning;
}

/**
 * Follows a synchronisation that began before its beginning could be heard, unless it ends before
 * its end can be: the bus answers a call when it has taken the subscriptions that were sent before.
 */
void OrvSource::followRunningSync()
{
    const QString bus = QStringLiteral("org.freedesktop.DBus");
    const QDBusMessage call = QDBusMessage::createMethodCall(
        bus, QStringLiteral("/org/freedesktop/DBus"), bus, QStringLiteral("GetId"));
    auto *answer = new QDBusPendingCallWatcher(QDBusConnection::sessionBus().asyncCall(call), this);
    connect(answer, &QDBusPendingCallWatcher::finished, this, [this, answer] {
        answer->deleteLater();
        if (isSyncRunning())
            onSyncStarted();
    });
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
