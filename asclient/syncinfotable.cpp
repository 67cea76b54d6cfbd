// SPDX-License-Identifier: LGPL-2.1-or-later
#include "asclient/syncinfotable.h"

#include "asclient/runtimedirectory.h"

#include <errno.h>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace {

/** The lock over the whole file, of which `type` is F_RDLCK or F_WRLCK. */
struct flock wholeFile(short type)
{
    struct flock lock = {};
    lock.l_type = type;
    lock.l_whence = SEEK_SET;
    return lock;
}

} // namespace

const SyncInfoTable::Entry *SyncInfoTable::find(quint64 accountId) const
{
    for (const Entry &entry : entries) {
        const quint64 id = entry.accountId.load(std::memory_order_acquire);
        if (id == accountId)
            return &entry;
        if (id == 0)
            break;
    }
    return nullptr;
}

quint64 SyncInfoTable::packed(const SyncInfoNode &node)
{
    return quint64(quint32(node.syncState)) << 32 | quint32(qBound(0, node.progress, 1000));
}

void SyncInfoTable::unpack(quint64 value, SyncInfoNode &node)
{
    node.syncState = int(value >> 32);
    // The bound holds for a damaged file, too.
    node.progress = int(qMin(value & 0xffffffff, quint64(1000)));
}

QString SyncInfoTable::defaultPath()
{
    const QString directory = Activesync::runtimeDirectory();
    return directory.isEmpty() ? QString() : directory + QStringLiteral("/sync-state");
}

bool SyncInfoFile::open(const QByteArray &path, int flags)
{
    close();
    // Not blocking: somebody may have put a pipe there.
    m_fd = ::open(path.constData(), flags | O_CLOEXEC | O_NOFOLLOW | O_NONBLOCK, 0600);
    if (m_fd < 0)
        return false;
    struct stat status;
    if (fstat(m_fd, &status) == 0 && S_ISREG(status.st_mode) && status.st_uid == geteuid())
        return true;
    close();
    errno = EPERM;
    return false;
}

void SyncInfoFile::close()
{
    if (m_fd >= 0)
        ::close(m_fd);
    m_fd = -1;
}

qint64 SyncInfoFile::size() const
{
    struct stat status;
    return fstat(m_fd, &status) == 0 ? qint64(status.st_size) : -1;
}

bool SyncInfoFile::isAt(const QByteArray &path) const
{
    struct stat mine;
    struct stat there;
    return fstat(m_fd, &mine) == 0 && lstat(path.constData(), &there) == 0
        && mine.st_dev == there.st_dev && mine.st_ino == there.st_ino;
}

bool SyncInfoFile::isLocked() const
{
    struct flock lock = wholeFile(F_RDLCK);
    return fcntl(m_fd, F_OFD_GETLK, &lock) == 0 && lock.l_type == F_WRLCK;
}

bool SyncInfoFile::lock()
{
    struct flock lock = wholeFile(F_WRLCK);
    return fcntl(m_fd, F_OFD_SETLK, &lock) == 0;
}
