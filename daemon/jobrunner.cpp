// SPDX-License-Identifier: LGPL-2.1-or-later
#include "daemon/jobrunner.h"

#include "daemon/accountcontext.h"

namespace Daemon {

JobRunner::JobRunner(std::unique_ptr<Store::StoreJob> job, const QMailAccountId &account,
                     QObject *parent)
    : QObject(parent)
    , m_job(std::move(job))
    , m_account(account)
{
    // A timer, not a posted event: those that post the next one starve the sockets.
    connect(&m_timer, &QTimer::timeout, this, &JobRunner::step);
}

void JobRunner::start()
{
    m_timer.start(0);
}

void JobRunner::step()
{
    if (!isAccountEnabled(m_account)) {
        m_timer.stop();
        emit finished({Eas::Cancelled, QStringLiteral("the account is not enabled any more")});
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
