// SPDX-License-Identifier: LGPL-2.1-or-later
#include "accounts/commands/arguments.h"

#include "accounts/actions/synchronisation.h"
#include "accounts/advice.h"
#include "accounts/commands/passwordprogram.h"
#include "accounts/commands/waiting.h"
#include "accounts/console.h"
#include "accounts/setup/accountbook.h"
#include "accounts/setup/logincheck.h"
#include "translations/text.h"

#include <QRegularExpression>

namespace Accounts {

namespace {

const QString TimeOption = QStringLiteral("timeout");

Outcome readPort(const QString &text, int *port)
{
    bool isNumber = false;
    *port = text.toInt(&isNumber);
    if (isNumber && *port >= 1 && *port <= 65535)
        return {};
    return Outcome::wrongSetting(
        QStringLiteral("port"),
        Text::tr("\"%1\" is no port; a port is a number from 1 to 65535").arg(text));
}

/** The port may stand behind the server's name as well. */
Outcome readPortBehindServer(bool isPortGiven, AccountSettings *settings)
{
    const QString text = takePort(&settings->server);
    int port = settings->port;
    const Outcome outcome = text.isEmpty() ? Outcome() : readPort(text, &port);
    if (outcome.ok() && isPortGiven && port != settings->port)
        return Outcome::wrongSetting(
            QStringLiteral("port"),
            Text::tr("--server and --port name two ports, %1 and %2; give one")
                .arg(port)
                .arg(settings->port));
    settings->port = port;
    return outcome;
}

int usualPort(int encryption)
{
    return encryption ? 443 : 80;
}

Outcome readEncryption(const QString &text, int *encryption)
{
    if (text == QLatin1String("tls") || text == QLatin1String("ssl") || text == QLatin1String("1"))
        *encryption = 1;
    else if (text == QLatin1String("none") || text == QLatin1String("0"))
        *encryption = 0;
    else
        return Outcome::wrongSetting(
            QStringLiteral("encryption"),
            Text::tr("\"%1\" is no encryption; it is \"tls\" or \"none\"").arg(text));
    return {};
}

Outcome readSwitch(const char *name, const QString &text, bool *on)
{
    *on = text == QLatin1String("on");
    if (*on || text == QLatin1String("off"))
        return {};
    return Outcome::wrongUsage(
        Text::tr("--%1 is \"on\" or \"off\", not \"%2\"").arg(QLatin1String(name), text));
}

Outcome readKeep(const QString &text, int *days)
{
    static const QList<int> periods {1, 3, 7, 14, 30};
    bool isNumber = false;
    *days = text == QLatin1String("all") ? 0 : text.toInt(&isNumber);
    if (text == QLatin1String("all") || (isNumber && periods.contains(*days)))
        return {};
    return Outcome::wrongUsage(
        Text::tr("--keep is 1, 3, 7, 14 or 30 days or \"all\", not \"%1\"").arg(text));
}

} // namespace

QString takePort(QString *server)
{
    static const QRegularExpression withPort(QStringLiteral("^([^:]+):([0-9]{1,5})$"));
    const QRegularExpressionMatch match = withPort.match(*server);
    if (match.hasMatch())
        *server = match.captured(1);
    return match.captured(2);
}

QList<Manual::Option> detailOptions()
{
    return {
        {"email", "ADDRESS", Text::tr("the mail address")},
        {"full-name", "NAME", Text::tr("the name that goes with the address into sent mails")},
        {"user", "NAME", Text::tr("the user name at the server")},
        {"domain", "DOMAIN", Text::tr("the user's domain, where the server asks for one")},
        {"server", "HOST[:PORT]", Text::tr("the server's name or address")},
        {"port", "PORT", Text::tr("the server's port (443 with TLS, else 80)")},
        {"encryption", "KIND", Text::tr("tls (the default) or none"), "tls none"},
        {"push", "SWITCH", Text::tr("let the server tell of changes at once: on or off"), "on off"},
        {"keep", "DAYS", Text::tr("how many days back mail is kept here: 1, 3, 7, 14, 30 or all"),
         "1 3 7 14 30 all"},
        {"notifications", "SWITCH",
         Text::tr("tell on the desktop when the account needs you: on (the default) or off"),
         "on off"},
        {"enabled", "SWITCH", Text::tr("whether the account is used at all: on or off"), "on off"},
        {"password-stdin", "", Text::tr("read the password from the first line of standard input")},
        {"password-command", "COMMAND",
         Text::tr(
             "run this by the shell, and take the first line that it prints for the password")},
        {"no-check", "", Text::tr("save without trying the login")},
        timeOption(),
    };
}

Outcome readDetailOptions(const QCommandLineParser &parser, AccountDetails *details)
{
    const auto given = [&parser](const char *name) { return parser.isSet(QLatin1String(name)); };
    const auto value = [&parser](const char *name) { return parser.value(QLatin1String(name)); };
    AccountSettings &settings = details->settings;
    const QList<QPair<const char *, QString *>> texts {
        {"email", &settings.email},   {"full-name", &details->fullName},
        {"user", &settings.userName}, {"domain", &settings.domain},
        {"server", &settings.server},
    };
    for (const auto &text : texts) {
        if (given(text.first))
            *text.second = value(text.first).trimmed();
    }
    Outcome outcome;
    const auto apply = [&](const char *name, const auto &read) {
        if (outcome.ok() && given(name))
            outcome = read(value(name));
    };
    apply("email", [](const QString &text) {
        return isMailAddress(text.trimmed())
            ? Outcome()
            : Outcome::wrongSetting(
                  QStringLiteral("email"),
                  Text::tr("\"%1\" is no mail address; it looks like name@example.com").arg(text));
    });
    const bool hasUsualPort = settings.port == usualPort(settings.encryption);
    apply("encryption",
          [&](const QString &text) { return readEncryption(text, &settings.encryption); });
    if (hasUsualPort)
        settings.port = usualPort(settings.encryption);
    apply("port", [&](const QString &text) { return readPort(text, &settings.port); });
    apply("server",
          [&](const QString &) { return readPortBehindServer(given("port"), &settings); });
    apply("push", [&](const QString &text) { return readSwitch("push", text, &details->push); });
    apply("keep", [&](const QString &text) { return readKeep(text, &details->keepDays); });
    apply("notifications", [&](const QString &text) {
        return readSwitch("notifications", text, &details->notifications);
    });
    apply("enabled",
          [&](const QString &text) { return readSwitch("enabled", text, &details->enabled); });
    return outcome;
}

Outcome findAccount(const QString &nameOrId, QMailAccountId *id)
{
    *id = AccountBook::find(nameOrId);
    if (id->isValid())
        return {};
    return Outcome::refused(
        Text::tr("there is no account \"%1\"; \"orvmail-account list\" shows all").arg(nameOrId));
}

Manual::Option timeOption()
{
    return {"timeout", "SECONDS", Text::tr("wait so long for a server (20 seconds)")};
}

Outcome readTimeOption(const QCommandLineParser &parser, int *milliseconds)
{
    *milliseconds = LoginCheck::UsualTimeLimit;
    if (!parser.isSet(TimeOption))
        return {};
    bool isNumber = false;
    const int seconds = parser.value(TimeOption).toInt(&isNumber);
    *milliseconds = seconds * 1000;
    if (isNumber && seconds >= 1 && seconds <= 3600)
        return {};
    return Outcome::wrongUsage(
        Text::tr("--timeout is a number of seconds, not \"%1\"").arg(parser.value(TimeOption)));
}

Outcome runCheck(LoginCheck &check, const QCommandLineParser &parser, Console &console,
                 const AccountSettings &settings)
{
    int time = 0;
    const Outcome read = readTimeOption(parser, &time);
    if (!read.ok())
        return read;
    check.setTimeLimit(time);
    Waiting(console, Text::tr("Waiting for %1").arg(settings.server)).run(check);
    return adviceFor(check.result(), settings);
}

void runSynchronisation(Synchronisation &synchronisation, Console &console, const QString &title)
{
    Waiting waiting(console, title);
    QObject::connect(&synchronisation, &Synchronisation::progressed, &waiting,
                     &Waiting::showProgress);
    waiting.showProgress(0);
    waiting.run(synchronisation);
}

Outcome readPassword(const QCommandLineParser &parser, Console &console, bool wanted,
                     QString *password)
{
    std::optional<QString> read = *password;
    const bool isCommand = parser.isSet(QStringLiteral("password-command"));
    const bool isInput = parser.isSet(QStringLiteral("password-stdin"));
    if (isCommand && isInput)
        return Outcome::wrongUsage(
            Text::tr("--password-stdin and --password-command name two passwords; give one"));
    if (isCommand)
        return runPasswordProgram(parser.value(QStringLiteral("password-command")), password);
    if (isInput)
        read = console.readSecret();
    else if (wanted && console.isInteractive())
        read = console.askSecret(Text::tr("Password"));
    else if (wanted)
        return Outcome::wrongUsage(Text::tr(
            "there is no terminal to ask for the password; give --password-stdin and write it "
            "to standard input, or --password-command"));
    if (!read)
        return Outcome::wrongUsage(Text::tr("no password came from standard input"));
    *password = *read;
    return {};
}

} // namespace Accounts
