// SPDX-License-Identifier: LGPL-2.1-or-later
#ifndef ACCOUNTS_OUTCOME_H
#define ACCOUNTS_OUTCOME_H

#include <QString>

namespace Accounts {

/** How something ended: what a script gets, and the one line that a person reads. */
struct Outcome
{
    /** The last two are how things are, and no failure of the program, which has told of them. */
    enum Exit { Done = 0, Refused = 1, WrongUsage = 2, Trouble = 3, NotRunning = 4 };

    Exit exit = Done;
    /** What is wrong and what to do about it; empty after Done, and where it has been told. */
    QString text;
    /** The code of the daemon's interface where it was the server that refused, else 0. */
    int code = 0;
    /** The setting that is wrong ("server", "port", "password", ...); empty where it is none. */
    QString setting = {};

    bool ok() const { return exit == Done; }

    static Outcome refused(const QString &text) { return {Refused, text}; }
    static Outcome wrongUsage(const QString &text) { return {WrongUsage, text}; }
    static Outcome wrongSetting(const QString &setting, const QString &text)
    {
        return {WrongUsage, text, 0, setting};
    }
};

} // namespace Accounts

#endif
