// SPDX-License-Identifier: LGPL-2.1-or-later
#include "accounts/syncmemory.h"

#include "daemon/store/syncstatedb.h"

namespace Accounts {

QString deviceId()
{
    Store::SyncStateDb memory;
    return memory.open().ok() ? memory.deviceId() : QString();
}

void forgetRemovedAccounts()
{
    Store::SyncStateDb memory;
    if (memory.open().ok())
        memory.removeVanishedAccounts();
}

} // namespace Accounts
