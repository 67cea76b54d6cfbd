// SPDX-License-Identifier: LGPL-2.1-or-later
#ifndef DAEMON_STORE_STOREFAILURE_H
#define DAEMON_STORE_STOREFAILURE_H

#include "eas/result.h"

namespace Store {

/** The error of a write that failed here: NoRoom where the disk is full, else ServerFailed. */
Eas::Result storeFailure(const QString &what);

/**
 * Success if so many bytes of content can be written, else NoRoom.
 *
 * To be asked before messages are written: on a full disk the mail store may keep a message whose
 * content was cut, and call that a success.
 */
Eas::Result checkRoom(qint64 bytes);

} // namespace Store

#endif
