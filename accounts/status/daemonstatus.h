// SPDX-License-Identifier: LGPL-2.1-or-later
#ifndef ACCOUNTS_STATUS_DAEMONSTATUS_H
#define ACCOUNTS_STATUS_DAEMONSTATUS_H

#include "accounts/outcome.h"
#include "asclient/accountstatus.h"
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

/**
 * How the account fares, as the daemon that runs tells it. Starts none.
 *
 * Nothing where none runs, where it does not serve the account, or is of an earlier version.
 */
std::optional<Activesync::AccountStatus> daemonStatusOf(const QMailAccountId &account);

/** The same without the daemon, as far as the mail store and its own memory know it; refused
 * where that cannot be read. */
Outcome readRememberedStatus(const QMailAccountId &account, Activesync::AccountStatus *status);

/** Whether a daemon runs that does not tell what it does: one that hangs, or an earlier one. */
bool isDaemonSilent(const QMailAccountId &account);

/** The daemon that runs; no version where none does, or where it is an earlier one. */
struct DaemonInfo
{
    QString version;
    qint64 since = 0; ///< UTC seconds since 1970
};
DaemonInfo daemonInfo();

} // namespace Accounts

#endif
