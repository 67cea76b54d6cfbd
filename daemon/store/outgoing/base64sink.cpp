// SPDX-License-Identifier: LGPL-2.1-or-later
#include "daemon/store/outgoing/base64sink.h"

#include "daemon/store/outgoing/base64lines.h"

namespace Store {

using Base64Lines::LineBytes;

Base64Sink::Base64Sink(QIODevice *target)
    : m_target(target)
{
    open(QIODevice::WriteOnly | QIODevice::Unbuffered);
}

qint64 Base64Sink::writeData(const char *data, qint64 size)
{
    qint64 at = 0;
    if (!m_rest.isEmpty()) {
        at = qMin<qint64>(LineBytes - m_rest.size(), size);
        m_rest.append(data, int(at));
        if (m_rest.size() < LineBytes)
            return size;
        writeLines(m_rest.constData(), LineBytes);
        m_rest.clear();
    }
    while (size - at >= LineBytes) {
        const int piece =
            int(qMin<qint64>((size - at) / LineBytes * LineBytes, Base64Lines::PieceBytes));
        writeLines(data + at, piece);
        at += piece;
    }
    m_rest.append(data + at, int(size - at));
    return size;
}

void Base64Sink::writeLines(const char *data, int size)
{
    m_lines.resize(int(Base64Lines::encodedSize(size)));
    Base64Lines::encode(data, size, m_lines.data());
    m_failed = m_target->write(m_lines) != m_lines.size() || m_failed;
}

bool Base64Sink::finish()
{
    if (!m_rest.isEmpty())
        writeLines(m_rest.constData(), m_rest.size());
    m_rest.clear();
    return !m_failed;
}

} // namespace Store
