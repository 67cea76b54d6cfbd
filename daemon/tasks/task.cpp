// SPDX-License-Identifier: LGPL-2.1-or-later
#include "daemon/tasks/task.h"

#include "daemon/bus/logging.h"
#include "daemon/tasks/alarm.h"
#include "daemon/tasks/storejobrunner.h"
#include "eas/command.h"

#include <QTimer>

namespace Daemon {

Task::Task(const AccountContext &context, QObject *parent)
    : QObject(parent)
    , m_context(context)
{
}

void Task::start(Eas::Command *command, std::function<void()> then)
{
    command->setParent(this);
    connect(command, &Eas::Command::finished, this, [command, then] {
        command->deleteLater();
        then();
    });
    command->start();
}

void Task::write(std::unique_ptr<Store::StoreJob> job, std::function<void()> then)
{
    auto *runner = new StoreJobRunner(std::move(job), this);
    connect(runner, &StoreJobRunner::progressed, this, &Task::jobProgressed);
    connect(runner, &StoreJobRunner::finished, this,
            [this, runner, then](const Eas::Result &result) {
                runner->deleteLater();
                if (result.ok())
                    then();
                else
                    emit finished(result, result.code != Eas::NotFound);
            });
    runner->start();
}

void Task::retryOrFail(const Eas::Result &result, std::function<void()> again)
{
    const std::optional<int> delay = m_retry.nextDelay(result);
    if (!delay) {
        emit finished(result, false);
        return;
    }
    qCInfo(lcSync) << "account" << m_context.id() << "asks again in" << *delay
                   << "ms:" << result.text;
    Alarm::once(*delay, this, again);
}

void Task::finishLater(const Eas::Result &result, bool local)
{
    QTimer::singleShot(0, this, [this, result, local] { emit finished(result, local); });
}

} // namespace Daemon
