// SPDX-License-Identifier: LGPL-2.1-or-later
#include "daemon/send/headbuffer.h"

namespace Daemon {

qint64 HeadBuffer::writeData(const char *data, qint64 size)
{
    m_bytes.append(data, int(qMin(size, qint64(Size - m_bytes.size()))));
    return size;
}

} // namespace Daemon
