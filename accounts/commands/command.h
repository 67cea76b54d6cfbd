// SPDX-License-Identifier: LGPL-2.1-or-later
#ifndef ACCOUNTS_COMMANDS_COMMAND_H
#define ACCOUNTS_COMMANDS_COMMAND_H

#include "accounts/outcome.h"

#include <QCommandLineParser>

namespace Accounts {

class Console;

/** One thing that the program can do; a class for each of its words. */
class Command
{
public:
    virtual ~Command() = default;

    /** The word. */
    virtual QString name() const = 0;
    /** One line for the overview. */
    virtual QString summary() const = 0;
    /** How many arguments without a dash it takes, at least and at most. */
    virtual int minimumArguments() const { return 0; }
    virtual int maximumArguments() const { return 0; }
    /** Names arguments and options. */
    virtual void declare(QCommandLineParser &parser) const = 0;
    /** The mail store is open; the parser has taken the arguments. */
    virtual Outcome run(const QCommandLineParser &parser, Console &console) = 0;
};

} // namespace Accounts

#endif
