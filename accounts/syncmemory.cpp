// SPDX-License-Identifier: LGPL-2.1-or-later
#include "accounts/syncmemory.h"

#include "daemon/store/state/accountkeys.h"
#include "daemon/store/state/syncstatedb.h"

namespace Accounts {

QString deviceId()
{
    Store::SyncStateDb memory;
    return memory.open().ok() ? memory.deviceId() : QString();
}

QStringList rememberedDeviceIds()
{
    Store::SyncStateDb memory;
    return memory.openToRead().ok() ? memory.allDeviceIds() : QStringList();
}

void forgetRemovedAccounts()
{
    Store::SyncStateDb memory;
    if (memory.open().ok())
        Store::AccountKeys::removeVanished(memory);
}

} // namespace Accounts
