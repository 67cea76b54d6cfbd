// SPDX-License-Identifier: LGPL-2.1-or-later
#include "daemon/store/outgoing/base64lines.h"

#include <array>
#include <cstring>

namespace Store {

namespace {

constexpr char Alphabet[] = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";

using Pair = std::array<char, 2>;

/** The two characters of each 12 bits: half as many look-ups as one for each character. */
constexpr std::array<Pair, 4096> makePairs()
{
    std::array<Pair, 4096> pairs {};
    for (size_t bits = 0; bits < pairs.size(); ++bits)
        pairs[bits] = Pair {Alphabet[bits >> 6U], Alphabet[bits & 63U]};
    return pairs;
}

constexpr std::array<Pair, 4096> Pairs = makePairs();

char *put(quint32 bits, char *to)
{
    std::memcpy(to, Pairs[bits >> 12U].data(), 2);
    std::memcpy(to + 2, Pairs[bits & 0xfffU].data(), 2);
    return to + 4;
}

/** One or two bytes, filled up. */
char *putLast(const uchar *data, qint64 size, char *to)
{
    const quint32 second = size > 1 ? data[1] : 0;
    to = put(quint32(data[0]) << 16U | second << 8U, to);
    to[-1] = '=';
    if (size == 1)
        to[-2] = '=';
    return to;
}

char *putLine(const uchar *data, qint64 size, char *to)
{
    qint64 at = 0;
    for (; at + 3 <= size; at += 3)
        to = put(quint32(data[at]) << 16U | quint32(data[at + 1]) << 8U | data[at + 2], to);
    if (at < size)
        to = putLast(data + at, size - at, to);
    *to++ = '\r';
    *to++ = '\n';
    return to;
}

} // namespace

char *Base64Lines::encode(const char *data, qint64 size, char *to)
{
    const auto *bytes = reinterpret_cast<const uchar *>(data);
    qint64 at = 0;
    for (; at + LineBytes <= size; at += LineBytes)
        to = putLine(bytes + at, LineBytes, to);
    return at < size ? putLine(bytes + at, size - at, to) : to;
}

} // namespace Store
