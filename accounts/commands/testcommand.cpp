// SPDX-License-Identifier: LGPL-2.1-or-later
#include "accounts/commands/testcommand.h"

#include "accounts/accountbook.h"
#include "accounts/advice.h"
#include "accounts/commands/arguments.h"
#include "accounts/console.h"
#include "accounts/logincheck.h"
#include "accounts/syncmemory.h"

#include <QJsonObject>

namespace Accounts {

void TestCommand::declare(QCommandLineParser &parser) const
{
    declareAccountArgument(parser);
}

Outcome TestCommand::run(const QCommandLineParser &parser, Console &console)
{
    QMailAccountId id;
    const Outcome named = readAccountArgument(parser, &id);
    if (!named.ok())
        return named;
    const AccountSettings settings = AccountBook::details(id).settings;
    LoginCheck check(settings, deviceId(), LoginCheck::LoginOnly);
    const Outcome outcome = adviceFor(check.run(), settings);
    if (!outcome.ok())
        return outcome;
    console.say(QStringLiteral("%1 accepts the login and speaks ActiveSync %2.")
                    .arg(settings.server, check.version()));
    console.give(
        QJsonObject {{QStringLiteral("ok"), true}, {QStringLiteral("version"), check.version()}});
    return {};
}

} // namespace Accounts
