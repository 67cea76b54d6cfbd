// SPDX-License-Identifier: LGPL-2.1-or-later
#ifndef EAS_STATUS_H
#define EAS_STATUS_H

#include "eas/result.h"

namespace Eas {

/**
 * What a status that all commands share means, [MS-ASCMD] 2.2.2 (101 to 177); ServerFailed for any
 * other number: a command asks here for what it does not know itself.
 */
Result commonStatusResult(int status);

/** A result for a status, with a text in the one form that the log has for it. */
Result statusResult(int code, int status, const char *meaning,
                    Outcome outcome = Outcome::Unspecified);

/** What a status below 101 means that the command does not define: some servers send those of
 * Sync. */
Outcome borrowedOutcome(int status);

/** The server asks to remove the account's data from here. */
Result wipeResult();

} // namespace Eas

#endif
