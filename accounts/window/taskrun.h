// SPDX-License-Identifier: LGPL-2.1-or-later
#ifndef ACCOUNTS_WINDOW_TASKRUN_H
#define ACCOUNTS_WINDOW_TASKRUN_H

#include "accounts/actions/task.h"

#include <QObject>

#include <functional>
#include <memory>

namespace Accounts {

class WaitingBar;

/** Runs one task after the other, which the bar shows and can cancel. */
class TaskRun : public QObject
{
    Q_OBJECT

public:
    using Ended = std::function<void(const Outcome &outcome)>;

    /** The bar must outlive it. */
    TaskRun(WaitingBar &bar, QObject *parent);
    ~TaskRun() override;

    bool hasTask() const { return bool(m_task); }
    /** Whether no task can be started just now. */
    bool isBusy() const { return m_task || m_isBlocked; }
    /** Something else uses the bar. */
    void setBlocked(bool blocked);
    /** `ended` is called once, from the event loop; the task still lives then. Must not be busy. */
    void start(std::unique_ptr<Task> task, const QString &title, const Ended &ended);
    void cancel();

signals:
    void busyChanged();

private:
    void end();

    WaitingBar &m_bar;
    std::unique_ptr<Task> m_task;
    Ended m_ended;
    bool m_isBlocked = false;
};

} // namespace Accounts

#endif
