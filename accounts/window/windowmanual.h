// SPDX-License-Identifier: LGPL-2.1-or-later
#ifndef ACCOUNTS_WINDOW_WINDOWMANUAL_H
#define ACCOUNTS_WINDOW_WINDOWMANUAL_H

#include "manual/manual.h"

namespace Accounts {

/** What orvmail-account-window tells of itself. */
Manual::Program windowManual();

} // namespace Accounts

#endif
