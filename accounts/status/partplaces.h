// SPDX-License-Identifier: LGPL-2.1-or-later
#ifndef ACCOUNTS_STATUS_PARTPLACES_H
#define ACCOUNTS_STATUS_PARTPLACES_H

#include <QList>
#include <QString>
#include <QStringList>

namespace Accounts {

/** A file by which the session bus starts a service. */
struct BusFile
{
    QString path;
    QString exec; ///< the command line in it
};

/** The files for that name, in the order in which the bus looks for them. */
QList<BusFile> busFiles(const QString &busName);

/** The daemon's unit, with its drop-ins and what enables it, where a user's service manager looks.
 */
QStringList unitFiles();

/** The file of the program that serves the name; empty where none does, or it cannot be seen. */
QString programOf(const QString &busName);

/** The daemon, whether it runs or not, as the session bus would start it; empty: not found. */
QString daemonProgram();

} // namespace Accounts

#endif
