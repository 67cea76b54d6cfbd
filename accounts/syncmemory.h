// SPDX-License-Identifier: LGPL-2.1-or-later
#ifndef ACCOUNTS_SYNCMEMORY_H
#define ACCOUNTS_SYNCMEMORY_H

#include <QString>
#include <QStringList>

namespace Accounts {

/** What the daemon calls this installation at servers; empty where its memory cannot be opened. */
QString deviceId();

/** All that it has been called in this user's folder, on other machines, too. Changes nothing. */
QStringList rememberedDeviceIds();

/**
 * Lets the daemon's memory forget every account that the mail store does not have.
 *
 * A running daemon does so by itself; this is for one that does not run.
 */
void forgetRemovedAccounts();

} // namespace Accounts

#endif
