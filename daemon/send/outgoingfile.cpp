// SPDX-License-Identifier: LGPL-2.1-or-later
#include "daemon/send/outgoingfile.h"

#include <qmailnamespace.h>

namespace Daemon {

/** Reads through a name of its own for the open file, so that each has its own position. */
class OutgoingFile::Reader : public QFile
{
public:
    explicit Reader(OutgoingFile *owner)
        : QFile(QStringLiteral("/proc/self/fd/%1").arg(owner->m_file.handle()))
        , m_owner(owner)
    {
        open(QIODevice::ReadOnly | QIODevice::Unbuffered);
    }

protected:
    qint64 readData(char *data, qint64 size) override
    {
        if (!m_mayLeave && m_owner->mayLeave && !m_owner->mayLeave())
            return -1;
        m_mayLeave = true;
        m_owner->m_begun = true;
        const qint64 count = QFile::readData(data, size);
        m_read += qMax<qint64>(0, count);
        m_owner->m_ended = m_owner->m_ended || m_read >= m_owner->m_size;
        return count;
    }

private:
    OutgoingFile *const m_owner;
    bool m_mayLeave = false;
    qint64 m_read = 0;
};

OutgoingFile::OutgoingFile()
    : m_file(QMail::dataPath() + QStringLiteral("asdaemon-sending-XXXXXX"))
{
    m_file.open();
}

bool OutgoingFile::close()
{
    const bool isWhole = m_file.flush() && m_file.error() == QFileDevice::NoError;
    m_size = m_file.size();
    return isWhole;
}

std::unique_ptr<QIODevice> OutgoingFile::reader()
{
    m_ended = false;
    return std::make_unique<Reader>(this);
}

} // namespace Daemon
