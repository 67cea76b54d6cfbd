// SPDX-License-Identifier: LGPL-2.1-or-later
#ifndef DAEMON_STORE_OUTGOING_BASE64LINES_H
#define DAEMON_STORE_OUTGOING_BASE64LINES_H

#include <QtGlobal>

namespace Store {

/** Base64 in lines of 76 characters, each with its end (RFC 2045 6.8). */
namespace Base64Lines {

/** Bytes that make up a line. */
constexpr int LineBytes = 57;
/** So many of them are encoded at a time, by those who have more. */
constexpr int PieceBytes = LineBytes * 512;

/** What so many bytes become, the last line's end with it. */
constexpr qint64 encodedSize(qint64 bytes)
{
    constexpr qint64 Line = LineBytes / 3 * 4 + 2;
    const qint64 rest = bytes % LineBytes;
    return bytes / LineBytes * Line + (rest > 0 ? (rest + 2) / 3 * 4 + 2 : 0);
}

/**
 * Writes encodedSize(size) characters to `to`, and returns where they end. Only the last lines of
 * a content may have a size that is not a multiple of LineBytes.
 */
char *encode(const char *data, qint64 size, char *to);

} // namespace Base64Lines

} // namespace Store

#endif
