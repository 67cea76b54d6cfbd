// SPDX-License-Identifier: LGPL-2.1-or-later
#ifndef DAEMON_STORE_MESSAGEFLAGS_H
#define DAEMON_STORE_MESSAGEFLAGS_H

#include "daemon/store/state/folderkeys.h"

namespace Store {

/** The flags that every message of the folder has. Not Outbox: the message server would send it. */
quint64 messageFlags(const FolderState &folder);

} // namespace Store

#endif
