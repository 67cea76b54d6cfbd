// SPDX-License-Identifier: LGPL-2.1-or-later
#include "daemon/log/logging.h"

#include "daemon/log/logfile.h"

#include <QRegularExpression>

#include <cstdio>
#include <cstring>
#include <memory>
#include <sys/stat.h>
#include <unistd.h>

namespace Daemon {

Q_LOGGING_CATEGORY(lcDaemon, "asdaemon", QtInfoMsg)
Q_LOGGING_CATEGORY(lcRequests, "asdaemon.requests", QtInfoMsg)
Q_LOGGING_CATEGORY(lcSync, "asdaemon.sync", QtInfoMsg)

namespace {

constexpr char OwnCategories[] = "asdaemon";
constexpr char EverythingOfOurs[] = "asdaemon*.debug=true\n";

bool showsPlatform = false;
bool showsDebug = false;
bool isJournal = false;
std::unique_ptr<LogFile> debugLog;

/** Whether the service manager has tied standard error to the journal, systemd.exec(5). */
bool writesToJournal()
{
    struct stat error;
    if (fstat(STDERR_FILENO, &error) != 0)
        return false;
    const QByteArray stream = QByteArray::number(qulonglong(error.st_dev)) + ':'
        + QByteArray::number(qulonglong(error.st_ino));
    return qgetenv("JOURNAL_STREAM") == stream;
}

/** What makes the journal take a line as of this priority, sd-daemon(3). */
const char *journalPrefix(QtMsgType type)
{
    switch (type) {
    case QtDebugMsg:
        return "<7>";
    case QtInfoMsg:
        return "<6>";
    case QtWarningMsg:
        return "<4>";
    case QtCriticalMsg:
        return "<3>";
    case QtFatalMsg:
        return "<2>";
    }
    return "";
}

/** Errors quote what servers and settings say. */
QString withoutAddresses(QString text)
{
    static const QRegularExpression address(
        QStringLiteral("[a-z][a-z0-9+.-]*://[^\\s\"{}]+|"
                       "[^\\s\"<>(){},;:]+(?:@|%40)[^\\s\"<>(){},;:]+"),
        QRegularExpression::CaseInsensitiveOption);
    return text.replace(address, QStringLiteral("(address)"));
}

void writeMessage(QtMsgType type, const QMessageLogContext &context, const QString &text)
{
    const bool isOwn = context.category
        && std::strncmp(context.category, OwnCategories, sizeof OwnCategories - 1) == 0;
    if (!isOwn && !showsPlatform && type != QtFatalMsg)
        return;
    const QString shown = isOwn ? withoutAddresses(text) : text;
    if (isOwn && debugLog)
        debugLog->write(QLatin1String(context.category) + QLatin1String(": ") + shown);
    if (type == QtDebugMsg && isOwn && !showsDebug)
        return;
    std::fprintf(stderr, "%s%s\n", isJournal ? journalPrefix(type) : "",
                 qPrintable(qFormatLogMessage(type, context, shown)));
}

} // namespace

void startLogging(const QString &rules, bool withPlatform)
{
    showsPlatform = withPlatform;
    showsDebug = !rules.isEmpty();
    isJournal = writesToJournal();
    // The journal knows the program.
    qSetMessagePattern((isJournal ? QString() : QStringLiteral("asdaemon: "))
                       + QStringLiteral("%{if-category}%{category}: %{endif}%{message}"));
    QLoggingCategory::setFilterRules(rules);
    qInstallMessageHandler(writeMessage);
}

void startDebugLog(const QString &path, const QString &formerPath)
{
    debugLog = std::make_unique<LogFile>(path, formerPath);
    QLoggingCategory::setFilterRules(QLatin1String(EverythingOfOurs));
    qCInfo(lcDaemon, "version " ORVMAIL_VERSION " keeps a debug log");
}

} // namespace Daemon
