// SPDX-License-Identifier: LGPL-2.1-or-later
#include "tests/plugin/logrecorder.h"

#include <QMutex>

namespace {

QMutex mutex;
QStringList lines;
QStringList warnings;

void record(QtMsgType type, const QMessageLogContext &, const QString &message)
{
    const QMutexLocker lock(&mutex);
    const QString category = QStringLiteral("Messaging :  ");
    if (type != QtDebugMsg)
        warnings.append(message);
    else if (message.startsWith(category))
        lines.append(message.mid(category.size()));
}

QStringList take(QStringList &list)
{
    const QMutexLocker lock(&mutex);
    QStringList taken;
    taken.swap(list);
    return taken;
}

} // namespace

LogRecorder::LogRecorder()
{
    takeLines();
    takeWarnings();
    qInstallMessageHandler(record);
}

LogRecorder::~LogRecorder()
{
    qInstallMessageHandler(nullptr);
}

QStringList LogRecorder::takeLines()
{
    return take(lines);
}

bool LogRecorder::hasLine(const QString &line) const
{
    const QMutexLocker lock(&mutex);
    return lines.contains(line);
}

QStringList LogRecorder::takeWarnings()
{
    return take(warnings);
}
