// SPDX-License-Identifier: LGPL-2.1-or-later
#ifndef DAEMON_STORE_ACCOUNTGUARD_H
#define DAEMON_STORE_ACCOUNTGUARD_H

#include "eas/result.h"

#include <qmailid.h>

namespace Store {

/** Keeps from writing for accounts that were removed or disabled meanwhile. */
namespace AccountGuard {

/** Success, or Cancelled; asks the store's file, not what this process remembers. */
Eas::Result check(const QMailAccountId &account);

} // namespace AccountGuard

} // namespace Store

#endif
