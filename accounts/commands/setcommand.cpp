// SPDX-License-Identifier: LGPL-2.1-or-later
#include "accounts/commands/setcommand.h"

#include "accounts/accountoutput.h"
#include "accounts/commands/arguments.h"
#include "accounts/console.h"
#include "accounts/setup/accountbook.h"
#include "accounts/setup/logincheck.h"
#include "accounts/syncmemory.h"
#include "manual/typedname.h"
#include "translations/text.h"

namespace Accounts {

namespace {

const QString NameOption = QStringLiteral("name");
const QString AskOption = QStringLiteral("ask-password");
const QString FavouriteOption = QStringLiteral("favourite");
const QString NoFavouriteOption = QStringLiteral("no-favourite");

/** A person and a server take their time, in which another program may have changed the account, or
 * the daemon wiped it: what was read before must not come back. */
Outcome refuseOutdated(const QMailAccountId &id, const AccountDetails &before)
{
    if (AccountBook::isStill(id, before))
        return {};
    const AccountDetails now = AccountBook::details(id);
    if (now.wiped && !before.wiped)
        return wipedOutcome(now, id);
    return Outcome::refused(
        Text::tr("another program has changed this account meanwhile, and nothing was saved; "
                 "\"orvmail-account show %1\" shows how it is now")
            .arg(Manual::typedName(now.name, id.toULongLong())));
}

/** Whether the options name something that the login at the server depends on. */
bool concernsLogin(const QCommandLineParser &parser)
{
    for (const char *option : {"user", "domain", "server", "port", "encryption", "ask-password",
                               "password-stdin", "password-command"}) {
        if (parser.isSet(QLatin1String(option)))
            return true;
    }
    return false;
}

} // namespace

Manual::Command SetCommand::manual() const
{
    Manual::Command manual = accountManual("set", Text::tr("change the settings of an account"));
    manual.paragraphs = {Text::tr(
        "What is not named stays as it is. What the login depends on is tried at the server "
        "before it is saved.")};
    manual.options = detailOptions();
    manual.options += {
        {"name", "NAME", Text::tr("a new name for the account")},
        {"ask-password", "", Text::tr("ask for a new password")},
        {"favourite", "FOLDER", Text::tr("make a folder a favourite (may be repeated)")},
        {"no-favourite", "FOLDER", Text::tr("the contrary (may be repeated)")},
    };
    return manual;
}

Outcome SetCommand::run(const QCommandLineParser &parser, Console &console)
{
    QStringList given = parser.optionNames();
    given.removeAll(QStringLiteral("json"));
    given.removeAll(QStringLiteral("verbose"));
    if (given.isEmpty())
        return Outcome::wrongUsage(Text::tr("nothing to set; see --help"));
    return AccountCommand::run(parser, console);
}

Outcome SetCommand::runFor(const QMailAccountId &id, const QCommandLineParser &parser,
                           Console &console)
{
    const AccountDetails before = AccountBook::details(id);
    AccountDetails details = before;
    Outcome outcome = readDetailOptions(parser, &details);
    if (outcome.ok())
        outcome =
            readPassword(parser, console, parser.isSet(AskOption), &details.settings.password);
    if (parser.isSet(NameOption))
        details.name = parser.value(NameOption).trimmed();
    if (outcome.ok())
        outcome = checkDetails(details);
    if (outcome.ok() && concernsLogin(parser) && !parser.isSet(QStringLiteral("no-check"))) {
        LoginCheck check(details.settings, deviceId(), LoginCheck::LoginOnly);
        outcome = runCheck(check, parser, console, details.settings);
    }
    FavouriteChanges changes;
    if (outcome.ok())
        outcome = readFavourites(parser, id, &changes);
    if (outcome.ok())
        outcome = refuseOutdated(id, before);
    if (outcome.ok())
        outcome = AccountBook::update(id, details);
    if (outcome.ok())
        outcome = setFavourites(changes);
    if (!outcome.ok())
        return outcome;
    console.say(Text::tr("Saved."));
    console.give(accountObject(id));
    return {};
}

/** Every folder must be there before anything is changed. */
Outcome SetCommand::readFavourites(const QCommandLineParser &parser, const QMailAccountId &account,
                                   FavouriteChanges *changes)
{
    for (const QString &option : {FavouriteOption, NoFavouriteOption}) {
        const QStringList paths = parser.values(option);
        for (const QString &path : paths) {
            const QMailFolderId folder = findFolder(account, path);
            if (!folder.isValid()) {
                const QString name =
                    Manual::typedName(AccountBook::details(account).name, account.toULongLong());
                return Outcome::refused(
                    Text::tr("there is no folder \"%1\"; \"orvmail-account folders %2\" shows "
                             "all")
                        .arg(path, name));
            }
            changes->append({folder, option == FavouriteOption});
        }
    }
    return {};
}

Outcome SetCommand::setFavourites(const FavouriteChanges &changes)
{
    for (const auto &change : changes) {
        if (!setFavourite(change.first, change.second))
            return Outcome::refused(Text::tr("the mail store refuses to change a folder"));
    }
    return {};
}

} // namespace Accounts
