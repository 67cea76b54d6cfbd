// SPDX-License-Identifier: LGPL-2.1-or-later
#ifndef EAS_LOG_H
#define EAS_LOG_H

#include <QLoggingCategory>

namespace Eas {

/** The protocol: at debug level requests, statuses and what was not understood; never content or
 * passwords. */
Q_DECLARE_LOGGING_CATEGORY(lcEas)

} // namespace Eas

#endif
