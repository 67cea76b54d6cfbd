// SPDX-License-Identifier: LGPL-2.1-or-later
#include "eas/base64decoder.h"

#include <array>

namespace Eas {

namespace {

constexpr quint8 Padding = 64;
constexpr quint8 Blank = 65;
constexpr quint8 Invalid = 66;

constexpr std::array<quint8, 256> makeTable()
{
    constexpr char Digits[] = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/=";
    std::array<quint8, 256> table {};
    for (quint8 &value : table)
        value = Invalid;
    for (int i = 0; Digits[i] != '\0'; ++i)
        table[quint8(Digits[i])] = quint8(i);
    for (const char c : {' ', '\t', '\r', '\n'})
        table[quint8(c)] = Blank;
    return table;
}

constexpr std::array<quint8, 256> Values = makeTable();

} // namespace

QByteArray Base64Decoder::decode(const QByteArray &text)
{
    QByteArray bytes(text.size() / 4 * 3 + 3, Qt::Uninitialized);
    char *out = bytes.data();
    const char *in = text.constData();
    const char *const end = in + text.size();
    while (in < end) {
        // Whole groups, as almost all of it is.
        if (m_bits == 0 && !m_padded && m_valid) {
            in = decodeGroups(in, end, &out);
            if (in == end)
                break;
        }
        decodeCharacter(*in++, &out);
    }
    bytes.truncate(int(out - bytes.constData()));
    return bytes;
}

/** Decodes groups of four valid characters; returns the beginning of the first other group. */
const char *Base64Decoder::decodeGroups(const char *in, const char *end, char **out)
{
    char *to = *out;
    for (; end - in >= 4; in += 4) {
        const quint8 a = Values[quint8(in[0])];
        const quint8 b = Values[quint8(in[1])];
        const quint8 c = Values[quint8(in[2])];
        const quint8 d = Values[quint8(in[3])];
        if ((a | b | c | d) >= Padding)
            break;
        *to++ = char(a << 2 | b >> 4);
        *to++ = char(b << 4 | c >> 2);
        *to++ = char(c << 6 | d);
    }
    *out = to;
    return in;
}

void Base64Decoder::decodeCharacter(char c, char **out)
{
    const quint8 value = Values[quint8(c)];
    if (value == Blank)
        return;
    m_padded = m_padded || value == Padding;
    if (value == Invalid || (m_padded && value != Padding))
        m_valid = false;
    if (m_padded || !m_valid)
        return;
    m_buffer = m_buffer << 6 | value;
    m_bits += 6;
    if (m_bits >= 8) {
        m_bits -= 8;
        *(*out)++ = char(m_buffer >> m_bits);
    }
}

} // namespace Eas
