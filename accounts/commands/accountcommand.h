// SPDX-License-Identifier: LGPL-2.1-or-later
#ifndef ACCOUNTS_COMMANDS_ACCOUNTCOMMAND_H
#define ACCOUNTS_COMMANDS_ACCOUNTCOMMAND_H

#include "accounts/commands/command.h"

#include <qmailid.h>

namespace Accounts {

/** What the program does with one account, which its only argument names. */
class AccountCommand : public Command
{
public:
    Outcome run(const QCommandLineParser &parser, Console &console) override;

protected:
    /** With the argument; whoever has options adds them. */
    static Manual::Command accountManual(const char *name, const QString &summary);
    /** The same, with the account, which exists. */
    virtual Outcome runFor(const QMailAccountId &id, const QCommandLineParser &parser,
                           Console &console) = 0;
};

} // namespace Accounts

#endif
