// SPDX-License-Identifier: LGPL-2.1-or-later
#include "accounts/commands/showcommand.h"

#include "accounts/accountoutput.h"
#include "accounts/console.h"
#include "translations/text.h"

namespace Accounts {

Manual::Command ShowCommand::manual() const
{
    Manual::Command manual = accountManual("show", Text::tr("show the settings of an account"));
    manual.paragraphs = {Text::tr("The password is never among them.")};
    return manual;
}

Outcome ShowCommand::runFor(const QMailAccountId &id, const QCommandLineParser &, Console &console)
{
    sayAccount(console, id);
    console.give(accountObject(id));
    return {};
}

} // namespace Accounts
