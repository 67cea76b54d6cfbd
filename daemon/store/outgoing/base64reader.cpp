// SPDX-License-Identifier: LGPL-2.1-or-later
#include "daemon/store/outgoing/base64reader.h"

#include "daemon/store/outgoing/base64lines.h"

#include <cstring>

namespace Store {

Base64Reader::Base64Reader(std::shared_ptr<const PartFile> file)
    : m_file(std::move(file))
    , m_bytes(int(qMin<qint64>(m_file->size(), Base64Lines::PieceBytes)), Qt::Uninitialized)
{
}

qint64 Base64Reader::read(char *data, qint64 size)
{
    if (m_given == m_lines.size() && !readPiece())
        return -1;
    const qint64 count = qMin(size, m_lines.size() - m_given);
    std::memcpy(data, m_lines.constData() + m_given, size_t(count));
    m_given += count;
    return count;
}

bool Base64Reader::readPiece()
{
    const qint64 size = qMin<qint64>(m_bytes.size(), m_file->size() - m_at);
    // Only whole pieces make whole lines.
    if (m_file->read(m_at, m_bytes.data(), size) != size)
        return false;
    m_at += size;
    m_given = 0;
    m_lines.resize(int(Base64Lines::encodedSize(size)));
    Base64Lines::encode(m_bytes.constData(), size, m_lines.data());
    return true;
}

} // namespace Store
