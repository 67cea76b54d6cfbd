// SPDX-License-Identifier: LGPL-2.1-or-later
#ifndef ACCOUNTS_COMMANDS_STATUSCOMMAND_H
#define ACCOUNTS_COMMANDS_STATUSCOMMAND_H

#include "accounts/commands/command.h"

#include <qmailid.h>

namespace Accounts {

/** Tells whether mail comes and goes, and if not, why. */
class StatusCommand : public Command
{
public:
    Manual::Command manual() const override;
    Outcome run(const QCommandLineParser &parser, Console &console) override;

private:
    static Outcome watch(const QMailAccountIdList &wanted, Console &console);
};

} // namespace Accounts

#endif
