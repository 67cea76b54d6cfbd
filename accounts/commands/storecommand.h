// SPDX-License-Identifier: LGPL-2.1-or-later
#ifndef ACCOUNTS_COMMANDS_STORECOMMAND_H
#define ACCOUNTS_COMMANDS_STORECOMMAND_H

#include "accounts/commands/command.h"

namespace Accounts {

/** Shows the indexes that the daemon has put into the mail store's database, and removes them. */
class StoreCommand : public Command
{
public:
    Manual::Command manual() const override;
    Outcome run(const QCommandLineParser &parser, Console &console) override;

private:
    static Outcome list(Console &console);
    static Outcome drop(Console &console);
};

} // namespace Accounts

#endif
