// SPDX-License-Identifier: LGPL-2.1-or-later
#ifndef ACCOUNTS_COMMANDS_COMMAND_H
#define ACCOUNTS_COMMANDS_COMMAND_H

#include "accounts/outcome.h"
#include "manual/manual.h"

#include <QCommandLineParser>

namespace Accounts {

class Console;

/** One thing that the program can do; a class for each of its words. */
class Command
{
public:
    virtual ~Command() = default;

    /** Its word, arguments and options. */
    virtual Manual::Command manual() const = 0;
    /** Whether it can do nothing where the mail store cannot be opened. */
    virtual bool needsStore() const { return true; }
    /** The mail store is open, where it is needed; the parser has taken the arguments. */
    virtual Outcome run(const QCommandLineParser &parser, Console &console) = 0;
};

} // namespace Accounts

#endif
