// SPDX-License-Identifier: LGPL-2.1-or-later
#include "daemon/store/outgoing/base64sink.h"

namespace Store {

namespace {

/** Bytes that make up a line of 76 characters, */
constexpr int LineBytes = 57;
/** ... and so many of them are encoded at a time. */
constexpr int PieceBytes = LineBytes * 512;

} // namespace

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
        const int piece = int(qMin<qint64>((size - at) / LineBytes * LineBytes, PieceBytes));
        writeLines(data + at, piece);
        at += piece;
    }
    m_rest.append(data + at, int(size - at));
    return size;
}

void Base64Sink::writeLines(const char *data, int size)
{
    const QByteArray encoded = QByteArray::fromRawData(data, size).toBase64();
    QByteArray lines;
    constexpr int Length = LineBytes / 3 * 4;
    lines.reserve(encoded.size() + 2 * (encoded.size() / Length + 1));
    for (int at = 0; at < encoded.size(); at += Length)
        lines.append(encoded.constData() + at, qMin(Length, encoded.size() - at)).append("\r\n", 2);
    m_failed = m_target->write(lines) != lines.size() || m_failed;
}

bool Base64Sink::finish()
{
    if (!m_rest.isEmpty())
        writeLines(m_rest.constData(), m_rest.size());
    m_rest.clear();
    return !m_failed;
}

} // namespace Store
