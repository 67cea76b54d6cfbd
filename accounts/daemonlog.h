// SPDX-License-Identifier: LGPL-2.1-or-later
#ifndef ACCOUNTS_DAEMONLOG_H
#define ACCOUNTS_DAEMONLOG_H

#include <QStringList>

namespace Accounts {

/**
 * What the daemon has said, in its own words alone: what Qt and QMF say through it (--log platform)
 * quotes people's mail, and is left out.
 */
struct DaemonLog
{
    QStringList lines; ///< with their times, the oldest first
    QString remark;    ///< why there are none, or what was left out; may be empty

    /** The last of the journal, of this user's daemon. */
    static DaemonLog journal();
    /** The last of the debug log, where one was kept. */
    static DaemonLog debugLog();
    /** `lines` of the journal, as journalctl prints them with "--output short-iso". */
    static DaemonLog ofJournal(const QStringList &lines);
};

} // namespace Accounts

#endif
