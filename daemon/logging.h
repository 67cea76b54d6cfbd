// SPDX-License-Identifier: LGPL-2.1-or-later
#ifndef DAEMON_LOGGING_H
#define DAEMON_LOGGING_H

#include <QLoggingCategory>

namespace Daemon {

Q_DECLARE_LOGGING_CATEGORY(lcDaemon)   ///< start, end, accounts, settings that are wrong
Q_DECLARE_LOGGING_CATEGORY(lcRequests) ///< calls and their ends
Q_DECLARE_LOGGING_CATEGORY(lcSync)     ///< what a synchronisation does

} // namespace Daemon

#endif
