// SPDX-License-Identifier: LGPL-2.1-or-later
#include "tests/support/smalldisk.h"

#include <QByteArray>

#include <fcntl.h>
#include <sched.h>
#include <sys/mount.h>
#include <unistd.h>

bool mountSmallDisk(const char *path, const char *size)
{
    const uid_t uid = ::getuid();
    const gid_t gid = ::getgid();
    if (::unshare(CLONE_NEWUSER | CLONE_NEWNS) != 0)
        return false;
    const auto put = [](const char *name, const QByteArray &line) {
        const int file = ::open(name, O_WRONLY);
        const bool done = file >= 0 && ::write(file, line.constData(), size_t(line.size())) > 0;
        ::close(file);
        return done;
    };
    const auto own = [](uint id) {
        return QByteArray::number(id) + ' ' + QByteArray::number(id) + " 1";
    };
    put("/proc/self/setgroups", "deny");
    return put("/proc/self/uid_map", own(uid)) && put("/proc/self/gid_map", own(gid))
        && ::mount("none", path, "tmpfs", 0, size) == 0;
}
