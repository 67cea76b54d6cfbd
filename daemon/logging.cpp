// SPDX-License-Identifier: LGPL-2.1-or-later
#include "daemon/logging.h"

#include <cstdio>
#include <cstring>

namespace Daemon {

Q_LOGGING_CATEGORY(lcDaemon, "asdaemon", QtInfoMsg)
Q_LOGGING_CATEGORY(lcRequests, "asdaemon.requests", QtInfoMsg)
Q_LOGGING_CATEGORY(lcSync, "asdaemon.sync", QtInfoMsg)

namespace {

constexpr char OwnCategories[] = "asdaemon";

bool showsPlatform = false;

void writeMessage(QtMsgType type, const QMessageLogContext &context, const QString &text)
{
    const bool isOwn = context.category
        && std::strncmp(context.category, OwnCategories, sizeof OwnCategories - 1) == 0;
    if (!isOwn && !showsPlatform && type != QtFatalMsg)
        return;
    std::fprintf(stderr, "%s\n", qPrintable(qFormatLogMessage(type, context, text)));
}

} // namespace

void startLogging(const QString &rules, bool withPlatform)
{
    showsPlatform = withPlatform;
    qSetMessagePattern(QStringLiteral("asdaemon: %{if-category}%{category}: %{endif}%{message}"));
    QLoggingCategory::setFilterRules(rules);
    qInstallMessageHandler(writeMessage);
}

} // namespace Daemon
