// SPDX-License-Identifier: LGPL-2.1-or-later
#ifndef DAEMON_TASKS_STORECALL_H
#define DAEMON_TASKS_STORECALL_H

#include "daemon/store/accountguard.h"
#include "daemon/store/storejob.h"

#include <functional>

namespace Daemon {

/** A write to the mail store that cannot be divided, as a job. */
class StoreCall : public Store::StoreJob
{
public:
    StoreCall(const QMailAccountId &account, std::function<Eas::Result()> call)
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

} // namespace Daemon

#endif
