// SPDX-License-Identifier: LGPL-2.1-or-later
#ifndef DAEMON_TASKS_ACCOUNTCONTEXT_H
#define DAEMON_TASKS_ACCOUNTCONTEXT_H

#include "daemon/store/accountrecord.h"
#include "daemon/store/syncstatedb.h"
#include "eas/session.h"

namespace Daemon {

/** What an account's work needs of its account; the worker owns the session and outlives the work.
 */
struct AccountContext
{
    Store::AccountRecord record;
    Eas::Session *session = nullptr;
    Store::SyncStateDb *db = nullptr;

    QMailAccountId id() const { return record.id; }
};

} // namespace Daemon

#endif
