// SPDX-License-Identifier: LGPL-2.1-or-later
#include "daemon/tasks/storejobrunner.h"

#include "daemon/tasks/storeprobe.h"

namespace Daemon {

StoreJobRunner::StoreJobRunner(std::unique_ptr<Store::StoreJob> job, QObject *parent)
    : QObject(parent)
    , m_job(std::move(job))
{
    // A timer, not a posted event: those that post the next one starve the sockets.
    connect(&m_timer, &QTimer::timeout, this, &StoreJobRunner::step);
}

void StoreJobRunner::start()
{
    m_timer.start(0);
}

/** True while there is nothing to do but to wait. */
bool StoreJobRunner::waitForStore()
{
    if (StoreProbe::isWritable()) {
        m_timer.setInterval(0);
        m_locked.invalidate();
        return false;
    }
    m_timer.setInterval(LockPollMs);
    if (!m_locked.isValid())
        m_locked.start();
    return m_locked.elapsed() < MaximumLockMs;
}

void StoreJobRunner::step()
{
    if (waitForStore())
        return;
    if (m_locked.isValid()) {
        m_timer.stop();
        emit finished(Eas::failure(Eas::ServerFailed, Eas::Cause::Here,
                                   QStringLiteral("another process holds the mail store locked")));
        return;
    }
    if (m_job->step()) {
        emit progressed(m_job->progress());
        return;
    }
    m_timer.stop();
    emit finished(m_job->result());
}

} // namespace Daemon
