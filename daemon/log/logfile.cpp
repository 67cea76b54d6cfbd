// SPDX-License-Identifier: LGPL-2.1-or-later
#include "daemon/log/logfile.h"

#include <QDateTime>
#include <QDir>
#include <QFileInfo>

namespace Daemon {

LogFile::LogFile(const QString &path, const QString &formerPath, qint64 maximum)
    : m_formerPath(formerPath)
    , m_maximum(maximum)
    , m_file(path)
{
}

void LogFile::write(const QString &line)
{
    const QMutexLocker lock(&m_mutex);
    if (m_file.isOpen() && m_file.size() >= m_maximum) {
        m_file.close();
        QFile::remove(m_formerPath);
        if (!QFile::rename(m_file.fileName(), m_formerPath))
            QFile::resize(m_file.fileName(), 0);
    }
    if (!open())
        return;
    const QString time = QDateTime::currentDateTimeUtc().toString(Qt::ISODateWithMs);
    m_file.write((time + QLatin1Char(' ') + line + QLatin1Char('\n')).toUtf8());
    m_file.flush();
}

bool LogFile::open()
{
    if (m_file.isOpen())
        return true;
    QDir().mkpath(QFileInfo(m_file.fileName()).path());
    if (!m_file.open(QIODevice::WriteOnly | QIODevice::Append))
        return false;
    const bool isProtected = m_file.setPermissions(QFile::ReadOwner | QFile::WriteOwner);
    if (!isProtected)
        m_file.close();
    return isProtected;
}

} // namespace Daemon
