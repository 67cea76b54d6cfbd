// SPDX-License-Identifier: LGPL-2.1-or-later
#ifndef ACCOUNTS_PROGRAMMANUAL_H
#define ACCOUNTS_PROGRAMMANUAL_H

#include "manual/manual.h"

namespace Accounts {

/** What orvmail-account tells of itself; each command adds its own. */
Manual::Program programManual();

/** Files and variables that every program knows which opens the mail store. */
Manual::Section storeFiles();
Manual::Section storeEnvironment();

} // namespace Accounts

#endif
