// SPDX-License-Identifier: LGPL-2.1-or-later
#include "accounts/commands/testcommand.h"

#include "accounts/advice.h"
#include "accounts/commands/arguments.h"
#include "accounts/commands/waiting.h"
#include "accounts/console.h"
#include "accounts/setup/accountbook.h"
#include "accounts/setup/logincheck.h"
#include "accounts/status/daemonstatus.h"
#include "accounts/status/partstarter.h"
#include "accounts/syncmemory.h"
#include "translations/text.h"

#include <QJsonObject>

namespace Accounts {

Manual::Command TestCommand::manual() const
{
    Manual::Command manual = accountManual("test", Text::tr("try the login at the server"));
    manual.paragraphs = {Text::tr(
        "Nothing changes, here or there. Where the login works, what is missing on this machine is "
        "told, and why the last work for the account failed.")};
    manual.options = {timeOption()};
    return manual;
}

Outcome TestCommand::runFor(const QMailAccountId &id, const QCommandLineParser &parser,
                            Console &console)
{
    const AccountDetails details = AccountBook::details(id);
    if (details.wiped)
        return wipedOutcome(details, id);
    LoginCheck check(details.settings, deviceId(), LoginCheck::LoginOnly);
    const Outcome outcome = runCheck(check, parser, console, details.settings);
    if (!outcome.ok())
        return outcome;
    console.say(Text::tr("%1 accepts the login and speaks ActiveSync %2.")
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
    Waiting(console, Text::tr("Starting the message server")).run(parts);
    if (!parts.outcome().ok())
        return Text::tr("But no mail can come: %1.").arg(parts.outcome().text);
    const std::optional<Eas::Result> error = lastErrorOf(id);
    if (!error || error->code == Eas::Cancelled)
        return {};
    return Text::tr("But what was last done for it failed: %1.")
        .arg(adviceForLastError(*error, AccountBook::details(id).settings).text);
}

} // namespace Accounts
