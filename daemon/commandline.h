// SPDX-License-Identifier: LGPL-2.1-or-later
#ifndef DAEMON_COMMANDLINE_H
#define DAEMON_COMMANDLINE_H

#include "manual/manual.h"

#include <QString>
#include <QStringList>

namespace Daemon {

/** What the daemon was started with. */
struct CommandLine
{
    /** Where `isOver`: write this and end with `exitCode`. */
    QString text;
    int exitCode = 0;
    bool isOver = false;
    /** Rules for QLoggingCategory::setFilterRules(). */
    QString logRules;
    /** Log what the mail store and Qt say, too. */
    bool logPlatform = false;

    /** Seconds that a server may keep silent; 0: as usual. */
    int patience = 0;
    /** Milliseconds for which changes made here are left alone; 0: as usual. */
    int undoTime = 0;
    /** Put no indexes into the mail store's database. */
    bool noIndexes = false;

    static Manual::Program manual();
    static CommandLine parse(const QStringList &arguments);
};

} // namespace Daemon

#endif
