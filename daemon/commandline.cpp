// SPDX-License-Identifier: LGPL-2.1-or-later
#include "daemon/commandline.h"

#include "daemon/sync/localchangewatch.h"
#include "manual/helptext.h"
#include "manual/parsing.h"
#include "translations/text.h"

#include <QCommandLineParser>

#include <algorithm>

namespace Daemon {

namespace {

/** What --log takes beside "all". */
Manual::Section logCategories()
{
    return {
        Text::tr("Log categories"),
        {{"asdaemon", Text::tr("start and end, accounts and their settings")},
         {"asdaemon.requests", Text::tr("each call and its end")},
         {"asdaemon.eas", Text::tr("the conversation with the servers, without its contents")},
         {"asdaemon.sync", Text::tr("what a synchronisation does")},
         {"platform",
          Text::tr("what the mail store and Qt say; may quote people's mail, not in \"all\"")}}};
}

bool isLogCategory(const QString &name)
{
    const QList<Manual::Entry> entries = logCategories().entries;
    return std::any_of(entries.begin(), entries.end(),
                       [&name](const Manual::Entry &entry) { return entry.name == name; });
}

QList<Manual::Option> options()
{
    Manual::Option undoTime(
        "undo-time", "MILLISECONDS",
        Text::tr("leave changes made here alone for so long, as a mail program may take "
                 "them back (default %1), unless somebody asks for a synchronisation"));
    undoTime.text = undoTime.text.arg(LocalChangeWatch::usualQuietTime());
    return {
        {"help", "", Text::tr("show this text"), "", "h"},
        {"version", "", Text::tr("tell the version"), "", "v"},
        {"log", "CATEGORY[,CATEGORY...]",
         Text::tr("log everything of these categories, or of \"all\"")},
        {"patience", "SECONDS",
         Text::tr("give a server up that keeps silent for so long (default 120)")},
        undoTime,
        {"no-indexes", "",
         Text::tr("put no indexes of its own into the mail store's database; \"orvmail-account "
                  "store --drop-indexes\" removes those that are there")},
    };
}

QList<Manual::Section> sections()
{
    return {
        logCategories(),
        {Text::tr("Exit status"),
         {{"0", Text::tr("ended by a signal or with the session")},
          {"1", Text::tr("could not start: no session bus or mail store, or another one runs")},
          {"2", Text::tr("wrong usage")}}},
        {Text::tr("Files"),
         {{"~/.local/share/qmf",
           Text::tr("the mail store's folder; asdaemon.db in it is the daemon's own memory")},
          {"~/.local/share/qmf/asdaemon.log",
           Text::tr("the debug log, where it is kept; from 4 MiB on, what is older is in "
                    "asdaemon.log.old")},
          {"$XDG_RUNTIME_DIR/orvmail",
           Text::tr(
               "what other programs of the user find it by: sockets, synchronisation state, open "
               "requests")}}},
        {Text::tr("Environment"),
         {{"QMF_DATA", Text::tr("the mail store's folder, instead of ~/.local/share/qmf")},
          {"DBUS_SESSION_BUS_ADDRESS",
           Text::tr("the session bus, which it serves and with which it ends")},
          {"XDG_RUNTIME_DIR",
           Text::tr("the user's runtime folder; without it, a folder in /tmp is used")},
          {"ASDAEMON_DEBUG",
           Text::tr("at 1, everything of all categories goes into the debug log, too; there are "
                    "neither addresses nor contents of mails in it")}}},
    };
}

CommandLine over(const QString &text, int exitCode)
{
    CommandLine line;
    line.isOver = true;
    line.exitCode = exitCode;
    line.text = text;
    return line;
}

CommandLine wrong(const QString &why)
{
    return over(why + QLatin1Char('\n'), 2);
}

} // namespace

Manual::Program CommandLine::manual()
{
    Manual::Program manual("asdaemon", 8, Text::tr("bring the mail of ActiveSync accounts"));
    manual.usages = {QStringLiteral("[options]")};
    manual.paragraphs = {
        Text::tr("Brings the mail of ActiveSync accounts into the mail store of the Qt "
                 "Messaging Framework (QMF), carries what is changed there to the servers, "
                 "sends mail, and waits for news where an account's push is on."),
        Text::tr("It runs once in each session. The session bus starts it when a mail "
                 "program's message server needs it; where its systemd unit is enabled for "
                 "the user, it is there from login on. Accounts are set up with "
                 "orvmail-account."),
        Text::tr("It logs to standard error, which is the journal where systemd has started "
                 "it: journalctl --user -u asdaemon."),
        Text::tr("So that large accounts are quick, it puts indexes into the mail store's "
                 "database when it starts and they are missing. Nothing relies on them. For a "
                 "daemon that leaves that alone, write into the file that \"systemctl --user edit "
                 "asdaemon\" opens: [Service], an empty ExecStart=, and ExecStart= with its path "
                 "and --no-indexes, a line each.")};
    manual.options = options();
    manual.sections = sections();
    manual.seeAlso = {QStringLiteral("orvmail-account(1)"), QStringLiteral("journalctl(1)")};
    return manual;
}

CommandLine CommandLine::parse(const QStringList &arguments)
{
    QCommandLineParser parser;
    addOptions(parser, manual().options);
    if (!parser.parse(arguments))
        return wrong(parser.errorText());
    if (parser.isSet(QStringLiteral("help")))
        return over(helpText(manual()), 0);
    if (parser.isSet(QStringLiteral("version")))
        return over(QStringLiteral("asdaemon " ORVMAIL_VERSION "\n"), 0);
    if (!parser.positionalArguments().isEmpty())
        return wrong(Text::tr("unexpected: %1").arg(parser.positionalArguments().first()));
    const QString patience = QStringLiteral("patience");
    const QString undoTime = QStringLiteral("undo-time");
    CommandLine line;
    line.noIndexes = parser.isSet(QStringLiteral("no-indexes"));
    line.patience = parser.value(patience).toInt();
    if (parser.isSet(patience) && (line.patience < 1 || line.patience > 3600))
        return wrong(Text::tr("not 1 to 3600 seconds: %1").arg(parser.value(patience)));
    line.undoTime = parser.isSet(undoTime) ? parser.value(undoTime).toInt() : 0;
    if (parser.isSet(undoTime) && (line.undoTime < 1 || line.undoTime > 3600000))
        return wrong(Text::tr("not 1 to 3600000 milliseconds: %1").arg(parser.value(undoTime)));
    const QStringList names =
        parser.value(QStringLiteral("log")).split(QLatin1Char(','), Qt::SkipEmptyParts);
    for (const QString &name : names) {
        if (name == QLatin1String("all"))
            line.logRules += QStringLiteral("asdaemon*.debug=true\n");
        else if (name == QLatin1String("platform"))
            line.logPlatform = true;
        else if (isLogCategory(name))
            line.logRules += name + QStringLiteral(".debug=true\n");
        else
            return wrong(Text::tr("no such category: %1").arg(name));
    }
    return line;
}

} // namespace Daemon
