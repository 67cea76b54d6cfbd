// SPDX-License-Identifier: LGPL-2.1-or-later
#ifndef ACCOUNTS_COMMANDS_FOLDERSCOMMAND_H
#define ACCOUNTS_COMMANDS_FOLDERSCOMMAND_H

#include "accounts/commands/accountcommand.h"

namespace Accounts {

/** Shows an account's folders as the mail store has them. */
class FoldersCommand : public AccountCommand
{
public:
    Manual::Command manual() const override;

private:
    Outcome runFor(const QMailAccountId &id, const QCommandLineParser &parser,
                   Console &console) override;
};

} // namespace Accounts

#endif
