// SPDX-License-Identifier: LGPL-2.1-or-later
#include "accounts/commands/removecommand.h"

#include "accounts/accountbook.h"
#include "accounts/commands/arguments.h"
#include "accounts/console.h"
#include "accounts/report.h"

namespace Accounts {

void RemoveCommand::declare(QCommandLineParser &parser) const
{
    declareAccountArgument(parser);
    parser.addOption({QStringLiteral("yes"), QStringLiteral("do not ask")});
}

Outcome RemoveCommand::run(const QCommandLineParser &parser, Console &console)
{
    QMailAccountId id;
    const Outcome named = readAccountArgument(parser, &id);
    if (!named.ok())
        return named;
    const QJsonObject removed = accountObject(id);
    if (!parser.isSet(QStringLiteral("yes"))) {
        if (!console.isInteractive())
            return Outcome::wrongUsage(
                QStringLiteral("there is no terminal to ask; give --yes to remove the account"));
        if (!console.confirm(QStringLiteral("Remove \"%1\" with all its mail from this machine?")
                                 .arg(AccountBook::details(id).name)))
            return Outcome::refused(QStringLiteral("nothing was removed"));
    }
    const Outcome outcome = AccountBook::remove(id);
    if (!outcome.ok())
        return outcome;
    console.say(QStringLiteral("Removed."));
    console.give(QJsonObject {{QStringLiteral("removed"), removed}});
    return {};
}

} // namespace Accounts
