// SPDX-License-Identifier: LGPL-2.1-or-later
#include "accounts/commands/statuscommand.h"

#include "accounts/commands/arguments.h"
#include "accounts/console.h"
#include "accounts/setup/accountbook.h"
#include "accounts/status/statusview.h"
#include "accounts/status/statuswatch.h"
#include "asclient/signalwatcher.h"
#include "translations/text.h"

#include <QEventLoop>

namespace Accounts {

namespace {

/** All that is told at a time. */
struct Snapshot
{
    PartsView parts;
    QList<AccountView> accounts;

    /** `wanted`: these accounts; none: all. */
    static Snapshot take(const QMailAccountIdList &wanted)
    {
        Snapshot snapshot;
        snapshot.parts = PartsView::now();
        const QMailAccountIdList all = AccountBook::accounts();
        for (const QMailAccountId &id : all) {
            if (wanted.isEmpty() || wanted.contains(id))
                snapshot.accounts.append(AccountView::of(id));
        }
        return snapshot;
    }

    QJsonObject object() const { return objectOf(parts, accounts); }
    QStringList lines() const
    {
        QStringList lines = linesOf(parts);
        for (const AccountView &account : accounts)
            lines += QStringList(QString()) + linesOf(account);
        if (accounts.isEmpty())
            lines += Text::tr("There is no account; \"orvmail-account add\" sets one up.");
        return lines;
    }
    Outcome outcome() const
    {
        bool isWanted = false;
        bool isTrouble = false;
        for (const AccountView &account : accounts) {
            isWanted = isWanted || account.details.enabled;
            const bool isOff = !account.details.enabled && !account.details.wiped;
            isTrouble = isTrouble || (!isOff && !account.problems().isEmpty());
        }
        Outcome outcome;
        if (isWanted && !parts.areRunning())
            outcome.exit = Outcome::NotRunning;
        else if (isTrouble)
            outcome.exit = Outcome::Trouble;
        return outcome;
    }
    void show(Console &console) const
    {
        const QStringList all = lines();
        for (const QString &line : all)
            console.say(line);
        console.give(object());
    }
};

} // namespace

Manual::Command StatusCommand::manual() const
{
    Manual::Command manual("status", Text::tr("tell whether mail comes and goes, and why not"));
    manual.paragraphs = {Text::tr(
        "Starts nothing. Where no daemon runs, what is known from before is told: how the last "
        "synchronisation ended, whether the password was refused, and what waits to be sent.")};
    manual.forms = {
        {"[ACCOUNT]", Text::tr("the account's name or number; without it, all are told of")}};
    manual.options = {
        {"watch", "", Text::tr("tell it again whenever it changes, until an interrupt")}};
    manual.sections = {{Text::tr("Exit status"),
                        {{"0", Text::tr("all is well")},
                         {"3", Text::tr("an account needs you")},
                         {"4",
                          Text::tr("the message server or the daemon does not run, or the "
                                   "message server has not loaded the plugin")}}}};
    return manual;
}

Outcome StatusCommand::run(const QCommandLineParser &parser, Console &console)
{
    QMailAccountIdList wanted;
    if (!parser.positionalArguments().isEmpty()) {
        QMailAccountId id;
        const Outcome named = findAccount(parser.positionalArguments().first(), &id);
        if (!named.ok())
            return named;
        wanted.append(id);
    }
    if (parser.isSet(QStringLiteral("watch")))
        return watch(wanted, console);
    const Snapshot snapshot = Snapshot::take(wanted);
    snapshot.show(console);
    return snapshot.outcome();
}

Outcome StatusCommand::watch(const QMailAccountIdList &wanted, Console &console)
{
    // Before the first look, so that nothing is missed in between.
    StatusWatch watch;
    Snapshot shown = Snapshot::take(wanted);
    shown.show(console);
    QObject::connect(&watch, &StatusWatch::changed, &watch, [&] {
        const Snapshot now = Snapshot::take(wanted);
        if (now.object() == shown.object())
            return;
        console.say(QString());
        now.show(console);
        shown = now;
    });
    Activesync::SignalWatcher watcher;
    QEventLoop loop;
    QObject::connect(&watcher, &Activesync::SignalWatcher::endWanted, &loop, &QEventLoop::quit);
    loop.exec();
    return shown.outcome();
}

} // namespace Accounts
