// SPDX-License-Identifier: LGPL-2.1-or-later
#include "accounts/commands/accountcommand.h"

#include "accounts/commands/arguments.h"
#include "translations/text.h"

namespace Accounts {

Manual::Command AccountCommand::accountManual(const char *name, const QString &summary)
{
    Manual::Command manual(name, summary);
    manual.forms = {{"ACCOUNT", Text::tr("the account's name or number")}};
    return manual;
}

Outcome AccountCommand::run(const QCommandLineParser &parser, Console &console)
{
    QMailAccountId id;
    const Outcome named = findAccount(parser.positionalArguments().value(0), &id);
    return named.ok() ? runFor(id, parser, console) : named;
}

} // namespace Accounts
