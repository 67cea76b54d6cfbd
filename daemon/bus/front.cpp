// SPDX-License-Identifier: LGPL-2.1-or-later
#include "daemon/bus/front.h"

#include "asclient/asdbusinterface.h"
#include "asclient/resultcode.h"
#include "asclient/syncinfotable.h"
#include "daemon/bus/asdbusadaptor.h"
#include "daemon/bus/statusadaptor.h"
#include "daemon/log/logging.h"

#include <QDateTime>
#include <QDBusConnectionInterface>
#include <QFileInfo>

namespace Daemon {

namespace {
constexpr int Refused = -1;
constexpr int FlushTimeoutMs = 1000;
} // namespace

Front::Front(Clock clock, QObject *parent)
    : QObject(parent)
    , m_clock(clock)
    , m_table(std::move(clock))
    , m_connection(QString())
    , m_timer(new QTimer(this))
    , m_watch(new EngineWatch(this))
{
    new AsDBusAdaptor(this);
    new StatusAdaptor(this);
    m_timer->setSingleShot(true);
    m_timer->setTimerType(Qt::PreciseTimer);
    connect(m_timer, &QTimer::timeout, this, &Front::onExpired);
    connect(m_watch, &EngineWatch::silent, this, &Front::onEngineSilent);
}

Front::~Front() = default;

QString Front::start(const QDBusConnection &connection)
{
    m_connection = connection;
    if (!m_connection.isConnected())
        return QStringLiteral("no session bus: ") + m_connection.lastError().message();
    const QString service = QLatin1String(Activesync::ServiceName);
    if (!m_connection.registerObject(QLatin1String(Activesync::ObjectPath), this))
        return QStringLiteral("cannot register the object on the bus");
    m_connection.connect(QString(), QStringLiteral("/org/freedesktop/DBus/Local"),
                         QStringLiteral("org.freedesktop.DBus.Local"),
                         QStringLiteral("Disconnected"), this, SIGNAL(busLost()));
    if (!m_connection.registerService(service))
        return service + QStringLiteral(" is already served on this bus");
    // A daemon that ended normally has removed its state.
    const bool diedBefore = QFileInfo::exists(SyncInfoTable::defaultPath());
    // Made only now: the state of a running instance must not be touched by a second one.
    m_state = std::make_unique<SyncInfoShmWriter>();
    if (!m_state->isOpen())
        return QStringLiteral("cannot publish the state: ") + m_state->errorString();
    m_servesSince = QDateTime::currentSecsSinceEpoch();
    endRequestsOfLastDaemon();
    if (diedBefore)
        endSyncsOfLastDaemon();
    return QString();
}

/** Ends the requests that a killed daemon left open: their callers would wait for ever. */
void Front::endRequestsOfLastDaemon()
{
    const RequestJournal::Entries left = m_journal.takeOver();
    for (auto entry = left.cbegin(); entry != left.cend(); ++entry) {
        qCInfo(lcRequests) << "request" << entry.key() << "of a daemon that died is cancelled";
        broadcast(QStringLiteral("requestCompleted"),
                  {int(Activesync::Cancelled), entry.value(), entry.key()});
    }
}

/** Ends the synchronisations that a daemon left open when it died: clients would show them for
 * ever. */
void Front::endSyncsOfLastDaemon()
{
    for (const quint64 accountId : qAsConst(m_accounts))
        broadcast(QStringLiteral("syncCompleted"), {accountId});
}

void Front::accept(const Request &request, const QDBusMessage &call)
{
    call.setDelayedReply(true);
    const Check check = {request, call, m_clock() + CheckTimeoutMs};
    if (m_stopped || (request.namesMessage() && request.messageId == 0)) {
        answer(check, false);
        return;
    }
    m_checks.insert(++m_lastTicket, check);
    armTimer();
    emit checkWanted(m_lastTicket, request.accountId, request.messageId);
}

void Front::resolveCheck(quint64 ticket, bool acceptable)
{
    const auto found = m_checks.find(ticket);
    if (found == m_checks.end())
        return;
    const Check check = *found;
    m_checks.erase(found);
    armTimer();
    answer(check, acceptable);
}

void Front::onExpired()
{
    // The engine is busy: what was last known of the accounts decides. A message that does not
    // exist is then found out later and told by the broadcast.
    while (!m_checks.isEmpty() && m_checks.first().deadline <= m_clock()) {
        const Check check = m_checks.take(m_checks.firstKey());
        answer(check, m_accounts.contains(check.request.accountId));
    }
    armTimer();
}

void Front::armTimer()
{
    if (m_checks.isEmpty())
        m_timer->stop();
    else
        m_timer->start(int(qMax<qint64>(0, m_checks.first().deadline - m_clock())));
}

void Front::answer(const Check &check, bool acceptable)
{
    Request request = check.request;
    request.id = acceptable ? m_table.open(request.accountId, request.kind) : Refused;
    if (acceptable)
        m_journal.add(request.id, request.accountId);
    m_connection.send(check.call.createReply(request.id));
    if (!acceptable)
        return;
    qCDebug(lcRequests) << "request" << request.id << "for account" << request.accountId << "is a"
                        << check.call.member();
    watch();
    emit requestAccepted(request);
}

void Front::abortRequest(int id, int code)
{
    if (!m_table.isOpen(id))
        return;
    qCDebug(lcRequests) << "request" << id << "is aborted with" << code;
    finishRequest(id, code);
    emit requestDropped(id);
}

bool Front::isRequestAlive(int id)
{
    return m_table.isAlive(id);
}

void Front::stopSync(quint64 accountId, int code)
{
    qCDebug(lcRequests) << "synchronisation of account" << accountId << "is stopped with" << code;
    const QList<int> ids = m_table.openSynchronisations(accountId);
    for (int id : ids)
        finishRequest(id, code);
    emit syncStopWanted(accountId);
}

void Front::setAccounts(const QSet<quint64> &accounts)
{
    m_accounts = accounts;
    const QList<quint64> known = m_status.keys();
    for (quint64 accountId : known) {
        if (!accounts.contains(accountId))
            setStatus(accountId, {});
    }
}

QVariantMap Front::accountStatus(quint64 accountId) const
{
    QVariantMap status = m_status.value(accountId);
    if (!status.isEmpty() && m_syncing.contains(accountId))
        status.insert(QStringLiteral("syncing"), true);
    return status;
}

void Front::setStatus(quint64 accountId, const QVariantMap &status)
{
    if (status.isEmpty())
        m_status.remove(accountId);
    else
        m_status.insert(accountId, status);
    broadcastStatus(accountId);
}

void Front::noteError(quint64 accountId, int code, const QString &words)
{
    if (code == Activesync::Success)
        m_errors.remove(accountId);
    else
        m_errors.insert(accountId, {code, words});
}

void Front::finishRequest(int id, int code)
{
    if (m_table.isSearch(id))
        finishSearch(id, code, {});
    else
        complete(id, code);
}

void Front::complete(int id, int code)
{
    const std::optional<quint64> accountId = m_table.close(id);
    if (!accountId)
        return;
    qCDebug(lcRequests) << "request" << id << "ended with" << code;
    broadcast(QStringLiteral("requestCompleted"), {code, *accountId, id});
    m_journal.remove(id);
    watch();
}

void Front::finishSearch(int id, int code, const Activesync::SearchMailboxResult &result)
{
    const std::optional<quint64> accountId = m_table.accountOf(id);
    if (!accountId)
        return;
    broadcast(QStringLiteral("searchMailboxCompleted"),
              {code, *accountId, QVariant::fromValue(result), id});
    complete(id, code);
}

void Front::beginSync(quint64 accountId)
{
    if (m_stopped || m_syncing.contains(accountId))
        return;
    m_syncing.insert(accountId, 0);
    m_state->publish({accountId, SyncInfoNode::SyncRunning, 0});
    broadcast(QStringLiteral("syncStarted"), {accountId});
    broadcastStatus(accountId);
    watch();
}

void Front::setProgress(quint64 accountId, int progress)
{
    const auto found = m_syncing.find(accountId);
    if (found == m_syncing.end() || progress <= *found)
        return;
    *found = qMin(progress, 1000);
    m_state->publish({accountId, SyncInfoNode::SyncRunning, *found});
}

void Front::endSync(quint64 accountId)
{
    if (m_syncing.remove(accountId) == 0)
        return;
    // Before the broadcast, so that its receivers do not read the old state.
    m_state->publish({accountId, 0, 0});
    broadcast(QStringLiteral("syncCompleted"), {accountId});
    broadcastStatus(accountId);
    watch();
}

void Front::watch()
{
    m_watch->setOn(!m_stopped && (!m_table.openRequests().isEmpty() || !m_syncing.isEmpty()));
}

/** Ends all requests and synchronisations with an error; the engine is told when it runs again. */
void Front::onEngineSilent()
{
    qCWarning(lcDaemon) << "the mail store has not come back for a minute; what is under way ends";
    const QList<int> ids = m_table.openRequests();
    for (int id : ids)
        abortRequest(id, Activesync::ServerFailed);
    const QList<quint64> accounts = m_syncing.keys();
    for (quint64 accountId : accounts) {
        endSync(accountId);
        emit syncStopWanted(accountId);
    }
}

void Front::shutDown()
{
    if (m_stopped)
        return;
    m_stopped = true;
    m_timer->stop();
    for (const Check &check : qAsConst(m_checks))
        answer(check, false);
    m_checks.clear();
    const QList<int> ids = m_table.openRequests();
    for (int id : ids)
        finishRequest(id, Activesync::Cancelled);
    const QList<quint64> accounts = m_syncing.keys();
    for (quint64 accountId : accounts)
        endSync(accountId);
    m_state.reset();
    flush();
    emit shutDownDone();
}

void Front::broadcast(const QString &signal, const QVariantList &arguments)
{
    QDBusMessage message = QDBusMessage::createSignal(
        QLatin1String(Activesync::ObjectPath), QLatin1String(Activesync::InterfaceName), signal);
    message.setArguments(arguments);
    m_connection.send(message);
}

void Front::broadcastStatus(quint64 accountId)
{
    QDBusMessage message = QDBusMessage::createSignal(
        QLatin1String(Activesync::ObjectPath), QLatin1String(Activesync::StatusInterfaceName),
        QStringLiteral("accountStatusChanged"));
    message.setArguments({accountId});
    m_connection.send(message);
}

void Front::flush()
{
    // The bus answers in order, so what was sent before this call has left the process.
    m_connection.call(QDBusMessage::createMethodCall(QStringLiteral("org.freedesktop.DBus"),
                                                     QStringLiteral("/org/freedesktop/DBus"),
                                                     QStringLiteral("org.freedesktop.DBus"),
                                                     QStringLiteral("GetId")),
                      QDBus::Block, FlushTimeoutMs);
}

} // namespace Daemon
