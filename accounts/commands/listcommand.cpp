// SPDX-License-Identifier: LGPL-2.1-or-later
#include "accounts/commands/listcommand.h"

#include "accounts/accountoutput.h"
#include "accounts/console.h"
#include "accounts/setup/accountbook.h"
#include "translations/text.h"

namespace Accounts {

Manual::Command ListCommand::manual() const
{
    return {"list", Text::tr("show all accounts")};
}

Outcome ListCommand::run(const QCommandLineParser &, Console &console)
{
    QJsonArray array;
    const QMailAccountIdList ids = AccountBook::accounts();
    for (const QMailAccountId &id : ids) {
        const AccountDetails details = AccountBook::details(id);
        array.append(accountObject(id));
        console.say((details.enabled ? Text::tr("%1  %2  <%3>  at %4")
                                     : Text::tr("%1  %2  <%3>  at %4  (not enabled)"))
                        .arg(id.toULongLong(), 3)
                        .arg(details.name, details.settings.email, details.settings.server));
    }
    if (ids.isEmpty())
        console.say(Text::tr("There is no account; \"orvmail-account add\" sets one up."));
    console.give(array);
    return {};
}

} // namespace Accounts
