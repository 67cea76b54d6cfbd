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
constexpr int MaximumParameterName = 60;

/** Whether the key stands, in whatever case, before the position and the blanks that precede it. */
bool isBefore(const QByteArray &text, int at, const QByteArray &key)
{
    while (at > 0 && std::strchr(" \t", text.at(at - 1)))
        --at;
    return at >= key.size()
        && qstrnicmp(text.constData() + at - key.size(), key.constData(), uint(key.size())) == 0;
}

int skipBlanks(const QByteArray &text, int at, const char *blanks)
{
    while (at < text.size() && text.at(at) && std::strchr(blanks, text.at(at)))
        ++at;
    return at;
}

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

/** Where the header field ends: at a line end that no blank follows. */
int endOfField(const QByteArray &text, int at)
{
    do
        at = text.indexOf('\n', at) + 1;
    while (at > 0 && at < text.size() && std::strchr(" \t", text.at(at)));
    return at > 0 ? at : text.size();
}

/** Takes the field apart as QMF does. */
bool hasLongParameterName(const char *at, const char *end)
{
    const char *token = at;
    bool isQuoted = false;
    bool isName = true;
    for (; at != end; ++at) {
        if (*at == '"') {
            isQuoted = !isQuoted;
        } else if (*at == ';' && !isQuoted) {
            token = at + 1;
            isName = true;
        } else if (*at == '=' && !isQuoted && isName) {
            isName = false;
            if (at - token > MaximumParameterName)
                return true;
        }
    }
    return false;
}

/** In the types of multiparts, which QMF may write anew. */
bool hasLongParameterNames(const QByteArray &message)
{
    const QByteArray multipart("multipart");
    for (int at = message.indexOf(':'); at >= 0; at = message.indexOf(':', at + 1)) {
        if (!isBefore(message, at, "content-type"))
            continue;
        const int start = skipBlanks(message, at + 1, " \t\r\n");
        if (message.size() - start < multipart.size()
            || qstrnicmp(message.constData() + start, multipart.constData(),
                         uint(multipart.size())))
            continue;
        const char *const text = message.constData();
        if (hasLongParameterName(text + start, text + endOfField(message, start)))
            return true;
    }
    return false;
}

} // namespace

bool MimeGuard::isHarmless(const QByteArray &message)
{
    const QByteArray key("boundary");
    QList<QByteArray> marks;
    for (int at = message.indexOf('='); at >= 0; at = message.indexOf('=', at + 1)) {
        if (!isBefore(message, at, key))
            continue;
        marks.append(valueAt(message, skipBlanks(message, at + 1, " \t")));
        if (marks.size() > MaximumMultiparts)
            return false;
    }
    return countLinesThatStartWith(message, marks, MaximumParts) <= MaximumParts
        && !hasLongParameterNames(message);
}

} // namespace Store
