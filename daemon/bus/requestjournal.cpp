// SPDX-License-Identifier: LGPL-2.1-or-later
#include "daemon/bus/requestjournal.h"

#include "asclient/runtimedirectory.h"

#include <QFile>
#include <QSaveFile>

namespace Daemon {

namespace {

/** So many requests are never open; a larger file is not ours. */
constexpr qint64 MaximumFileSize = 64 * 1024;

} // namespace

RequestJournal::RequestJournal(const QString &path)
    : m_path(path)
{
}

QString RequestJournal::defaultPath()
{
    const QString directory = Activesync::runtimeDirectory();
    return directory.isEmpty() ? directory : directory + QStringLiteral("/asdaemon-requests");
}

RequestJournal::Entries RequestJournal::takeOver()
{
    Entries entries;
    QFile file(m_path);
    if (m_path.isEmpty() || !file.open(QIODevice::ReadOnly))
        return entries;
    for (const QByteArray &line : file.read(MaximumFileSize).split('\n')) {
        const int id = line.split(' ').value(0).toInt();
        const quint64 account = line.split(' ').value(1).toULongLong();
        if (id > 0 && account > 0)
            entries.insert(id, account);
    }
    file.remove();
    return entries;
}

void RequestJournal::add(int id, quint64 accountId)
{
    m_entries.insert(id, accountId);
    write();
}

void RequestJournal::remove(int id)
{
    if (m_entries.remove(id))
        write();
}

void RequestJournal::write() const
{
    if (m_path.isEmpty())
        return;
    if (m_entries.isEmpty()) {
        QFile::remove(m_path);
        return;
    }
    QSaveFile file(m_path);
    if (!file.open(QIODevice::WriteOnly))
        return;
    for (auto entry = m_entries.cbegin(); entry != m_entries.cend(); ++entry)
        file.write(QByteArray::number(entry.key()) + ' ' + QByteArray::number(entry.value())
                   + '\n');
    file.commit();
}

} // namespace Daemon
