// SPDX-License-Identifier: LGPL-2.1-or-later
#ifndef ACCOUNTS_LOSSES_H
#define ACCOUNTS_LOSSES_H

#include <QStringList>

namespace Accounts {

struct AccountView;

/** What goes from this machine with an account that is removed and stays at the server, and what is
 * lost, a line each. */
QStringList lossesOf(const AccountView &account);

} // namespace Accounts

#endif
