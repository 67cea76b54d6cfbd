// SPDX-License-Identifier: LGPL-2.1-or-later
#include "plugin/source/orvsource.h"

#include "asclient/asdbusinterface.h"
#include "plugin/requests/asdaemonoperationrequest.h"
#include "plugin/requests/requestscheduler.h"
#include "plugin/service/clock.h"
#include "plugin/service/orvservice.h"
#include "plugin/source/syncmarker.h"

#include <qmaillog.h>

using Activesync::AsDBusInterface;

namespace {

/** A request this soon, in milliseconds, after a successful synchronisation duplicates it. */
constexpr qint64 DoubletMs = 4999;
constexpr int DoubletCompletionMs = 100;

} // namespace

OrvSource::OrvSource(OrvService *service)
    : QMailMessageSource(service)
    , m_service(service)
    , m_marker(new SyncMarker(service, this))
{
    QDBusConnection bus = QDBusConnection::sessionBus();
    const QString path = QLatin1String(Activesync::ObjectPath);
    const QString interface = QLatin1String(Activesync::InterfaceName);
    bus.connect(QString(), path, interface, QStringLiteral("syncCompleted"), this,
                SLOT(onSyncCompleted(qulonglong)));
    bus.connect(QString(), path, interface, QStringLiteral("syncStarted"), this,
                SLOT(onSyncStarted(qulonglong)));
    if (isSyncRunning())
        followRunningSync();
    connect(service->daemon(),
            SIGNAL(searchMailboxCompleted(int, qulonglong, Activesync::SearchMailboxResult, int)),
            this,
            SLOT(onSearchMailboxCompleted(int, qulonglong, Activesync::SearchMailboxResult, int)));
    connect(service, qOverload<bool>(&QMailMessageService::actionCompleted), this,
            &OrvSource::endListeners);
    connect(service, &OrvService::operationCanceled, this, &OrvSource::endListeners);
    connect(m_marker, &SyncMarker::syncLeft, this, [this] { onSyncStarted(); });
}

bool OrvSource::retrieveAll(const QMailAccountId &accountId)
{
    const quint64 id = accountId.toULongLong();
    qMailLog(Messaging) << "Retrieving all"
                        << "for AccountId=" << id << "...";
    const qint64 now = Clock::now();
    const qint64 age = now - m_lastSyncCompletedAt;
    qMailLog(Messaging) << "Now" << now << "last sync completed at" << m_lastSyncCompletedAt
                        << "diff =" << age;
    if (age >= 0 && age <= DoubletMs) {
        qMailLog(Messaging) << "doublet sync request, ignoring (emulating)";
        m_service->completeLater(DoubletCompletionMs, [this] { m_service->completeAction(); });
        return true;
    }
    AsDaemonRequest *request = createRequest(
        m_service->accountId(),
        std::tr1::bind(&AsDBusInterface::sync, m_service->daemon(), id, QDBus::Block));
    connect(request, SIGNAL(requestCompleted(int, AsDaemonRequest *, bool)), this,
            SLOT(handleSyncRequestCompleted(int, AsDaemonRequest *, bool)));
    const int result = m_service->scheduler()->addRequest(request);
    qMailLog(Messaging) << "result = " << result << "for AccountId=" << id;
    return true;
}

bool OrvSource::exportUpdates(const QMailAccountId &accountId)
{
    qMailLog(Messaging) << "exporting updates";
    emit updateStatus(QStringLiteral("exporting updates"));
    // Deliberate: the daemon's synchronisation carries the local changes.
    retrieveAll(accountId);
    return true;
}

bool OrvSource::synchronize(const QMailAccountId &accountId)
{
    // Deliberate spelling: clients see this text.
    qMailLog(Messaging) << "syncronizing";
    emit updateStatus(QStringLiteral("syncronizing"));
    retrieveAll(accountId);
    return true;
}

bool OrvSource::retrieveFolderList(const QMailAccountId &accountId, const QMailFolderId &, bool)
{
    qMailLog(Messaging) << "retrieving folder list";
    emit updateStatus(QStringLiteral("retrieving folder list"));
    const quint64 id = accountId.toULongLong();
    const int result = m_service->scheduler()->addRequest(createRequest(
        m_service->accountId(),
        std::tr1::bind(&AsDBusInterface::folderSync, m_service->daemon(), id, QDBus::Block)));
    qMailLog(Messaging) << "result = " << result << "for AccountId=" << id;
    return true;
}

bool OrvSource::retrieveMessageRange(const QMailMessageId &, uint)
{
    qMailLog(Messaging) << "retrieveMessageRange";
    return false;
}

bool OrvSource::retrieveMessagePartRange(const QMailMessagePart::Location &, uint)
{
    return false;
}

bool OrvSource::prepareMessages(
    const QList<QPair<QMailMessagePart::Location, QMailMessagePart::Location>> &)
{
    completeSoon();
    return true;
}

bool OrvSource::protocolRequest(const QMailAccountId &accountId, const QString &, const QVariant &)
{
    qMailLog(Messaging) << "Protocol request received for the account " << accountId;
    if (accountId != m_service->accountId())
        return false;
    emit updateStatus(QStringLiteral("protocol request received"));
    if (!m_marker->deliver())
        completeSoon();
    return true;
}

void OrvSource::completeAction()
{
    qMailLog(Messaging) << "OrvSource::Action completed";
    emit actionCompleted(true);
}

/** Ends the running action after the call that started it has returned. */
void OrvSource::completeSoon()
{
    m_service->completeLater(0, [this] { completeAction(); });
}

/** A plain request, owned by the source until it has ended. */
AsDaemonRequest *OrvSource::createRequest(const QMailAccountId &accountId, DaemonCall call)
{
    return new AsDaemonOperationRequest(*m_service, accountId, call, this);
}
