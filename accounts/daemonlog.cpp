// SPDX-License-Identifier: LGPL-2.1-or-later
#include "accounts/daemonlog.h"

#include "accounts/programoutput.h"
#include "asclient/debuglog.h"

#include <QFile>
#include <qmailnamespace.h>
#include <QRegularExpression>

#include <unistd.h>

namespace Accounts {

namespace {

constexpr int JournalLines = 300;
constexpr int DebugLines = 2000;
/** Of each file's end, so much is read. */
constexpr qint64 DebugBytes = 1024 * 1024;

QStringList linesOf(const QString &text)
{
    return text.split(QLatin1Char('\n'), Qt::SkipEmptyParts);
}

/** The end of a file without the line that is cut; nothing where it cannot be read. */
QStringList lastLines(const QString &name)
{
    QFile file(QMail::dataPath() + QLatin1Char('/') + name);
    if (!file.open(QIODevice::ReadOnly))
        return {};
    const bool isCut = file.size() > DebugBytes;
    file.seek(isCut ? file.size() - DebugBytes : 0);
    QStringList lines = linesOf(QString::fromUtf8(file.readAll()));
    if (isCut && !lines.isEmpty())
        lines.removeFirst();
    return lines;
}

} // namespace

DaemonLog DaemonLog::journal()
{
    // Not by its unit alone: the session bus may have started it, and the journal may know no units
    // of users.
    const QString own = QStringLiteral("_UID=%1").arg(geteuid());
    const ProgramOutput told = ProgramOutput::of(
        QStringLiteral("journalctl"),
        {QStringLiteral("--no-pager"), QStringLiteral("--no-hostname"), QStringLiteral("--quiet"),
         QStringLiteral("--output=short-iso"), QStringLiteral("--lines=%1").arg(JournalLines),
         QStringLiteral("_COMM=asdaemon"), own, QStringLiteral("+"),
         QStringLiteral("USER_UNIT=asdaemon.service"), own});
    if (!told.hasRun)
        return {{}, QStringLiteral("no journal: journalctl is not there")};
    if (told.out.isEmpty())
        return {{},
                told.error.isEmpty() ? QStringLiteral("the journal has nothing of asdaemon")
                                     : QStringLiteral("no journal: ") + told.error};
    return ofJournal(linesOf(told.out));
}

DaemonLog DaemonLog::ofJournal(const QStringList &lines)
{
    static const QRegularExpression own(QStringLiteral(
        "^\\S+ (?:systemd\\[\\d+\\]: |[\\w-]+\\[\\d+\\]: asdaemon(?:\\.[a-z]+)?: )"));
    DaemonLog log;
    for (const QString &line : lines) {
        if (own.match(line).hasMatch())
            log.lines.append(line);
    }
    const int left = lines.size() - log.lines.size();
    if (left > 0)
        log.remark = QStringLiteral("left out: %1 that the daemon has not said itself").arg(left);
    return log;
}

DaemonLog DaemonLog::debugLog()
{
    DaemonLog log;
    log.lines = lastLines(QLatin1String(Activesync::FormerDebugLogName))
        + lastLines(QLatin1String(Activesync::DebugLogName));
    if (log.lines.isEmpty())
        log.remark = QStringLiteral("none was kept; %1=1 in the daemon's environment keeps one")
                         .arg(QLatin1String(Activesync::DebugVariable));
    else
        log.lines = log.lines.mid(qMax(0, log.lines.size() - DebugLines));
    return log;
}

} // namespace Accounts
