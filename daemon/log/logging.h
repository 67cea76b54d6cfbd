// SPDX-License-Identifier: LGPL-2.1-or-later
#ifndef DAEMON_LOG_LOGGING_H
#define DAEMON_LOG_LOGGING_H

#include <QLoggingCategory>
#include <QString>

namespace Daemon {

Q_DECLARE_LOGGING_CATEGORY(lcDaemon)   ///< start, end, accounts, settings that are wrong
Q_DECLARE_LOGGING_CATEGORY(lcRequests) ///< calls and their ends
Q_DECLARE_LOGGING_CATEGORY(lcSync)     ///< what a synchronisation does

/**
 * Starts logging to standard error: each category's information and warnings, and everything of
 * those that the rules name. Where that is the journal, each line has its priority.
 * Mail addresses and URLs are left out.
 *
 * What the mail store and Qt log is left out unless it is asked for: the store's warnings quote
 * what it writes, which is people's mail.
 */
void startLogging(const QString &rules, bool withPlatform);

/**
 * Has everything of our own categories written into a file as well, from now on.
 *
 * `path`, `formerPath`: see LogFile.
 */
void startDebugLog(const QString &path, const QString &formerPath);

} // namespace Daemon

#endif
