// SPDX-License-Identifier: LGPL-2.1-or-later
#include "accounts/commands/synccommand.h"

#include "accounts/accountoutput.h"
#include "accounts/actions/synchronisation.h"
#include "accounts/commands/arguments.h"
#include "accounts/console.h"
#include "accounts/setup/accountbook.h"
#include "translations/text.h"

namespace Accounts {

Manual::Command SyncCommand::manual() const
{
    Manual::Command manual("sync", Text::tr("synchronise an account, or all"));
    manual.paragraphs = {Text::tr(
        "The message server does it, which the session bus starts if need be. What has changed is "
        "told, folder by folder. An interrupt cancels it. Where several accounts are synchronised "
        "and one fails, the others are all the same, and the exit status is 1.")};
    manual.forms = {
        {"[ACCOUNT]", Text::tr("the account's name or number; without it, all that are enabled")}};
    manual.options = {
        {"quiet", "", Text::tr("print nothing but what fails, as cron wants it"), "", "q"},
    };
    return manual;
}

Outcome SyncCommand::run(const QCommandLineParser &parser, Console &console)
{
    console.setQuiet(parser.isSet(QStringLiteral("quiet")));
    if (parser.positionalArguments().isEmpty())
        return runForAll(console);
    QMailAccountId id;
    const Outcome named = findAccount(parser.positionalArguments().first(), &id);
    if (!named.ok())
        return named;
    const Run run = synchronise(id, console);
    if (run.outcome.ok())
        console.give(QJsonObject {{QStringLiteral("folders"), differenceArray(run.differences)}});
    return run.outcome;
}

SyncCommand::Run SyncCommand::synchronise(const QMailAccountId &id, Console &console)
{
    const AccountDetails details = AccountBook::details(id);
    if (details.wiped)
        return {wipedOutcome(details, id)};
    if (!details.enabled)
        return {notEnabledOutcome(details, id)};

    Synchronisation synchronisation(id);
    runSynchronisation(synchronisation, console, details.name);
    const Run run {synchronisation.outcome(), synchronisation.differences(),
                   synchronisation.isCancelled()};
    if (run.outcome.ok() || !run.differences.isEmpty())
        sayDifferences(console, run.differences);
    return run;
}

/** Each failure is told when it happens; an interrupt ends it all. */
Outcome SyncCommand::runForAll(Console &console)
{
    QJsonArray results;
    Outcome::Exit exit = Outcome::Done;
    const QMailAccountIdList ids = AccountBook::accounts();
    for (const QMailAccountId &id : ids) {
        const AccountDetails details = AccountBook::details(id);
        if (!details.enabled)
            continue;
        console.say(details.name + QLatin1Char(':'));
        const Run run = synchronise(id, console);
        const Outcome &outcome = run.outcome;
        QJsonObject result {{QStringLiteral("id"), double(id.toULongLong())},
                            {QStringLiteral("name"), details.name},
                            {QStringLiteral("folders"), differenceArray(run.differences)}};
        if (!outcome.ok()) {
            exit = outcome.exit;
            console.complain(details.name + QLatin1String(": ") + outcome.text);
            result.insert(QStringLiteral("error"), outcome.text);
            result.insert(QStringLiteral("code"), outcome.code);
        }
        results.append(result);
        if (run.isInterrupted) {
            exit = Outcome::Refused;
            break;
        }
    }
    if (results.isEmpty())
        console.say(Text::tr("There is no enabled account; nothing was synchronised."));
    console.give(results);
    return {exit, {}};
}

} // namespace Accounts
