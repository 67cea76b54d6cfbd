// SPDX-License-Identifier: LGPL-2.1-or-later
#include "accounts/commands/testcommand.h"

#include "accounts/accountbook.h"
#include "accounts/advice.h"
#include "accounts/commands/arguments.h"
#include "accounts/console.h"
#include "accounts/daemonstatus.h"
#include "accounts/logincheck.h"
#include "accounts/partstarter.h"
#include "accounts/syncmemory.h"
#include "accounts/waiting.h"

#include <QJsonObject>

namespace Accounts {

void TestCommand::declare(QCommandLineParser &parser) const
{
    declareAccountArgument(parser);
    declareTimeOption(parser);
}

Outcome TestCommand::run(const QCommandLineParser &parser, Console &console)
{
    QMailAccountId id;
    const Outcome named = readAccountArgument(parser, &id);
    if (!named.ok())
        return named;
    const AccountDetails details = AccountBook::details(id);
    if (details.wiped)
        return wipedOutcome(details);
    LoginCheck check(details.settings, deviceId(), LoginCheck::LoginOnly);
    const Outcome outcome = runCheck(check, parser, console, details.settings);
    if (!outcome.ok())
        return outcome;
    console.say(QStringLiteral("%1 accepts the login and speaks ActiveSync %2.")
                    .arg(details.settings.server, check.version()));
    const QString problem = details.enabled ? problemHere(id, console) : QString();
    QJsonObject result {{QStringLiteral("ok"), true}, {QStringLiteral("version"), check.version()}};
    if (!problem.isEmpty()) {
        console.say(problem);
        result.insert(QStringLiteral("problem"), problem);
    }
    console.give(result);
    return {};
}

/** Why no mail may come although the server is right: what is missing here, or what went wrong
 * last; empty where there is nothing to tell. */
QString TestCommand::problemHere(const QMailAccountId &id, Console &console)
{
    PartStarter parts;
    Waiting(console, QStringLiteral("Starting the message server")).run(parts);
    if (!parts.outcome().ok())
        return QStringLiteral("But no mail can come: %1.").arg(parts.outcome().text);
    const std::optional<Eas::Result> error = lastErrorOf(id);
    if (!error || error->code == Eas::Cancelled)
        return {};
    return QStringLiteral("But what was last done for it failed: %1.")
        .arg(adviceForLastError(*error, AccountBook::details(id).settings).text);
}

} // namespace Accounts
