// SPDX-License-Identifier: LGPL-2.1-or-later
#ifndef ACCOUNTS_COMMANDS_REMOVECOMMAND_H
#define ACCOUNTS_COMMANDS_REMOVECOMMAND_H

#include "accounts/commands/accountcommand.h"

namespace Accounts {

/** Removes an account with its mail, its synchronisation state and its password. */
class RemoveCommand : public AccountCommand
{
public:
    Manual::Command manual() const override;

private:
    Outcome runFor(const QMailAccountId &id, const QCommandLineParser &parser,
                   Console &console) override;
};

} // namespace Accounts

#endif
