// SPDX-License-Identifier: LGPL-2.1-or-later
#include "accounts/commands/setcommand.h"

#include "accounts/accountbook.h"
#include "accounts/commands/arguments.h"
#include "accounts/console.h"
#include "accounts/logincheck.h"
#include "accounts/report.h"
#include "accounts/syncmemory.h"

namespace Accounts {

namespace {

const QString NameOption = QStringLiteral("name");
const QString AskOption = QStringLiteral("ask-password");
const QString FavouriteOption = QStringLiteral("favourite");
const QString NoFavouriteOption = QStringLiteral("no-favourite");

/** Whether the options name something that the login at the server depends on. */
bool concernsLogin(const QCommandLineParser &parser)
{
    for (const char *option :
         {"user", "domain", "server", "port", "encryption", "ask-password", "password-stdin"}) {
        if (parser.isSet(QLatin1String(option)))
            return true;
    }
    return false;
}

} // namespace

void SetCommand::declare(QCommandLineParser &parser) const
{
    declareAccountArgument(parser);
    declareDetailOptions(parser);
    parser.addOptions({
        {NameOption, QStringLiteral("a new name for the account"), QStringLiteral("NAME")},
        {AskOption, QStringLiteral("ask for a new password")},
        {FavouriteOption, QStringLiteral("make a folder a favourite (may be repeated)"),
         QStringLiteral("FOLDER")},
        {NoFavouriteOption, QStringLiteral("the contrary (may be repeated)"),
         QStringLiteral("FOLDER")},
    });
}

Outcome SetCommand::run(const QCommandLineParser &parser, Console &console)
{
    QStringList given = parser.optionNames();
    given.removeAll(QStringLiteral("json"));
    given.removeAll(QStringLiteral("verbose"));
    if (given.isEmpty())
        return Outcome::wrongUsage(QStringLiteral("nothing to set; see --help"));
    QMailAccountId id;
    Outcome outcome = readAccountArgument(parser, &id);
    if (!outcome.ok())
        return outcome;
    AccountDetails details = AccountBook::details(id);
    outcome = readDetailOptions(parser, &details);
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
    FolderWishes wishes;
    if (outcome.ok())
        outcome = readFavourites(parser, id, &wishes);
    if (outcome.ok())
        outcome = AccountBook::update(id, details);
    if (outcome.ok())
        outcome = setFavourites(wishes);
    if (!outcome.ok())
        return outcome;
    console.say(QStringLiteral("Saved."));
    console.give(accountObject(id));
    return {};
}

/** Every folder must be there before anything is changed. */
Outcome SetCommand::readFavourites(const QCommandLineParser &parser, const QMailAccountId &account,
                                   FolderWishes *wishes)
{
    for (const QString &option : {FavouriteOption, NoFavouriteOption}) {
        const QStringList paths = parser.values(option);
        for (const QString &path : paths) {
            const QMailFolderId folder = findFolder(account, path);
            if (!folder.isValid())
                return Outcome::refused(
                    QStringLiteral("there is no folder \"%1\"; \"orvmail-account folders\" shows "
                                   "all")
                        .arg(path));
            wishes->append({folder, option == FavouriteOption});
        }
    }
    return {};
}

Outcome SetCommand::setFavourites(const FolderWishes &wishes)
{
    for (const auto &wish : wishes) {
        if (!setFavourite(wish.first, wish.second))
            return Outcome::refused(QStringLiteral("the mail store refuses to change a folder"));
    }
    return {};
}

} // namespace Accounts
