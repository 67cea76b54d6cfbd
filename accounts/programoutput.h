// SPDX-License-Identifier: LGPL-2.1-or-later
#ifndef ACCOUNTS_PROGRAMOUTPUT_H
#define ACCOUNTS_PROGRAMOUTPUT_H

#include <QStringList>

namespace Accounts {

/** What another program has said that was asked something. */
struct ProgramOutput
{
    bool hasRun = false; ///< it is there, and ended in time
    QString out;
    QString error; ///< the first line of its standard error

    /** Runs it, for some seconds at most, in English and without anything to read. */
    static ProgramOutput of(const QString &program, const QStringList &arguments);
};

} // namespace Accounts

#endif
