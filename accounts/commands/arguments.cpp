// SPDX-License-Identifier: LGPL-2.1-or-later
#include "accounts/commands/arguments.h"

#include "accounts/accountbook.h"
#include "accounts/advice.h"
#include "accounts/console.h"
#include "accounts/logincheck.h"
#include "accounts/synchronisation.h"
#include "accounts/waiting.h"

#include <QRegularExpression>

namespace Accounts {

namespace {

const QString TimeOption = QStringLiteral("timeout");

QCommandLineOption option(const char *name, const char *description, const char *value = "")
{
    return {QLatin1String(name), QLatin1String(description), QLatin1String(value)};
}

Outcome readPort(const QString &text, int *port)
{
    bool isNumber = false;
    *port = text.toInt(&isNumber);
    if (isNumber && *port >= 1 && *port <= 65535)
        return {};
    return Outcome::wrongSetting(
        QStringLiteral("port"),
        QStringLiteral("\"%1\" is no port; a port is a number from 1 to 65535").arg(text));
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
            QStringLiteral("--server and --port name two ports, %1 and %2; give one")
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
            QStringLiteral("\"%1\" is no encryption; it is \"tls\" or \"none\"").arg(text));
    return {};
}

Outcome readSwitch(const char *name, const QString &text, bool *on)
{
    *on = text == QLatin1String("on");
    if (*on || text == QLatin1String("off"))
        return {};
    return Outcome::wrongUsage(
        QStringLiteral("--%1 is \"on\" or \"off\", not \"%2\"").arg(QLatin1String(name), text));
}

Outcome readKeep(const QString &text, int *days)
{
    static const QList<int> periods {1, 3, 7, 14, 30};
    bool isNumber = false;
    *days = text == QLatin1String("all") ? 0 : text.toInt(&isNumber);
    if (text == QLatin1String("all") || (isNumber && periods.contains(*days)))
        return {};
    return Outcome::wrongUsage(
        QStringLiteral("--keep is 1, 3, 7, 14 or 30 days or \"all\", not \"%1\"").arg(text));
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

void declareDetailOptions(QCommandLineParser &parser)
{
    parser.addOptions({
        option("email", "the mail address", "ADDRESS"),
        option("full-name", "the name that goes with the address into sent mails", "NAME"),
        option("user", "the user name at the server", "NAME"),
        option("domain", "the user's domain, where the server asks for one", "DOMAIN"),
        option("server", "the server's name or address", "HOST[:PORT]"),
        option("port", "the server's port (443 with TLS, else 80)", "PORT"),
        option("encryption", "tls (the default) or none", "KIND"),
        option("push", "let the server tell of changes at once: on or off", "SWITCH"),
        option("keep", "how many days back mail is kept here: 1, 3, 7, 14, 30 or all", "DAYS"),
        option("enabled", "whether the account is used at all: on or off", "SWITCH"),
        option("password-stdin", "read the password from the first line of standard input"),
        option("no-check", "save without trying the login"),
    });
    declareTimeOption(parser);
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
                  QStringLiteral("\"%1\" is no mail address; it looks like name@example.com")
                      .arg(text));
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
    apply("enabled",
          [&](const QString &text) { return readSwitch("enabled", text, &details->enabled); });
    return outcome;
}

void declareAccountArgument(QCommandLineParser &parser)
{
    parser.addPositionalArgument(QStringLiteral("account"),
                                 QStringLiteral("the account's name or number"),
                                 QStringLiteral("ACCOUNT"));
}

Outcome readAccountArgument(const QCommandLineParser &parser, QMailAccountId *id)
{
    const QString name = parser.positionalArguments().value(0);
    *id = AccountBook::find(name);
    if (id->isValid())
        return {};
    return Outcome::refused(
        QStringLiteral("there is no account \"%1\"; \"orvmail-account list\" shows all").arg(name));
}

void declareTimeOption(QCommandLineParser &parser)
{
    parser.addOption({TimeOption, QStringLiteral("wait so long for a server (20 seconds)"),
                      QStringLiteral("SECONDS")});
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
    return Outcome::wrongUsage(QStringLiteral("--timeout is a number of seconds, not \"%1\"")
                                   .arg(parser.value(TimeOption)));
}

Outcome runCheck(LoginCheck &check, const QCommandLineParser &parser, Console &console,
                 const AccountSettings &settings)
{
    int time = 0;
    const Outcome read = readTimeOption(parser, &time);
    if (!read.ok())
        return read;
    check.setTimeLimit(time);
    Waiting(console, QStringLiteral("Waiting for %1").arg(settings.server)).run(check);
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
    if (parser.isSet(QStringLiteral("password-stdin")))
        read = console.readSecret();
    else if (wanted && console.isInteractive())
        read = console.askSecret(QStringLiteral("Password"));
    else if (wanted)
        return Outcome::wrongUsage(QStringLiteral(
            "there is no terminal to ask for the password; give --password-stdin and write it "
            "to standard input"));
    if (!read)
        return Outcome::wrongUsage(QStringLiteral("no password came from standard input"));
    *password = *read;
    return {};
}

} // namespace Accounts
