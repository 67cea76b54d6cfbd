// SPDX-License-Identifier: LGPL-2.1-or-later
#include "daemon/logging.h"

namespace Daemon {

Q_LOGGING_CATEGORY(lcDaemon, "asdaemon", QtInfoMsg)
Q_LOGGING_CATEGORY(lcRequests, "asdaemon.requests", QtInfoMsg)
Q_LOGGING_CATEGORY(lcSync, "asdaemon.sync", QtInfoMsg)

} // namespace Daemon
