// SPDX-License-Identifier: LGPL-2.1-or-later
#include "accounts/commands/addcommand.h"

#include "accounts/accountoutput.h"
#include "accounts/actions/synchronisation.h"
#include "accounts/commands/arguments.h"
#include "accounts/commands/waiting.h"
#include "accounts/console.h"
#include "accounts/setup/accountbook.h"
#include "accounts/setup/autodiscover.h"
#include "accounts/setup/logincheck.h"
#include "accounts/status/partstarter.h"
#include "accounts/syncmemory.h"
#include "eas/serveraddress.h"
#include "translations/text.h"

#include <qmailmessage.h>
#include <qmailstore.h>

namespace Accounts {

namespace {

const QString AcceptOption = QStringLiteral("accept-redirects");

} // namespace

Manual::Command AddCommand::manual() const
{
    Manual::Command manual("add", Text::tr("set an account up"));
    manual.paragraphs = {
        Text::tr("What the options leave open is asked for on a terminal. Without --server "
                 "the server is found from the mail address (Autodiscover)."),
        Text::tr("The account is saved when the login has succeeded. Then its mail is "
                 "fetched for the first time.")};
    manual.forms = {
        {"[NAME]", Text::tr("what the account is called here (default: the mail address)")}};
    manual.options = detailOptions();
    manual.options.append({"accept-redirects", "",
                           Text::tr("trust the hosts that the search for the server leads to")});
    return manual;
}

Outcome AddCommand::run(const QCommandLineParser &parser, Console &console)
{
    m_details = AccountDetails();
    m_details.settings.encryption = 1;
    m_details.settings.port = 443;
    m_mayAsk = console.isInteractive() && !parser.isSet(QStringLiteral("password-stdin"));
    m_searchRefused = false;
    Outcome outcome = readDetailOptions(parser, &m_details);
    if (outcome.ok())
        outcome = complete(parser, console);
    if (!outcome.ok())
        return outcome;
    for (;;) {
        outcome = setUp(parser, console);
        if (outcome.ok() || !m_mayAsk || outcome.setting.isEmpty())
            break;
        console.complain(outcome.text);
        if (!askAgain(console, outcome.setting))
            return Outcome::refused(Text::tr("nothing was saved"));
    }
    QMailAccountId id;
    if (outcome.ok())
        outcome = AccountBook::add(m_details, &id);
    return outcome.ok() ? report(parser, console, id) : outcome;
}

/** Asks for what the options leave open. */
Outcome AddCommand::complete(const QCommandLineParser &parser, Console &console)
{
    AccountSettings &settings = m_details.settings;
    const Outcome address = askAddress(console);
    if (!address.ok())
        return address;
    m_details.name = parser.positionalArguments().value(0, settings.email).trimmed();
    if (AccountBook::isNameTaken(m_details.name))
        return Outcome::refused(Text::tr("there is an account \"%1\" already; choose another name")
                                    .arg(m_details.name));
    if (settings.userName.isEmpty())
        settings.userName = m_mayAsk
            ? console.ask(Text::tr("User name"), settings.email).value_or(settings.email)
            : settings.email;
    return readPassword(parser, console, true, &settings.password);
}

/** The mail address, asked for until it can be one. */
Outcome AddCommand::askAddress(Console &console)
{
    QString &address = m_details.settings.email;
    std::optional<QString> answer = address;
    while (answer && !isMailAddress(address) && m_mayAsk) {
        if (!address.isEmpty())
            console.complain(
                Text::tr("\"%1\" is no mail address; it looks like name@example.com").arg(address));
        answer = console.ask(Text::tr("Mail address"));
        address = answer.value_or(QString());
    }
    if (address.isEmpty())
        return Outcome::wrongUsage(Text::tr("the mail address is missing; give --email"));
    return {};
}

/** Finds the server where none is named, and tries the login. */
Outcome AddCommand::setUp(const QCommandLineParser &parser, Console &console)
{
    Outcome outcome;
    if (m_details.settings.server.isEmpty())
        outcome = findServer(parser, console);
    if (outcome.ok())
        outcome = checkDetails(m_details);
    if (outcome.ok() && !parser.isSet(QStringLiteral("no-check")))
        outcome = tryLogin(parser, console);
    return outcome;
}

Outcome AddCommand::findServer(const QCommandLineParser &parser, Console &console)
{
    AccountSettings &settings = m_details.settings;
    int time = 0;
    Outcome outcome = readTimeOption(parser, &time);
    if (outcome.ok())
        outcome = checkSearchDetails(m_details);
    if (!outcome.ok())
        return outcome;
    const bool accept = parser.isSet(AcceptOption);
    Autodiscover search(
        settings.email,
        Eas::Credentials {settings.userName, settings.password, settings.domain}.login(),
        settings.password, [&console, accept](const QString &host) {
            return accept
                || console.confirm(
                    Text::tr("The search leads to %1. Send the login there?").arg(host));
        });
    search.setTimeLimit(time);
    console.say(Text::tr("Looking for the server of %1").arg(settings.email));
    Waiting(console, Text::tr("Looking for the server")).run(search);
    if (!search.result().ok())
        return searchFailure(search.result());
    settings.server = search.server().host();
    settings.port = search.server().port(443);
    settings.encryption = 1;
    console.say(Text::tr("Found %1").arg(settings.server));
    return {};
}

/** A refused login may be the wrong password, or a host that knows nothing of it: the first time
 * the password is asked for again, then the server. */
Outcome AddCommand::searchFailure(const Eas::Result &result)
{
    if (result.code == Eas::Cancelled && result.text.isEmpty())
        return Outcome::refused(Text::tr("cancelled; nothing was saved"));
    if (result.code == Eas::Cancelled)
        return Outcome::refused(
            Text::tr("%1; give --server, or --accept-redirects if you trust it").arg(result.text));
    const bool wrongLogin = result.code == Eas::LoginRefused && !m_searchRefused;
    m_searchRefused = m_searchRefused || wrongLogin;
    return {Outcome::Refused,
            (m_mayAsk ? Text::tr("the server of %1 cannot be found (%2)")
                      : Text::tr("the server of %1 cannot be found (%2); give --server"))
                .arg(m_details.settings.email, result.text),
            result.code, wrongLogin ? QStringLiteral("password") : QStringLiteral("server")};
}

Outcome AddCommand::tryLogin(const QCommandLineParser &parser, Console &console)
{
    console.say(Text::tr("Trying the login at %1").arg(m_details.settings.server));
    const bool isInUse = AccountBook::hasMailbox(m_details.settings);
    LoginCheck check(m_details.settings, deviceId(),
                     isInUse ? LoginCheck::LoginOnly : LoginCheck::WithFolders);
    Outcome outcome = runCheck(check, parser, console, m_details.settings);
    if (outcome.code == Eas::Cancelled)
        outcome.text = Text::tr("cancelled; nothing was saved");
    m_serverFolders = check.folders();
    return outcome;
}

/** Asks for the one thing that was wrong; false: the person gave up, or it is nothing that one can
 * be asked for. */
bool AddCommand::askAgain(Console &console, const QString &setting)
{
    AccountSettings &settings = m_details.settings;
    if (setting == QLatin1String("password"))
        return askPassword(console);
    if (setting == QLatin1String("server") || setting == QLatin1String("port"))
        return askServer(console);
    if (setting != QLatin1String("username"))
        return false;
    const std::optional<QString> user = console.ask(Text::tr("User name"), settings.userName);
    settings.userName = user.value_or(settings.userName);
    return user.has_value();
}

bool AddCommand::askPassword(Console &console)
{
    console.say(Text::tr("(An empty password changes the user name.)"));
    std::optional<QString> password = console.askSecret(Text::tr("Password"));
    if (password && password->isEmpty()) {
        if (!askAgain(console, QStringLiteral("username")))
            return false;
        password = console.askSecret(Text::tr("Password"));
    }
    m_details.settings.password = password.value_or(QString());
    return password.has_value();
}

/** A port may stand behind the name. */
bool AddCommand::askServer(Console &console)
{
    AccountSettings &settings = m_details.settings;
    const bool isKnown = !settings.server.isEmpty();
    const QString now = isKnown && settings.port != 443
        ? QStringLiteral("%1:%2").arg(settings.server).arg(settings.port)
        : settings.server;
    settings.server = console.ask(Text::tr("Server"), now).value_or(QString());
    const QString port = takePort(&settings.server);
    if (!port.isEmpty())
        settings.port = port.toInt();
    return !settings.server.isEmpty();
}

/** The first synchronisation; what hindered it and what to do, empty where nothing did. */
QString AddCommand::bringMail(const QCommandLineParser &parser, Console &console,
                              const QMailAccountId &id)
{
    AccountBook::announce();
    if (!parser.isSet(QStringLiteral("no-check"))) {
        Synchronisation synchronisation(id);
        runSynchronisation(synchronisation, console, m_details.name);
        return synchronisation.outcome().text;
    }
    PartStarter parts;
    Waiting(console, Text::tr("Starting the message server")).run(parts);
    return parts.outcome().text;
}

/** The account is saved; its folders come by the message server, or as the server told them. */
Outcome AddCommand::report(const QCommandLineParser &parser, Console &console,
                           const QMailAccountId &id)
{
    console.say(Text::tr("The account \"%1\" is ready.").arg(m_details.name));
    const QString problem = m_details.enabled ? bringMail(parser, console, id) : QString();
    const QList<FolderLine> folders = foldersOf(id);
    const int messages =
        QMailStore::instance()->countMessages(QMailMessageKey::parentAccountId(id));
    sayFolders(console, folders);
    if (folders.isEmpty()) {
        for (const QString &path : m_serverFolders)
            console.say(QLatin1String("  ") + path);
    }
    if (!parser.isSet(QStringLiteral("no-check")) && m_details.enabled)
        console.say(arrivalText(messages));
    if (!problem.isEmpty())
        console.say(savedButText(problem, id));
    QJsonObject result {
        {QStringLiteral("account"), accountObject(id)},
        {QStringLiteral("messages"), messages},
        {QStringLiteral("folders"),
         folders.isEmpty() ? QJsonArray::fromStringList(m_serverFolders) : folderArray(folders)}};
    if (!problem.isEmpty())
        result.insert(QStringLiteral("problem"), problem);
    console.give(result);
    return {};
}

} // namespace Accounts
