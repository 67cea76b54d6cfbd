// SPDX-License-Identifier: LGPL-2.1-or-later
#ifndef DAEMON_LOG_LOGFILE_H
#define DAEMON_LOG_LOGFILE_H

#include <QFile>
#include <QMutex>
#include <QString>

namespace Daemon {

/**
 * The debug log: lines with their times, in a file for its owner alone.
 *
 * A file that has grown to `maximum` bytes becomes the former one, and another is begun. May be
 * written by any thread. Where the file cannot be written, lines are lost.
 */
class LogFile
{
public:
    LogFile(const QString &path, const QString &formerPath, qint64 maximum = 4 * 1024 * 1024);

    void write(const QString &line);

private:
    bool open();

    const QString m_formerPath;
    const qint64 m_maximum;
    QMutex m_mutex;
    QFile m_file;
};

} // namespace Daemon

#endif
