// SPDX-License-Identifier: LGPL-2.1-or-later
#include "accounts/window/taskrun.h"

#include "accounts/window/waitingbar.h"

#include <utility>

namespace Accounts {

TaskRun::TaskRun(WaitingBar &bar, QObject *parent)
    : QObject(parent)
    , m_bar(bar)
{
}

TaskRun::~TaskRun() = default;

void TaskRun::setBlocked(bool blocked)
{
    m_isBlocked = blocked;
    emit busyChanged();
}

void TaskRun::start(std::unique_ptr<Task> task, const QString &title, const Ended &ended)
{
    m_task = std::move(task);
    m_ended = ended;
    connect(m_task.get(), &Task::finished, this, &TaskRun::end);
    m_bar.waitFor(title);
    emit busyChanged();
    m_task->start();
}

void TaskRun::cancel()
{
    if (m_task)
        m_task->cancel();
}

void TaskRun::end()
{
    Task *task = m_task.release();
    task->deleteLater();
    m_bar.stop();
    emit busyChanged();
    // What it calls may start the next task.
    const Ended ended = std::move(m_ended);
    ended(task->outcome());
}

} // namespace Accounts
