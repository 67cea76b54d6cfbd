// SPDX-License-Identifier: LGPL-2.1-or-later
#include "daemon/download/temporaryfile.h"

#include "daemon/store/storefailure.h"

namespace Daemon {

namespace {
constexpr qint64 Portion = 256 * 1024;
/** More than the mail store needs to be written: it is to work on beside a file that has filled the
 * disk. */
constexpr qint64 LeftToStore = 1024 * 1024;
} // namespace

qint64 TemporaryFile::writeData(const char *bytes, qint64 length)
{
    if (length > m_allowed) {
        const Eas::Result room = Store::checkRoom(length + Portion + LeftToStore);
        if (!room.ok()) {
            setErrorString(room.text);
            return -1;
        }
        m_allowed = length + Portion;
    }
    m_allowed -= length;
    return QTemporaryFile::writeData(bytes, length);
}

} // namespace Daemon
