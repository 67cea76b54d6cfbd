// SPDX-License-Identifier: LGPL-2.1-or-later
#ifndef ACCOUNTS_COMMANDS_LISTCOMMAND_H
#define ACCOUNTS_COMMANDS_LISTCOMMAND_H

#include "accounts/commands/command.h"

namespace Accounts {

/** Shows all accounts, one a line. */
class ListCommand : public Command
{
public:
    Manual::Command manual() const override;
    Outcome run(const QCommandLineParser &parser, Console &console) override;
};

} // namespace Accounts

#endif
