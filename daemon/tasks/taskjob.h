// SPDX-License-Identifier: LGPL-2.1-or-later
#ifndef DAEMON_TASKS_TASKJOB_H
#define DAEMON_TASKS_TASKJOB_H

#include "daemon/tasks/job.h"

#include <memory>

namespace Daemon {

class Task;

/**
 * One thing that a person waits for: a single task, and the requests that its end answers.
 *
 * Requests for the same thing that come meanwhile are answered together.
 */
class TaskJob : public Job
{
    Q_OBJECT

public:
    TaskJob(std::unique_ptr<Task> step, const Request &request, QObject *parent);
    ~TaskJob() override;

    bool isUrgent() const override { return true; }
    QList<Request> requests() const override { return m_requests; }
    bool join(const Request &request) override;
    bool drop(int requestId) override;
    void proceed() override;

signals:
    /** Somebody else wants the same now. */
    void joined();

protected:
    /** Tells a request of its end. */
    virtual void answer(const Request &request, const Eas::Result &result);
    const Task *step() const { return m_step.get(); }

private:
    void onFinished(const Eas::Result &result);

    std::unique_ptr<Task> m_step;
    QList<Request> m_requests;
};

} // namespace Daemon

#endif
