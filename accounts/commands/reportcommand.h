// SPDX-License-Identifier: LGPL-2.1-or-later
#ifndef ACCOUNTS_COMMANDS_REPORTCOMMAND_H
#define ACCOUNTS_COMMANDS_REPORTCOMMAND_H

#include "accounts/commands/command.h"

namespace Accounts {

/** Writes what is needed to find out what is wrong into a file, after it has shown it. */
class ReportCommand : public Command
{
public:
    Manual::Command manual() const override;
    /** A store that cannot be opened may be what is wrong. */
    bool needsStore() const override { return false; }
    Outcome run(const QCommandLineParser &parser, Console &console) override;

private:
    /** Asks the person, where there is one, about writing it and replacing what is there. */
    static Outcome confirm(const QString &path, bool isThere, const QCommandLineParser &parser,
                           Console &console);
    static Outcome write(const QString &path, bool isThere, const QString &text);
};

} // namespace Accounts

#endif
