// SPDX-License-Identifier: LGPL-2.1-or-later
#ifndef DAEMON_TASKS_TASK_H
#define DAEMON_TASKS_TASK_H

#include "daemon/store/storejob.h"
#include "daemon/tasks/accountcontext.h"
#include "daemon/tasks/retry.h"

#include <QObject>

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
 * Ends with finished(), or stops after something was written with paused() and goes on with the
 * next proceed(). Deleting it stops its command and its job.
 */
class Task : public QObject
{
    Q_OBJECT

public:
    Task(const AccountContext &context, QObject *parent);

    virtual void proceed() = 0;
    /** Whether the server brought anything that was not known here already. */
    bool hasBroughtNews() const { return m_broughtNews; }

signals:
    void paused();
    /** `local`: what failed is the mail store here, and not this step's thing at the server. */
    void finished(const Eas::Result &result, bool local);
    /** 0 to 1000 */
    void progressed(int progress);

protected:
    /** Starts the command, which becomes the step's own, and calls `then` at its end. */
    void start(Eas::Command *command, std::function<void()> then);
    /** Runs the job to its end; calls `then` when it succeeded, else the step is finished. */
    void write(std::unique_ptr<Store::StoreJob> job, std::function<void()> then);
    /** Calls `again` after a delay if that may help, else ends the step with the result. */
    void retryOrFail(const Eas::Result &result, std::function<void()> again);
    /** Ends the step from the event loop. */
    void finishLater(const Eas::Result &result, bool local = false);
    /** The job's own progress, 0 to 1000. */
    virtual void jobProgressed(int) { }

    const AccountContext m_context;
    Retry m_retry;
    bool m_broughtNews = false;
};

} // namespace Daemon

#endif
