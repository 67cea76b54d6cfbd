// SPDX-License-Identifier: LGPL-2.1-or-later
#include "accounts/commands/showcommand.h"

#include "accounts/commands/arguments.h"
#include "accounts/console.h"
#include "accounts/report.h"

namespace Accounts {

void ShowCommand::declare(QCommandLineParser &parser) const
{
    declareAccountArgument(parser);
}

Outcome ShowCommand::run(const QCommandLineParser &parser, Console &console)
{
    QMailAccountId id;
    const Outcome named = readAccountArgument(parser, &id);
    if (!named.ok())
        return named;
    sayAccount(console, id);
    console.give(accountObject(id));
    return {};
}

} // namespace Accounts
