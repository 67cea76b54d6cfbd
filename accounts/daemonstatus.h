// SPDX-License-Identifier: LGPL-2.1-or-later
#ifndef ACCOUNTS_DAEMONSTATUS_H
#define ACCOUNTS_DAEMONSTATUS_H

#include "eas/result.h"

#include <qmailid.h>

#include <optional>

namespace Accounts {

/**
 * Why the daemon's last work for an account failed, with one sentence in words.
 *
 * Nothing where it succeeded, and where no daemon runs or the one that runs cannot tell. Starts
 * none: one that was just started remembers no failure.
 */
std::optional<Eas::Result> lastErrorOf(const QMailAccountId &account);

} // namespace Accounts

#endif
