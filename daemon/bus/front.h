// SPDX-License-Identifier: LGPL-2.1-or-later
#ifndef DAEMON_BUS_FRONT_H
#define DAEMON_BUS_FRONT_H

#include "asclient/searchmailboxresult.h"
#include "asclient/syncinfoshmwriter.h"
#include "daemon/bus/accounterror.h"
#include "daemon/bus/enginewatch.h"
#include "daemon/bus/requestjournal.h"
#include "daemon/bus/requesttable.h"

#include <QDBusConnection>
#include <QDBusMessage>
#include <QMap>
#include <QObject>
#include <QSet>
#include <QTimer>
#include <QVariantMap>

#include <memory>

namespace Daemon {

/**
 * The daemon's side of the bus: its object, the requests' ids and ends, and the published state.
 *
 * Lives in a thread of its own, so that every call is answered within 200 ms whatever the engine
 * does; both sides talk through queued signals alone. All broadcasts are sent from here, in the
 * order in which the engine told of their causes.
 */
class Front : public QObject
{
    Q_OBJECT

public:
    /** How long a call may wait for the engine's word before it is answered without, in ms. */
    static constexpr int CheckTimeoutMs = 120;

    explicit Front(Clock clock, QObject *parent = nullptr);
    ~Front() override;

    /**
     * Takes the daemon's name on the bus and the published state for this process.
     *
     * Call it in the front's thread. Returns an empty text, or why it cannot be had: another
     * instance serves this user, or there is no bus.
     */
    QString start(const QDBusConnection &connection);

    /** The first request gets the id after this one; call it before start(). */
    void setLastRequestId(int id) { m_table.setLastId(id); }
    /** Asks the engine whether it lives while something is under way; in the front's thread. */
    EngineWatch *engineWatch() const { return m_watch; }

    /** Answers `call` with a request id or -1, now or within CheckTimeoutMs. */
    void accept(const Request &request, const QDBusMessage &call);
    void abortRequest(int id, int code);
    bool isRequestAlive(int id);
    void stopSync(quint64 accountId, int code);
    /** How the account's last work ended: Success and no words where it went well, or none ran. */
    AccountError lastError(quint64 accountId) const { return m_errors.value(accountId); }
    /** An Activesync::AccountStatus as its map; empty where the daemon does not serve it. */
    QVariantMap accountStatus(quint64 accountId) const;
    /** When the daemon began to serve, UTC seconds since 1970. */
    qint64 servesSince() const { return m_servesSince; }

public slots:
    /** The accounts that the daemon serves; the rest is refused. */
    void setAccounts(const QSet<quint64> &accounts);
    /** How an account's work has ended; Success has no words. */
    void noteError(quint64 accountId, int code, const QString &words);
    void setStatus(quint64 accountId, const QVariantMap &status);
    /** The engine's answer to checkWanted(). */
    void resolveCheck(quint64 ticket, bool acceptable);
    /** Ends a request; one that has already ended is left alone. */
    void finishRequest(int id, int code);
    /** Tells what a search found and ends its request; one that failed has found nothing. */
    void finishSearch(int id, int code, const Activesync::SearchMailboxResult &result);
    void beginSync(quint64 accountId);
    /** `progress` is 0 to 1000. */
    void setProgress(quint64 accountId, int progress);
    void endSync(quint64 accountId);
    /** Ends every request as cancelled, clears the state, and answers calls with -1 from now on. */
    void shutDown();

signals:
    /** Does the account exist and is it enabled, does the message (unless 0) exist in it? */
    void checkWanted(quint64 ticket, quint64 accountId, quint64 messageId);
    void requestAccepted(const Daemon::Request &request);
    /** The request has ended without the engine; its work is not wanted any more. */
    void requestDropped(int id);
    void syncStopWanted(quint64 accountId);
    /** shutDown() is done, and all messages are on the bus. */
    void shutDownDone();
    /** The bus has gone away. */
    void busLost();

private slots:
    void onExpired();
    void onEngineSilent();

private:
    struct Check
    {
        Request request;
        QDBusMessage call;
        qint64 deadline;
    };

    void answer(const Check &check, bool acceptable);
    void complete(int id, int code);
    void endSyncsOfLastDaemon();
    void endRequestsOfLastDaemon();
    void broadcast(const QString &signal, const QVariantList &arguments);
    void broadcastStatus(quint64 accountId);
    void armTimer();
    /** Watches the engine while requests or synchronisations are open. */
    void watch();
    void flush();

    Clock m_clock;
    RequestTable m_table;
    RequestJournal m_journal;
    QDBusConnection m_connection;
    std::unique_ptr<SyncInfoShmWriter> m_state;
    QSet<quint64> m_accounts;
    QMap<quint64, Check> m_checks;        ///< by ticket, which is their order
    QMap<quint64, AccountError> m_errors; ///< by account; only failures
    QMap<quint64, QVariantMap> m_status;  ///< by account; of those that are served
    QMap<quint64, int> m_syncing;         ///< progress by account
    qint64 m_servesSince = 0;
    quint64 m_lastTicket = 0;
    QTimer *m_timer;
    EngineWatch *m_watch;
    bool m_stopped = false;
};

} // namespace Daemon

#endif
