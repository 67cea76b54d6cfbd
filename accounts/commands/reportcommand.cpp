// SPDX-License-Identifier: LGPL-2.1-or-later
#include "accounts/commands/reportcommand.h"

#include "accounts/commands/troublereport.h"
#include "accounts/console.h"
#include "accounts/setup/accountbook.h"
#include "translations/inenglish.h"
#include "translations/text.h"

#include <QFile>
#include <QJsonObject>

#include <unistd.h>

namespace Accounts {

namespace {

const QString OutputOption = QStringLiteral("output");
const QString OverwriteOption = QStringLiteral("overwrite");
const QString YesOption = QStringLiteral("yes");
const QString UsualFile = QStringLiteral("orvmail-report.txt");
/** Shown and not written. */
const QString NoFile = QStringLiteral("-");

/** Who reads it may not know the language of who sends it. */
QString reportText()
{
    const InEnglish english;
    return TroubleReport(AccountBook::open()).text();
}

} // namespace

Manual::Command ReportCommand::manual() const
{
    Manual::Command manual("report", Text::tr("write a file for a bug report, after showing it"));
    manual.paragraphs = {
        Text::tr("The file tells versions, how the parts are found, how they and the accounts "
                 "fare, how many messages there are, and what the daemon has logged. Mail "
                 "addresses, servers, users and names are replaced; passwords, subjects and "
                 "contents of mails are not in it."),
        Text::tr("It is shown first, and written when you agree; in a pipe, nobody is asked.")};
    manual.options = {
        {"output", "FILE",
         Text::tr("write it there, instead of orvmail-report.txt here; -: only show it")},
        {"overwrite", "", Text::tr("write it also where there is such a file already")},
        {"yes", "", Text::tr("write it without asking")}};
    return manual;
}

Outcome ReportCommand::run(const QCommandLineParser &parser, Console &console)
{
    const QString path = parser.isSet(OutputOption) ? parser.value(OutputOption) : UsualFile;
    const QString text = reportText();
    const QStringList lines = text.split(QLatin1Char('\n'));
    for (const QString &line : lines)
        console.say(line);
    if (path != NoFile) {
        const bool isThere = QFile::exists(path);
        Outcome outcome = confirm(path, isThere, parser, console);
        if (outcome.ok())
            outcome = write(path, isThere, text);
        if (!outcome.ok())
            return outcome;
        console.say(
            Text::tr("The report is in %1. Look through it before you give it away.").arg(path));
    }
    console.give(QJsonObject {{QStringLiteral("file"), path == NoFile ? QString() : path},
                              {QStringLiteral("report"), text}});
    return {};
}

Outcome ReportCommand::confirm(const QString &path, bool isThere, const QCommandLineParser &parser,
                               Console &console)
{
    const bool isAsked =
        console.isInteractive() && isatty(STDOUT_FILENO) && !parser.isSet(YesOption);
    const bool isInTheWay = isThere && !parser.isSet(OverwriteOption);
    if (isInTheWay && !isAsked)
        return Outcome::refused(
            Text::tr("there is a file %1 already; --overwrite replaces it, --output names another")
                .arg(path));
    if (!isAsked)
        return {};
    const QString question = isInTheWay
        ? Text::tr("There is a file %1 already. Replace it by this report?")
        : Text::tr("Write this report to %1?");
    return console.confirm(question.arg(path)) ? Outcome()
                                               : Outcome::refused(Text::tr("nothing was written"));
}

Outcome ReportCommand::write(const QString &path, bool isThere, const QString &text)
{
    QFile file(path);
    const QByteArray bytes = text.toUtf8();
    // A file that appeared after the question is not replaced.
    const QIODevice::OpenMode way = isThere ? QIODevice::Truncate : QIODevice::NewOnly;
    if (!file.open(QIODevice::WriteOnly | way) || file.write(bytes) != bytes.size()
        || !file.flush())
        return Outcome::refused(Text::tr("%1 cannot be written: %2; --output names another")
                                    .arg(path, file.errorString()));
    return {};
}

} // namespace Accounts
