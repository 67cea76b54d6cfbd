// SPDX-License-Identifier: LGPL-2.1-or-later
#include "daemon/commandline.h"

#include "daemon/sync/localchangewatch.h"

#include <QCommandLineParser>

namespace Daemon {

namespace {

struct LogCategory
{
    const char *name;
    const char *description;
};

constexpr LogCategory Categories[] = {
    {"asdaemon", "start and end, accounts and their settings"},
    {"asdaemon.requests", "each call and its end"},
    {"asdaemon.eas", "the conversation with the servers, without its contents"},
    {"asdaemon.sync", "what a synchronisation does"},
    {"platform", "what the mail store and Qt say; may quote people's mail, not in \"all\""},
};

QString describeCategories()
{
    QString text = QStringLiteral("\nCategories for --log:\n");
    for (const LogCategory &category : Categories)
        text += QStringLiteral("  %1 %2\n")
                    .arg(QLatin1String(category.name), -20)
                    .arg(QLatin1String(category.description));
    return text;
}

QStringList categoryNames()
{
    QStringList names;
    for (const LogCategory &category : Categories)
        names.append(QLatin1String(category.name));
    return names;
}

CommandLine over(const QString &text, int exitCode)
{
    CommandLine line;
    line.isOver = true;
    line.exitCode = exitCode;
    line.text = text;
    return line;
}

} // namespace

CommandLine CommandLine::parse(const QStringList &arguments)
{
    QCommandLineParser parser;
    parser.setApplicationDescription(
        QStringLiteral("Brings the mail of ActiveSync accounts into the QMF mail store.\n"
                       "Usually started by D-Bus when somebody needs it."));
    const QCommandLineOption help({QStringLiteral("h"), QStringLiteral("help")},
                                  QStringLiteral("Tell what can be said here."));
    const QCommandLineOption version({QStringLiteral("v"), QStringLiteral("version")},
                                     QStringLiteral("Tell the version."));
    const QCommandLineOption log(
        QStringLiteral("log"), QStringLiteral("Log everything of these categories, or of \"all\"."),
        QStringLiteral("CATEGORY[,CATEGORY...]"));
    const QCommandLineOption patience(
        QStringLiteral("patience"),
        QStringLiteral("Give a server up that keeps silent for so long (default 120)."),
        QStringLiteral("SECONDS"));
    const QCommandLineOption undoTime(
        QStringLiteral("undo-time"),
        QStringLiteral("Leave changes made here alone for so long, as a mail program may take them "
                       "back (default %1), unless somebody asks for a synchronisation.")
            .arg(LocalChangeWatch::usualQuietTime()),
        QStringLiteral("MILLISECONDS"));
    parser.addOptions({help, version, log, patience, undoTime});
    if (!parser.parse(arguments))
        return over(parser.errorText() + QStringLiteral("\n"), 2);
    if (parser.isSet(help))
        return over(parser.helpText() + describeCategories(), 0);
    if (parser.isSet(version))
        return over(QStringLiteral("asdaemon " ORVMAIL_VERSION "\n"), 0);
    if (!parser.positionalArguments().isEmpty())
        return over(QStringLiteral("unexpected: %1\n").arg(parser.positionalArguments().first()),
                    2);
    CommandLine line;
    line.patience = parser.value(patience).toInt();
    if (parser.isSet(patience) && (line.patience < 1 || line.patience > 3600))
        return over(QStringLiteral("not 1 to 3600 seconds: %1\n").arg(parser.value(patience)), 2);
    line.undoTime = parser.isSet(undoTime) ? parser.value(undoTime).toInt() : 0;
    if (parser.isSet(undoTime) && (line.undoTime < 1 || line.undoTime > 3600000))
        return over(
            QStringLiteral("not 1 to 3600000 milliseconds: %1\n").arg(parser.value(undoTime)), 2);
    const QStringList names = parser.value(log).split(QLatin1Char(','), Qt::SkipEmptyParts);
    for (const QString &name : names) {
        if (name == QLatin1String("all"))
            line.logRules += QStringLiteral("asdaemon*.debug=true\n");
        else if (name == QLatin1String("platform"))
            line.logPlatform = true;
        else if (categoryNames().contains(name))
            line.logRules += name + QStringLiteral(".debug=true\n");
        else
            return over(QStringLiteral("no such category: %1\n").arg(name), 2);
    }
    return line;
}

} // namespace Daemon
