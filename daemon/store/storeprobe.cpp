// SPDX-License-Identifier: LGPL-2.1-or-later
#include "daemon/store/storeprobe.h"

#include <QFile>
#include <qmailnamespace.h>

#include <fcntl.h>

namespace Daemon {

namespace {

/** Where a writer's lock lies in the shared memory of a write-ahead log
 * (sqlite.org/walformat.html). */
constexpr off_t WriterLock = 120;

/**
 * The file that carries the locks; -1 where there is none yet. It stays open: to close it would
 * give up every lock that this process has on it, those of the mail store as well.
 */
int lockFile()
{
    static int file = -1;
    if (file < 0) {
        const QString path = QMail::dataPath() + QStringLiteral("database/qmailstore.db-shm");
        file = open(QFile::encodeName(path).constData(), O_RDONLY | O_CLOEXEC);
    }
    return file;
}

} // namespace

bool StoreProbe::isWritable()
{
    struct flock lock {};
    lock.l_type = F_WRLCK;
    lock.l_whence = SEEK_SET;
    lock.l_start = WriterLock;
    lock.l_len = 1;
    return fcntl(lockFile(), F_GETLK, &lock) != 0 || lock.l_type == F_UNLCK;
}

} // namespace Daemon
