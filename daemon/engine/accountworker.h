// SPDX-License-Identifier: LGPL-2.1-or-later
#ifndef DAEMON_ENGINE_ACCOUNTWORKER_H
#define DAEMON_ENGINE_ACCOUNTWORKER_H

#include "daemon/tasks/accountcontext.h"
#include "daemon/tasks/job.h"

#include <QHash>
#include <QList>
#include <QObject>
#include <QPointer>
#include <QTimer>

#include <memory>

namespace Daemon {

class LocalChangeWatch;
class PushWatch;
class RemoteWipe;
class SyncRun;

/**
 * Does the work of one account, one job at a time: those that a person waits for first, then
 * in the order in which they came.
 */
class AccountWorker : public QObject
{
    Q_OBJECT

public:
    /** The database must outlive it. */
    AccountWorker(const Store::AccountRecord &record, Store::SyncStateDb &db, QObject *parent);
    ~AccountWorker() override;

    void accept(const Request &request);
    /** The daemon has just started: carries what was changed here while none ran. Others hear of it
     * as of a synchronisation, also when there is nothing to carry. */
    void catchUp();
    /** The request has ended elsewhere; work that nobody else wants is stopped. */
    void drop(int requestId);
    /** Stops every synchronisation whose requests have ended elsewhere. */
    void stopSync();
    /** The account's settings are these now; work goes on with them. */
    void update(const Store::AccountRecord &record);
    /** Somebody, maybe ourselves, has written to the account's part of the mail store. */
    void storeChanged();
    /** The machine's network is another one. */
    void networkChanged();
    /** Stops all work and ends its requests with the code. */
    void cancelAll(int code);

signals:
    /** How the account's last work has ended, in words that a person understands; always before
     * the end of the request that it was done for. Success has no words. */
    void workEnded(quint64 accountId, int code, const QString &words);
    void requestFinished(int requestId, int code);
    void searchFinished(int requestId, int code, const Activesync::SearchMailboxResult &result);
    void syncBegan(quint64 accountId);
    void syncProgressed(quint64 accountId, int progress);
    void syncEnded(quint64 accountId);

private:
    void connectServer();
    void connectPush();
    void syncForPush(const QStringList &folders);
    void uploadChanges();
    void resumePush(const SyncRun &run, const Eas::Result &result);
    void makeUpForStopped();
    /** Whether a synchronisation waits or is under way. */
    bool isSyncLeft() const;
    void keepSessionState();
    /** The server wants the account's data gone. */
    void wipe();
    /** What does the request. */
    Job *jobFor(const Request &request);
    /** Looks after messages whose sending was interrupted. */
    void recoverOutbox();
    /** Brings the server's copies of what was sent, where nobody watches for them. */
    void fetchSent();
    /** Finds out whether messages that the message server has given up were sent all the same. */
    void checkGivenUp();
    /** Ends a request, after telling how its work has ended. */
    void finishRequest(int requestId, const Eas::Result &result);
    void noteEnd(const Eas::Result &result);
    void enqueue(Job *job);
    void next();
    void run(Job *job);
    Eas::Result checkSettings() const;
    void onPaused();
    void onOver(const Eas::Result &result);
    QList<Job *> jobs() const;
    /** Stops a job where it is. */
    void stop(Job *job);
    /** Lets go of a job that has ended and may still be on the stack. */
    void retire(Job *job);
    void endSync(bool isAnnounced);
    quint64 accountNumber() const { return m_context.id().toULongLong(); }

    AccountContext m_context;
    std::unique_ptr<Eas::Session> m_session;
    std::unique_ptr<LocalChangeWatch> m_changes;
    std::unique_ptr<PushWatch> m_push;  ///< only while the account's push is on
    std::unique_ptr<RemoteWipe> m_wipe; ///< only while the account is emptied
    QList<Job *> m_queue;               ///< those that wait, a paused one first
    Job *m_current = nullptr;
    /** Messages given up that need no other look: when they left last, by client id. */
    QHash<QString, qint64> m_lookedFor;
    QTimer m_sentAwhileAgo;    ///< from the last sending on, until its copy is fetched
    bool m_isLookDue = false;  ///< the mail store has changed while we worked
    QPointer<Job> m_announced; ///< the synchronisation that others know of
};

} // namespace Daemon

#endif
