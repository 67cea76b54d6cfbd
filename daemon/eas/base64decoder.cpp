// SPDX-License-Identifier: LGPL-2.1-or-later
#include "daemon/eas/base64decoder.h"

namespace Eas {

namespace {

constexpr int padding = 64;
constexpr int blank = 65;
constexpr int invalid = 66;

int valueOf(char c)
{
    if (c >= 'A' && c <= 'Z') {
        return c - 'A';
    }
    if (c >= 'a' && c <= 'z') {
        return c - 'a' + 26;
    }
    if (c >= '0' && c <= '9') {
        return c - '0' + 52;
    }
    switch (c) {
    case '+':
        return 62;
    case '/':
        return 63;
    case '=':
        return padding;
    case ' ':
    case '\t':
    case '\r':
    case '\n':
        return blank;
    default:
        return invalid;
    }
}

} // namespace

QByteArray Base64Decoder::decode(const QByteArray &text)
{
    QByteArray bytes;
    bytes.reserve(text.size() / 4 * 3 + 3);
    for (const char c : text) {
        const int value = valueOf(c);
        if (value == blank) {
            continue;
        }
        m_padded = m_padded || value == padding;
        if (value == invalid || (m_padded && value != padding)) {
            m_valid = false;
        }
        if (m_padded || !m_valid) {
            continue;
        }
        m_buffer = m_buffer << 6 | quint32(value);
        m_bits += 6;
        if (m_bits >= 8) {
            m_bits -= 8;
            bytes.append(char(m_buffer >> m_bits));
        }
    }
    return bytes;
}

} // namespace Eas
