// SPDX-License-Identifier: LGPL-2.1-or-later
#include "daemon/tasks/accountcontext.h"

#include "daemon/store/state/accountkeys.h"
#include "daemon/store/state/folderkeys.h"
#include "daemon/store/state/unconfirmedmessages.h"

namespace Daemon {

Store::AccountKeys AccountContext::keys() const
{
    return {*db, id()};
}

Store::FolderKeys AccountContext::folders() const
{
    return {*db, id()};
}

Store::UnconfirmedMessages AccountContext::unconfirmed() const
{
    return {*db, id()};
}

} // namespace Daemon
