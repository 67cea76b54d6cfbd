// SPDX-License-Identifier: LGPL-2.1-or-later
#include "daemon/store/outgoing/partfile.h"

#include <sys/stat.h>
#include <unistd.h>

namespace Store {

namespace {

qint64 changeOf(const struct stat &state)
{
    // Not when its inode changed: to be renamed does it no harm.
    return qint64(state.st_mtim.tv_sec) * 1000000000 + state.st_mtim.tv_nsec;
}

} // namespace

PartFile::PartFile(const QString &path)
    : m_file(path)
{
}

std::shared_ptr<PartFile> PartFile::open(const QString &path)
{
    std::shared_ptr<PartFile> part(new PartFile(path));
    struct stat state {};
    if (!part->m_file.open(QIODevice::ReadOnly | QIODevice::Unbuffered)
        || ::fstat(part->m_file.handle(), &state) != 0 || !S_ISREG(state.st_mode))
        return nullptr;
    part->m_size = state.st_size;
    part->m_changed = changeOf(state);
    return part;
}

qint64 PartFile::read(qint64 at, char *data, qint64 size) const
{
    return ::pread(m_file.handle(), data, size_t(size), at);
}

bool PartFile::isUnchanged() const
{
    struct stat state {};
    return ::fstat(m_file.handle(), &state) == 0 && state.st_nlink > 0 && state.st_size == m_size
        && changeOf(state) == m_changed;
}

} // namespace Store
