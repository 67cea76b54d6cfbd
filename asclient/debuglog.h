// SPDX-License-Identifier: LGPL-2.1-or-later
#ifndef ASCLIENT_DEBUGLOG_H
#define ASCLIENT_DEBUGLOG_H

namespace Activesync {

/** Set to "1" in the daemon's environment, it has the daemon keep a debug log. */
constexpr char DebugVariable[] = "ASDAEMON_DEBUG";
/** The debug log in the mail store's folder, and the file that it becomes when it is full. */
constexpr char DebugLogName[] = "asdaemon.log";
constexpr char FormerDebugLogName[] = "asdaemon.log.old";

} // namespace Activesync

#endif
