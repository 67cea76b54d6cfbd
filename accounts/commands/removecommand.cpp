// SPDX-License-Identifier: LGPL-2.1-or-later
#include "accounts/commands/removecommand.h"

#include "accounts/accountoutput.h"
#include "accounts/console.h"
#include "accounts/losses.h"
#include "accounts/setup/accountbook.h"
#include "accounts/status/statusview.h"
#include "translations/text.h"

namespace Accounts {

Manual::Command RemoveCommand::manual() const
{
    Manual::Command manual = accountManual("remove", Text::tr("remove an account with its mail"));
    manual.paragraphs = {Text::tr("What is at the server stays there.")};
    manual.options = {{"yes", "", Text::tr("do not ask")}};
    return manual;
}

Outcome RemoveCommand::runFor(const QMailAccountId &id, const QCommandLineParser &parser,
                              Console &console)
{
    const QJsonObject removed = accountObject(id);
    if (!parser.isSet(QStringLiteral("yes"))) {
        if (!console.isInteractive())
            return Outcome::wrongUsage(
                Text::tr("there is no terminal to ask; give --yes to remove the account"));
        const QStringList losses = lossesOf(AccountView::of(id));
        for (const QString &line : losses)
            console.say(line);
        if (!console.confirm(Text::tr("Remove \"%1\" with all its mail from this machine?")
                                 .arg(AccountBook::details(id).name)))
            return Outcome::refused(Text::tr("nothing was removed"));
    }
    const Outcome outcome = AccountBook::remove(id);
    if (!outcome.ok())
        return outcome;
    console.say(Text::tr("Removed."));
    console.give(QJsonObject {{QStringLiteral("removed"), removed}});
    return {};
}

} // namespace Accounts
