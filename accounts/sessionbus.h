// SPDX-License-Identifier: LGPL-2.1-or-later
#ifndef ACCOUNTS_SESSIONBUS_H
#define ACCOUNTS_SESSIONBUS_H

namespace Accounts {

/**
 * Sets XDG_RUNTIME_DIR where the environment leads to no session bus and the user has one all the
 * same: cron gives its programs neither that nor DBUS_SESSION_BUS_ADDRESS. Before the first thread.
 */
void findSessionBus();

} // namespace Accounts

#endif
