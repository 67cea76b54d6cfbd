// SPDX-License-Identifier: LGPL-2.1-or-later
#ifndef ACCOUNTS_COMMANDS_PASSWORDPROGRAM_H
#define ACCOUNTS_COMMANDS_PASSWORDPROGRAM_H

#include "accounts/outcome.h"

namespace Accounts {

/**
 * The first line of what the shell prints for `command`, which a password manager may be.
 *
 * The command has our standard input and standard error, so that it can ask the person. It is never
 * quoted in what is told, as there may be a password in it.
 */
Outcome runPasswordProgram(const QString &command, QString *password);

} // namespace Accounts

#endif
