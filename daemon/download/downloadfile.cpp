// SPDX-License-Identifier: LGPL-2.1-or-later
#include "daemon/download/downloadfile.h"

#include "daemon/store/incoming/contentwriter.h"

#include <QDir>

#include <unistd.h>

namespace Daemon {

namespace {

Eas::Result noRoom(const QString &why)
{
    return Eas::failure(Eas::NoRoom, Eas::Cause::Here,
                        QStringLiteral("cannot write the download: ") + why);
}

} // namespace

DownloadFile::DownloadFile()
    : m_file(Store::ContentWriter::downloadFolder() + QStringLiteral("/XXXXXX"))
{
}

Eas::Result DownloadFile::open()
{
    return m_file.open() ? Eas::Result() : noRoom(m_file.errorString());
}

Eas::Result DownloadFile::finish()
{
    if (!m_file.flush() || fsync(m_file.handle()) != 0)
        return noRoom(m_file.errorString());
    m_path = m_file.fileName();
    return m_path.isEmpty() ? noRoom(m_file.errorString()) : Eas::Result();
}

void DownloadFile::removeLeftovers()
{
    QDir place(Store::ContentWriter::downloadFolder());
    const QStringList names = place.entryList(QDir::Files);
    for (const QString &name : names)
        place.remove(name);
}

} // namespace Daemon
