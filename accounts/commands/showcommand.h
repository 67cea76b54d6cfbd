// SPDX-License-Identifier: LGPL-2.1-or-later
#ifndef ACCOUNTS_COMMANDS_SHOWCOMMAND_H
#define ACCOUNTS_COMMANDS_SHOWCOMMAND_H

#include "accounts/commands/accountcommand.h"

namespace Accounts {

/** Shows an account's settings; the password is never among them. */
class ShowCommand : public AccountCommand
{
public:
    Manual::Command manual() const override;

private:
    Outcome runFor(const QMailAccountId &id, const QCommandLineParser &parser,
                   Console &console) override;
};

} // namespace Accounts

#endif
