// SPDX-License-Identifier: LGPL-2.1-or-later
#ifndef DAEMON_TASKS_JOB_H
#define DAEMON_TASKS_JOB_H

#include "daemon/bus/request.h"
#include "daemon/tasks/syncstep.h"
#include "daemon/tasks/task.h"

#include <QSet>

namespace Daemon {

/**
 * A task with the requests that its end answers; some of them it may answer before.
 *
 * The account's worker runs one at a time and owns them. As another task's child it is one without
 * requests.
 */
class Job : public Task
{
    Q_OBJECT

public:
    using Task::Task;

    /** Whether a person waits for it, so that it goes before everything else. */
    virtual bool isUrgent() const { return true; }
    /** The requests that it has not answered yet. */
    QList<Request> requests() const;
    /** Takes in a request that it answers. */
    virtual void add(const Request &request);
    /** Takes in a request that it answers, too; whether it did. */
    bool join(const Request &request);
    /** A request has ended by other means; true when nothing else wants the job's work. */
    virtual bool drop(int requestId);
    /** Answers all requests that are left. */
    void answerAll(const Eas::Result &result);

signals:
    /** Its work is over, and what is left of its requests is told so next. A synchronisation has
     * told its own by then. */
    void ending();

protected:
    /** A request, and the parts of a synchronisation that it still waits for. */
    struct Waiter
    {
        Request request;
        QSet<SyncStep> steps = {};
        /** Its folders are known only when the tree is. */
        bool awaitsTree = false;
        Eas::Result failure = {};
    };

    /** Whether this request may join; by default what asks for the same. */
    virtual bool mayJoin(const Request &request) const;
    /** Tells a request's end. */
    virtual void answer(const Request &request, const Eas::Result &result);
    /** Answers those early that do not wait for any part any more. */
    void answerReady();
    void end(const Eas::Result &result) override;

    QList<Waiter> m_waiters;
};

} // namespace Daemon

#endif
