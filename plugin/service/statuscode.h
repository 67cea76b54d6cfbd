// SPDX-License-Identifier: LGPL-2.1-or-later
#ifndef PLUGIN_SERVICE_STATUSCODE_H
#define PLUGIN_SERVICE_STATUSCODE_H

#include <qmailserviceaction.h>

/**
 * Translates the daemon's result code into the message server's error code; the only place that
 * does. A code that is not known is a configuration error (1037).
 *
 * Writes one log line for every translation that is not ErrNoError.
 */
QMailServiceAction::Status::ErrorCode statusErrorCode(int daemonCode);

/** Whether an end with this code is reported by the activity alone, without a status. */
bool isPlainSuccess(int daemonCode);

#endif
