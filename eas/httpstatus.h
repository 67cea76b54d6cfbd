// SPDX-License-Identifier: LGPL-2.1-or-later
#ifndef EAS_HTTPSTATUS_H
#define EAS_HTTPSTATUS_H

#include "eas/result.h"

#include <QByteArray>

namespace Eas {

/** What an HTTP status of an ActiveSync server means, [MS-ASHTTP] 2.2.2.1.1; Success for 200 alone.
 */
Result httpStatusResult(int status);

/** A result for an HTTP status of which a command knows more. */
Result httpResult(int code, int status, const QString &text);

/**
 * The seconds that a Retry-After header (RFC 7231 7.1.3) asks for, 0 to Limits::RetryAfter; 0 where
 * it is not understood. A date is taken relative to the answer's own Date header.
 */
int retryAfterSeconds(const QByteArray &retryAfter, const QByteArray &date);

} // namespace Eas

#endif
