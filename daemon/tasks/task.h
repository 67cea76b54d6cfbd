// SPDX-License-Identifier: LGPL-2.1-or-later
#ifndef DAEMON_TASKS_TASK_H
#define DAEMON_TASKS_TASK_H

#include "daemon/pacing/retry.h"
#include "daemon/store/storejob.h"
#include "daemon/tasks/accountcontext.h"

#include <QElapsedTimer>
#include <QObject>
#include <QPointer>
#include <QTimer>

#include <functional>
#include <memory>

namespace Eas {
class Command;
}

namespace Daemon {

/**
 * One thing that is done for an account: a conversation with the server, and its result in the mail
 * store.
 *
 * proceed() begins it. It then ends with finished(), or stops at a good place with paused() and
 * goes on with the next proceed(); both come from the event loop, never from within a call.
 * Deleting it stops at once all that it runs; what it was about to write is not written.
 */
class Task : public QObject
{
    Q_OBJECT

public:
    explicit Task(const AccountContext &context, QObject *parent = nullptr);

    /** Begins, or goes on after a pause. */
    virtual void proceed();

signals:
    /** It has stopped at a good place; a child's pause is its parent's, too. */
    void paused();
    /** Where the mail store here has failed, and not the server, the cause is Here. */
    void finished(const Eas::Result &result);
    /** 0 to 1000 */
    void progressed(int progress);

protected:
    /** Its first turn, and each that follows a pause of its own; the event loop calls it. */
    virtual void perform() = 0;
    /** Runs the command, which becomes its own, and calls `then` at its end. */
    void run(Eas::Command *command, std::function<void()> then);
    /** Runs the task as its child, and calls `then` at its end; one at a time. */
    void run(Task *child, std::function<void(const Eas::Result &)> then);
    /** The same for a task without which it cannot go on: where that fails, it ends. */
    void runOrEnd(Task *child, std::function<void()> then);
    /**
     * Runs the job from the event loop, and calls `then` at its end; one at a time.
     *
     * Waits for a store that another process has locked, and fails when that takes too long.
     */
    void run(std::unique_ptr<Store::StoreJob> job, std::function<void(const Eas::Result &)> then);
    /** The same for a job without which it cannot go on: where that fails, it ends. */
    void write(std::unique_ptr<Store::StoreJob> job, std::function<void()> then);
    /** A write to the account's part of the store that cannot be divided, as a job. */
    std::unique_ptr<Store::StoreJob> undivided(std::function<Eas::Result()> call) const;
    /** Calls `again` after a delay if that may help, else ends with the result. */
    void retryOrFail(const Eas::Result &result, std::function<void()> again);
    virtual void end(const Eas::Result &result);
    /** How far the job is that it runs, 0 to 1000. */
    virtual void jobProgressed(int) { }

    const AccountContext m_context;
    Retry m_retry;

private:
    void stepJob();
    void awaitStore();
    void endJob(const Eas::Result &result);

    QPointer<Task> m_child;
    std::unique_ptr<Store::StoreJob> m_job;
    std::function<void(const Eas::Result &)> m_afterJob;
    QTimer m_jobTimer;
    QElapsedTimer m_locked; ///< valid while another process holds the store locked
};

} // namespace Daemon

#endif
