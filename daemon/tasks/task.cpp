// SPDX-License-Identifier: LGPL-2.1-or-later
#include "daemon/tasks/task.h"

#include "daemon/log/logging.h"
#include "daemon/pacing/alarm.h"
#include "daemon/store/accountguard.h"
#include "daemon/store/storeprobe.h"
#include "eas/command.h"
#include "translations/text.h"

#include <utility>

namespace Daemon {

namespace {

/** A locked store is waited for so long, and asked again so often, in ms. */
constexpr int MaximumLockMs = 10000;
constexpr int LockPollMs = 200;

class UndividedJob : public Store::StoreJob
{
public:
    UndividedJob(const QMailAccountId &account, std::function<Eas::Result()> call)
        : m_account(account)
        , m_call(std::move(call))
    {
    }

    bool step() override
    {
        m_result = Store::AccountGuard::check(m_account);
        if (m_result.ok())
            m_result = m_call();
        return false;
    }
    int progress() const override { return 0; }

private:
    const QMailAccountId m_account;
    const std::function<Eas::Result()> m_call;
};

} // namespace

Task::Task(const AccountContext &context, QObject *parent)
    : QObject(parent)
    , m_context(context)
{
    // A timer and no posted events: if each posts the next one, the sockets starve.
    connect(&m_jobTimer, &QTimer::timeout, this, &Task::stepJob);
}

void Task::proceed()
{
    if (m_child)
        m_child->proceed();
    else
        QTimer::singleShot(0, this, [this] { perform(); });
}

void Task::run(Eas::Command *command, std::function<void()> then)
{
    command->setParent(this);
    connect(command, &Eas::Command::finished, this, [command, then] {
        command->deleteLater();
        then();
    });
    command->start();
}

void Task::run(Task *child, std::function<void(const Eas::Result &)> then)
{
    Q_ASSERT(!m_child);
    child->setParent(this);
    m_child = child;
    connect(child, &Task::paused, this, &Task::paused);
    connect(child, &Task::finished, this, [this, child, then](const Eas::Result &result) {
        m_child = nullptr;
        child->deleteLater();
        then(result);
    });
    child->proceed();
}

void Task::runOrEnd(Task *child, std::function<void()> then)
{
    run(child, [this, then](const Eas::Result &result) {
        if (result.ok())
            then();
        else
            end(result);
    });
}

void Task::run(std::unique_ptr<Store::StoreJob> job, std::function<void(const Eas::Result &)> then)
{
    Q_ASSERT(!m_job);
    m_job = std::move(job);
    m_afterJob = std::move(then);
    m_jobTimer.start(0);
}

void Task::stepJob()
{
    if (!StoreProbe::isWritable()) {
        awaitStore();
        return;
    }
    m_jobTimer.setInterval(0);
    m_locked.invalidate();
    if (m_job->step())
        jobProgressed(m_job->progress());
    else
        endJob(m_job->result());
}

void Task::awaitStore()
{
    m_jobTimer.setInterval(LockPollMs);
    if (!m_locked.isValid())
        m_locked.start();
    if (m_locked.elapsed() >= MaximumLockMs)
        endJob(Eas::failure(Eas::ServerFailed, Eas::Cause::Here,
                            FailureText::english("another process holds the mail store locked")));
}

void Task::endJob(const Eas::Result &result)
{
    m_jobTimer.stop();
    m_locked.invalidate();
    // Kept until `then` is through, which may read its results and run the next one.
    const std::unique_ptr<Store::StoreJob> ended = std::move(m_job);
    const auto then = std::exchange(m_afterJob, nullptr);
    then(result);
}

void Task::write(std::unique_ptr<Store::StoreJob> job, std::function<void()> then)
{
    run(std::move(job), [this, then](const Eas::Result &result) {
        if (result.ok())
            then();
        else
            end(result);
    });
}

std::unique_ptr<Store::StoreJob> Task::undivided(std::function<Eas::Result()> call) const
{
    return std::make_unique<UndividedJob>(m_context.id(), std::move(call));
}

void Task::retryOrFail(const Eas::Result &result, std::function<void()> again)
{
    const std::optional<int> delay = m_retry.nextDelay(result);
    if (!delay) {
        end(result);
        return;
    }
    qCInfo(lcSync) << "account" << m_context.id() << "asks again in" << *delay
                   << "ms:" << result.text;
    Alarm::once(*delay, this, again);
}

void Task::end(const Eas::Result &result)
{
    emit finished(result);
}

} // namespace Daemon
