// SPDX-License-Identifier: LGPL-2.1-or-later
#ifndef ACCOUNTS_PROGRAM_H
#define ACCOUNTS_PROGRAM_H

#include "accounts/outcome.h"
#include "manual/manual.h"

#include <QStringList>

#include <memory>
#include <vector>

namespace Accounts {

class Command;
class Console;

/** The program orvmail-account: finds the command that is meant and runs it. */
class Program
{
public:
    Program();
    ~Program();

    /** `arguments` as the shell gave them, the program's name first; returns the exit code. */
    int run(const QStringList &arguments);

    Manual::Program manual() const;

private:
    int help(const QString &word, Console &console) const;
    Command *find(const QString &word) const;
    int runCommand(Command &command, const QStringList &arguments, Console &console);
    int conclude(const Outcome &outcome, Console &console) const;

    std::vector<std::unique_ptr<Command>> m_commands;
};

} // namespace Accounts

#endif
