// SPDX-License-Identifier: LGPL-2.1-or-later
#include "accounts/commands/addcommand.h"

#include "accounts/accountbook.h"
#include "accounts/actionrunner.h"
#include "accounts/advice.h"
#include "accounts/autodiscover.h"
#include "accounts/commands/arguments.h"
#include "accounts/console.h"
#include "accounts/logincheck.h"
#include "accounts/report.h"
#include "accounts/syncmemory.h"
#include "daemon/eas/serveraddress.h"

namespace Accounts {

namespace {

const QString AcceptOption = QStringLiteral("accept-redirects");

} // namespace

void AddCommand::declare(QCommandLineParser &parser) const
{
    parser.addPositionalArgument(
        QStringLiteral("name"),
        QStringLiteral("what the account is called here (default: the mail address)"),
        QStringLiteral("[NAME]"));
    declareDetailOptions(parser);
    parser.addOption(
        {AcceptOption, QStringLiteral("trust the hosts that the search for the server leads to")});
}

Outcome AddCommand::run(const QCommandLineParser &parser, Console &console)
{
    m_details = AccountDetails();
    m_details.settings.encryption = 1;
    m_details.settings.port = 443;
    Outcome outcome = readDetailOptions(parser, &m_details);
    if (outcome.ok())
        outcome = complete(parser, console);
    if (outcome.ok())
        outcome = checkDetails(m_details);
    if (outcome.ok() && !parser.isSet(QStringLiteral("no-check")))
        outcome = tryLogin(console);
    QMailAccountId id;
    if (outcome.ok())
        outcome = AccountBook::add(m_details, &id);
    return outcome.ok() ? report(console, id) : outcome;
}

/** Asks for what the options leave open. */
Outcome AddCommand::complete(const QCommandLineParser &parser, Console &console)
{
    AccountSettings &settings = m_details.settings;
    const bool ask = console.isInteractive() && !parser.isSet(QStringLiteral("password-stdin"));
    if (settings.email.isEmpty() && ask)
        settings.email = console.ask(QStringLiteral("Mail address")).value_or(QString());
    if (settings.email.isEmpty())
        return Outcome::wrongUsage(QStringLiteral("the mail address is missing; give --email"));
    if (!isMailAddress(settings.email))
        return Outcome::wrongSetting(
            QStringLiteral("email"),
            QStringLiteral("\"%1\" is no mail address; it looks like name@example.com")
                .arg(settings.email));
    m_details.name = parser.positionalArguments().value(0, settings.email).trimmed();
    if (AccountBook::isNameTaken(m_details.name))
        return Outcome::refused(
            QStringLiteral("there is an account \"%1\" already; choose another name")
                .arg(m_details.name));
    if (settings.userName.isEmpty())
        settings.userName = ask
            ? console.ask(QStringLiteral("User name"), settings.email).value_or(settings.email)
            : settings.email;
    const Outcome password = readPassword(parser, console, true, &settings.password);
    if (!password.ok())
        return password;
    return settings.server.isEmpty() ? findServer(parser, console) : Outcome();
}

Outcome AddCommand::findServer(const QCommandLineParser &parser, Console &console)
{
    AccountSettings &settings = m_details.settings;
    const bool accept = parser.isSet(AcceptOption);
    Autodiscover search(
        settings.email,
        Eas::Credentials {settings.userName, settings.password, settings.domain}.login(),
        settings.password, [&console, accept](const QString &host) {
            return accept
                || console.confirm(
                    QStringLiteral("The search leads to %1. Send the login there?").arg(host));
        });
    console.say(QStringLiteral("Looking for the server of %1").arg(settings.email));
    const Eas::Result result = search.run();
    if (result.ok()) {
        settings.server = search.server().host();
        settings.port = search.server().port(443);
        settings.encryption = 1;
        console.say(QStringLiteral("Found %1").arg(settings.server));
        return {};
    }
    if (result.code == Eas::Cancelled)
        return Outcome::refused(
            QStringLiteral("%1; give --server, or --accept-redirects if you trust it")
                .arg(result.text));
    const QString reason = result.code == Eas::LoginRefused
        ? QStringLiteral("user name or password was refused")
        : result.text;
    const QString problem =
        QStringLiteral("the server of %1 cannot be found (%2)").arg(settings.email, reason);
    if (console.isInteractive() && !parser.isSet(QStringLiteral("password-stdin"))) {
        console.complain(problem);
        return askServer(console);
    }
    Outcome outcome = Outcome::refused(problem + QLatin1String("; give --server"));
    outcome.code = result.code;
    return outcome;
}

Outcome AddCommand::askServer(Console &console)
{
    AccountSettings &settings = m_details.settings;
    settings.server = console.ask(QStringLiteral("Server")).value_or(QString());
    if (settings.server.isEmpty())
        return Outcome::refused(QStringLiteral("without a server there is no account"));
    return {};
}

Outcome AddCommand::tryLogin(Console &console)
{
    console.say(QStringLiteral("Trying the login at %1").arg(m_details.settings.server));
    const bool isInUse = AccountBook::hasMailbox(m_details.settings);
    LoginCheck check(m_details.settings, deviceId(),
                     isInUse ? LoginCheck::LoginOnly : LoginCheck::WithFolders);
    const Outcome outcome = adviceFor(check.run(), m_details.settings);
    m_serverFolders = check.folders();
    return outcome;
}

/** The account is saved; its folders come by the message server, or as the server told them. */
Outcome AddCommand::report(Console &console, const QMailAccountId &id) const
{
    console.say(QStringLiteral("The account \"%1\" is ready.").arg(m_details.name));
    QList<FolderLine> folders;
    if (m_details.enabled && ActionRunner::requireMessageServer().ok()) {
        ActionRunner runner(console, m_details.name);
        runner.run([&id](QMailRetrievalAction &action) {
            action.retrieveFolderList(id, QMailFolderId());
        });
        folders = foldersOf(id);
    }
    sayFolders(console, folders);
    if (folders.isEmpty()) {
        for (const QString &path : m_serverFolders)
            console.say(QLatin1String("  ") + path);
    }
    console.give(QJsonObject {
        {QStringLiteral("account"), accountObject(id)},
        {QStringLiteral("folders"),
         folders.isEmpty() ? QJsonArray::fromStringList(m_serverFolders) : folderArray(folders)}});
    return {};
}

} // namespace Accounts
