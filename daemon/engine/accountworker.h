// SPDX-License-Identifier: LGPL-2.1-or-later
#ifndef DAEMON_ENGINE_ACCOUNTWORKER_H
#define DAEMON_ENGINE_ACCOUNTWORKER_H

#include "daemon/send/takenbackmails.h"
#include "daemon/tasks/accountcontext.h"
#include "daemon/tasks/job.h"

#include <QHash>
#include <QList>
#include <QObject>
#include <QTimer>

#include <memory>

namespace Daemon {

class LocalChangeWatch;
class PushWatch;
class RemoteWipe;
class StatusRecorder;
class SyncRun;
class WorkReport;

/**
 * Does the work of one account, one job at a time: those that a person waits for first, then
 * in the order in which they came.
 */
class AccountWorker : public QObject
{
    Q_OBJECT

public:
    /** Database and report must outlive it. */
    AccountWorker(const Store::AccountRecord &record, Store::SyncStateDb &db, WorkReport &report,
                  QObject *parent);
    ~AccountWorker() override;

    void accept(const Request &request);
    /** The daemon has just started: carries what was changed here while none ran. It is announced
     * as a synchronisation, also when there is nothing to carry. */
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
    /** Whether somebody waits for the end of its work. */
    bool isAwaited() const;
    /** Stops all work and ends its requests with the code. */
    void cancelAll(int code);

private:
    void connectServer();
    void connectPush();
    void connectStatus();
    void syncForPush(const QStringList &folders);
    /** A request of the daemon's own. */
    Request ownRequest(RequestKind kind) const;
    void resumePush(const SyncRun &run, const Eas::Result &result);
    void makeUpForStopped();
    /** Whether a synchronisation waits or is under way. */
    bool isSyncLeft() const;
    void keepSessionState();
    /** The server wants the account's data gone. */
    void wipe();
    /** What does a request of this kind. */
    Job *jobFor(const Request &request);
    /** Messages that somebody wants sent, and of which the end is not known yet; without that of
     * `over`, whose end is. */
    QSet<QMailMessageId> messagesToSend(const Job *over = nullptr) const;
    /** Looks after messages whose sending was interrupted. */
    void recoverOutbox();
    /** Brings the server's copies of what was sent, where push does not watch for them. */
    void fetchSent();
    /** Finds out whether messages that the message server has given up were sent all the same. */
    void checkGivenUp();
    void enqueue(Job *job);
    void next();
    void run(Job *job);
    Eas::Result checkSettings() const;
    void onPaused();
    void onFinished(const Eas::Result &result);
    QList<Job *> jobs() const;
    /** Stops a job where it is. */
    void stop(Job *job);
    /** A job ends: where its mail was taken back and not sent, the message server puts it back. */
    void noteSendingEnd(const Job *job, bool isSent = false);
    void stopIf(const std::function<bool(Job *)> &isMeant);
    /** Lets go of a job that has ended and may still be on the stack. */
    void retire(Job *job);
    quint64 accountNumber() const { return m_context.id().toULongLong(); }

    AccountContext m_context;
    std::unique_ptr<Eas::Session> m_session;
    std::unique_ptr<StatusRecorder> m_status;
    std::unique_ptr<LocalChangeWatch> m_changes;
    std::unique_ptr<PushWatch> m_push;  ///< only while the account's push is on
    std::unique_ptr<RemoteWipe> m_wipe; ///< only while the account is emptied
    QList<Job *> m_queue;               ///< those that wait, a paused one first
    Job *m_current = nullptr;
    /** Messages given up that need no other look: when they left last, by client id. */
    QHash<QString, qint64> m_lookedFor;
    TakenBackMails m_takenBack;
    QTimer m_sentAwhileAgo;   ///< from the last sending on, until its copy is fetched
    bool m_isLookDue = false; ///< the mail store has changed while we worked
};

} // namespace Daemon

#endif
