// SPDX-License-Identifier: LGPL-2.1-or-later
#ifndef STORE_STOREFAILURE_H
#define STORE_STOREFAILURE_H

#include "daemon/eas/result.h"

namespace Store {

/** The error of a write that failed here: NoRoom where the disk is full, else ServerFailed. */
Eas::Result storeFailure(const QString &what);

} // namespace Store

#endif
