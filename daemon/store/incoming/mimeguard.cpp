// SPDX-License-Identifier: LGPL-2.1-or-later
#include "daemon/store/incoming/mimeguard.h"

#include <QByteArrayMatcher>
#include <QList>

#include <cstring>

namespace Store {

namespace {

constexpr int MaximumMultiparts = 64;
constexpr int MaximumParts = 1000;
constexpr int MaximumBoundary = 70; ///< RFC 2046, section 5.1.1

/** The value of a parameter at the position behind its "=". */
QByteArray valueAt(const QByteArray &text, int at)
{
    const bool quoted = at < text.size() && text.at(at) == '"';
    const int start = quoted ? at + 1 : at;
    int end = start;
    while (end < text.size() && end - start < MaximumBoundary
           && !std::strchr(quoted ? "\"\r\n" : "; \t\r\n", text.at(end)))
        ++end;
    return text.mid(start, end - start);
}

int countLinesThatStartWith(const QByteArray &text, const QList<QByteArray> &marks, int enough)
{
    int count = 0;
    const QByteArrayMatcher lineStart("\n--");
    for (int at = lineStart.indexIn(text); at >= 0 && count <= enough;
         at = lineStart.indexIn(text, at + 1)) {
        for (const QByteArray &mark : marks) {
            if (std::strncmp(text.constData() + at + 3, mark.constData(), size_t(mark.size()))
                == 0) {
                ++count;
                break;
            }
        }
    }
    return count;
}

} // namespace

bool MimeGuard::isHarmless(const QByteArray &message)
{
    const QByteArray key("boundary");
    QList<QByteArray> marks;
    for (int at = message.indexOf('='); at >= 0; at = message.indexOf('=', at + 1)) {
        int end = at;
        while (end > 0 && std::strchr(" \t", message.at(end - 1)))
            --end;
        if (end < key.size()
            || qstrnicmp(message.constData() + end - key.size(), key.constData(), uint(key.size())))
            continue;
        int start = at + 1;
        while (start < message.size() && std::strchr(" \t", message.at(start)))
            ++start;
        marks.append(valueAt(message, start));
        if (marks.size() > MaximumMultiparts)
            return false;
    }
    return countLinesThatStartWith(message, marks, MaximumParts) <= MaximumParts;
}

} // namespace Store
