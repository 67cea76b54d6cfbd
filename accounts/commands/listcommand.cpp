// SPDX-License-Identifier: LGPL-2.1-or-later
#include "accounts/commands/listcommand.h"

#include "accounts/accountbook.h"
#include "accounts/console.h"
#include "accounts/report.h"

namespace Accounts {

void ListCommand::declare(QCommandLineParser &) const { }

Outcome ListCommand::run(const QCommandLineParser &, Console &console)
{
    QJsonArray array;
    const QMailAccountIdList ids = AccountBook::accounts();
    for (const QMailAccountId &id : ids) {
        const AccountDetails details = AccountBook::details(id);
        array.append(accountObject(id));
        console.say(QStringLiteral("%1  %2  <%3>  at %4%5")
                        .arg(id.toULongLong(), 3)
                        .arg(details.name, details.settings.email, details.settings.server,
                             details.enabled ? QString() : QStringLiteral("  (not enabled)")));
    }
    if (ids.isEmpty())
        console.say(QStringLiteral("There is no account; \"orvmail-account add\" sets one up."));
    console.give(array);
    return {};
}

} // namespace Accounts
