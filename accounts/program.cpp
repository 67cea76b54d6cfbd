// SPDX-License-Identifier: LGPL-2.1-or-later
#include "accounts/program.h"

#include "accounts/commands/addcommand.h"
#include "accounts/commands/folderscommand.h"
#include "accounts/commands/listcommand.h"
#include "accounts/commands/outboxcommand.h"
#include "accounts/commands/removecommand.h"
#include "accounts/commands/reportcommand.h"
#include "accounts/commands/setcommand.h"
#include "accounts/commands/showcommand.h"
#include "accounts/commands/statuscommand.h"
#include "accounts/commands/storecommand.h"
#include "accounts/commands/synccommand.h"
#include "accounts/commands/testcommand.h"
#include "accounts/console.h"
#include "accounts/programmanual.h"
#include "accounts/setup/accountbook.h"
#include "manual/helptext.h"
#include "manual/parsing.h"
#include "translations/text.h"

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
        Text::tr("the window is not installed (%1); it is in the package orvmail-window")
            .arg(QFile::decodeName(path)));
}

Outcome unknown(const QString &word)
{
    return Outcome::wrongUsage(
        word.isEmpty() ? Text::tr("no command; see orvmail-account --help")
                       : Text::tr("no such command: %1; see orvmail-account --help").arg(word));
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
    m_commands.push_back(std::make_unique<StatusCommand>());
    m_commands.push_back(std::make_unique<OutboxCommand>());
    m_commands.push_back(std::make_unique<ReportCommand>());
    m_commands.push_back(std::make_unique<StoreCommand>());
}

Program::~Program() = default;

int Program::run(const QStringList &arguments)
{
    Console console;
    const QString word = arguments.value(1);
    if (word == QLatin1String("--help") || word == QLatin1String("-h")
        || word == QLatin1String("help"))
        return help(arguments.value(2), console);
    if (word == QLatin1String("--version")) {
        print(QStringLiteral("orvmail-account " ORVMAIL_VERSION "\n"));
        return Outcome::Done;
    }
    if (word == QLatin1String("--window"))
        return conclude(openWindow(), console);
    Command *command = find(word);
    if (!command)
        return conclude(unknown(word), console);
    QStringList rest = arguments;
    rest.removeAt(1);
    return runCommand(*command, rest, console);
}

Manual::Program Program::manual() const
{
    Manual::Program manual = programManual();
    for (const auto &command : m_commands)
        manual.commands.append(command->manual());
    Manual::Command help("help", Text::tr("tell about a command"));
    help.forms = {{"[COMMAND]", Text::tr("this one; without it, all are listed")}};
    manual.commands.append(help);
    return manual;
}

/** About a command, or about the program where none is named. */
int Program::help(const QString &word, Console &console) const
{
    const Manual::Program program = manual();
    const Manual::Command *command = program.find(word);
    if (!command && !word.isEmpty())
        return conclude(unknown(word), console);
    print(command ? helpText(program, *command) : helpText(program));
    return Outcome::Done;
}

Command *Program::find(const QString &word) const
{
    for (const auto &command : m_commands) {
        if (command->manual().name == word)
            return command.get();
    }
    return nullptr;
}

int Program::runCommand(Command &command, const QStringList &arguments, Console &console)
{
    const Manual::Command manual = command.manual();
    QCommandLineParser parser;
    addOptions(parser, manual.options + programManual().options);
    const bool understood = parser.parse(arguments);
    if (parser.isSet(QStringLiteral("help")))
        return help(manual.name, console);
    console.setJson(parser.isSet(QStringLiteral("json")));
    if (!understood)
        return conclude(Outcome::wrongUsage(parser.errorText()), console);
    const int count = parser.positionalArguments().size();
    if (count < manual.minimumArguments())
        return conclude(Outcome::wrongUsage(Text::tr("which account? see --help")), console);
    if (count > manual.maximumArguments())
        return conclude(Outcome::wrongUsage(Text::tr("too many arguments; see --help")), console);
    Outcome outcome = command.needsStore() ? AccountBook::open() : Outcome();
    if (outcome.ok()) {
        outcome = command.run(parser, console);
        AccountBook::announce();
    }
    return conclude(outcome, console);
}

int Program::conclude(const Outcome &outcome, Console &console) const
{
    if (outcome.text.isEmpty())
        return outcome.exit;
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
