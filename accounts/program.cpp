// SPDX-License-Identifier: LGPL-2.1-or-later
#include "accounts/program.h"

#include "accounts/accountbook.h"
#include "accounts/commands/addcommand.h"
#include "accounts/commands/folderscommand.h"
#include "accounts/commands/listcommand.h"
#include "accounts/commands/removecommand.h"
#include "accounts/commands/setcommand.h"
#include "accounts/commands/showcommand.h"
#include "accounts/commands/synccommand.h"
#include "accounts/commands/testcommand.h"
#include "accounts/console.h"

#include <QCoreApplication>
#include <QFile>
#include <QJsonObject>

#include <cstdio>
#include <unistd.h>

namespace Accounts {

namespace {

/** The window is a program of its own, so that this one does not load the widget libraries. */
Outcome openWindow()
{
    const QByteArray path = QFile::encodeName(QCoreApplication::applicationDirPath()
                                              + QLatin1String("/orvmail-account-window"));
    execl(path.constData(), path.constData(), static_cast<char *>(nullptr));
    return Outcome::refused(
        QStringLiteral("the window is not installed (%1)").arg(QFile::decodeName(path)));
}

void print(const QString &text)
{
    fputs(qUtf8Printable(text), stdout);
}

} // namespace

Program::Program()
{
    m_commands.push_back(std::make_unique<AddCommand>());
    m_commands.push_back(std::make_unique<ListCommand>());
    m_commands.push_back(std::make_unique<ShowCommand>());
    m_commands.push_back(std::make_unique<SetCommand>());
    m_commands.push_back(std::make_unique<RemoveCommand>());
    m_commands.push_back(std::make_unique<TestCommand>());
    m_commands.push_back(std::make_unique<SyncCommand>());
    m_commands.push_back(std::make_unique<FoldersCommand>());
}

Program::~Program() = default;

int Program::run(const QStringList &arguments)
{
    Console console;
    const QString word = arguments.value(1);
    if (word == QLatin1String("--help") || word == QLatin1String("-h")
        || word == QLatin1String("help")) {
        print(overview());
        return Outcome::Done;
    }
    if (word == QLatin1String("--version")) {
        print(QStringLiteral("orvmail-account " ORVMAIL_VERSION "\n"));
        return Outcome::Done;
    }
    if (word == QLatin1String("--window"))
        return conclude(openWindow(), console);
    Command *command = find(word);
    if (!command)
        return conclude(
            Outcome::wrongUsage(
                word.isEmpty()
                    ? QStringLiteral("no command; see orvmail-account --help")
                    : QStringLiteral("no such command: %1; see orvmail-account --help").arg(word)),
            console);
    QStringList rest = arguments;
    rest.removeAt(1);
    return runCommand(*command, rest, console);
}

QString Program::overview() const
{
    QString text = QStringLiteral("Usage: orvmail-account COMMAND [OPTIONS]\n"
                                  "       orvmail-account --window\n"
                                  "ActiveSync mail accounts for the Qt Messaging Framework.\n\n"
                                  "Commands (--help after one tells more):\n");
    for (const auto &command : m_commands)
        text += QStringLiteral("  %1 %2\n").arg(command->name(), -10).arg(command->summary());
    text += QStringLiteral(
        "\nEvery command takes --json for output that a program reads, and --verbose.\n"
        "Exit codes: 0 done, 1 refused, 2 wrong usage.\n");
    return text;
}

Command *Program::find(const QString &word) const
{
    for (const auto &command : m_commands) {
        if (command->name() == word)
            return command.get();
    }
    return nullptr;
}

int Program::runCommand(Command &command, const QStringList &arguments, Console &console)
{
    QCommandLineParser parser;
    parser.setApplicationDescription(
        QStringLiteral("orvmail-account %1: %2").arg(command.name(), command.summary()));
    command.declare(parser);
    parser.addOption({QStringLiteral("json"), QStringLiteral("print JSON")});
    parser.addOption({QStringLiteral("verbose"), QStringLiteral("show the libraries' messages")});
    parser.addOption(
        {{QStringLiteral("h"), QStringLiteral("help")}, QStringLiteral("show this text")});
    const bool understood = parser.parse(arguments);
    if (parser.isSet(QStringLiteral("help"))) {
        QStringList lines = parser.helpText().split(QLatin1Char('\n'));
        // Qt names the program by its path and knows nothing of the command.
        lines.first() = QLatin1String("Usage: orvmail-account ") + command.name()
            + lines.first().mid(lines.first().indexOf(QLatin1String(" [options]")));
        print(lines.join(QLatin1Char('\n')));
        return Outcome::Done;
    }
    console.setJson(parser.isSet(QStringLiteral("json")));
    if (!understood)
        return conclude(Outcome::wrongUsage(parser.errorText()), console);
    const int count = parser.positionalArguments().size();
    if (count < command.minimumArguments())
        return conclude(Outcome::wrongUsage(QStringLiteral("which account? see --help")), console);
    if (count > command.maximumArguments())
        return conclude(Outcome::wrongUsage(QStringLiteral("too many arguments; see --help")),
                        console);
    Outcome outcome = AccountBook::open();
    if (outcome.ok()) {
        outcome = command.run(parser, console);
        AccountBook::announce();
    }
    return conclude(outcome, console);
}

int Program::conclude(const Outcome &outcome, Console &console) const
{
    if (outcome.ok())
        return Outcome::Done;
    console.complain(outcome.text);
    QJsonObject error {{QStringLiteral("error"), outcome.text}};
    if (outcome.code)
        error.insert(QStringLiteral("code"), outcome.code);
    if (!outcome.setting.isEmpty())
        error.insert(QStringLiteral("setting"), outcome.setting);
    console.give(error);
    return outcome.exit;
}

} // namespace Accounts
