// SPDX-License-Identifier: LGPL-2.1-or-later
#include "daemon/store/incoming/mimeguard.h"

#include <QByteArrayMatcher>
#include <QList>
#include <qmailmessage.h>
#include <QStringList>
#include <QUrl>

#include <algorithm>
#include <cctype>
#include <cstring>

namespace Store {

namespace {

constexpr int MaximumMultiparts = 64;
constexpr int MaximumParts = 1000;
constexpr int MaximumBoundary = 70; ///< RFC 2046, section 5.1.1
constexpr int MaximumParameterName = 60;
constexpr int MaximumHead = 256 * 1024;
constexpr int MaximumSubject = 16 * 1024;
constexpr int MaximumAddressLists = 20;

/** What QMF, and we, note in a message's headers for ourselves. */
const QString InternalPrefix = QStringLiteral("X-qmf-internal-");
const QString ContentLocation = QStringLiteral("Content-Location");

bool isBlank(char c)
{
    return c == ' ' || c == '\t' || c == '\r' || c == '\n';
}

int skipBlanks(const QByteArray &text, int at)
{
    while (at < text.size() && isBlank(text.at(at)))
        ++at;
    return at;
}

/** Whether the key stands at the position, in whatever case. */
bool isAt(const QByteArray &text, int at, const QByteArray &key)
{
    return at >= 0 && text.size() - at >= key.size()
        && qstrnicmp(text.constData() + at, key.constData(), uint(key.size())) == 0;
}

/** Whether the key stands before the position and the blanks that precede it. */
bool isBefore(const QByteArray &text, int at, const QByteArray &key)
{
    while (at > 0 && isBlank(text.at(at - 1)))
        --at;
    return isAt(text, at - key.size(), key);
}

/** Where the header field ends: at a line end that no blank follows. */
int endOfField(const QByteArray &text, int at)
{
    do
        at = text.indexOf('\n', at) + 1;
    while (at > 0 && at < text.size() && (text.at(at) == ' ' || text.at(at) == '\t'));
    return at > 0 ? at : text.size();
}

QByteArray fieldAt(const QByteArray &text, int at)
{
    return QByteArray::fromRawData(text.constData() + at, endOfField(text, at) - at);
}

/** The value of a parameter at the position behind its "=". */
QByteArray valueAt(const QByteArray &field, int at)
{
    const bool isQuoted = at < field.size() && field.at(at) == '"';
    const int start = isQuoted ? at + 1 : at;
    int end = start;
    while (end < field.size() && end - start < MaximumBoundary
           && !std::strchr(isQuoted ? "\"\r\n" : "; \t\r\n", field.at(end)))
        ++end;
    return field.mid(start, end - start);
}

/** What the lines between the parts begin with; empty where QMF may read it otherwise. */
QByteArray boundaryOf(const QByteArray &field)
{
    const QByteArray key("boundary");
    const QByteArray lower = field.toLower();
    const int at = lower.indexOf(key);
    const int sign = skipBlanks(field, at + key.size());
    // It puts several together.
    if (at < 0 || lower.indexOf(key, at + 1) >= 0 || sign >= field.size() || field.at(sign) != '=')
        return {};
    const QByteArray value = valueAt(field, skipBlanks(field, sign + 1));
    const bool isPlain = std::all_of(value.begin(), value.end(), [](char c) {
        return std::isalnum(uchar(c)) || std::strchr("'()+_,-./:=?", c);
    });
    return isPlain ? value : QByteArray();
}

/** Takes the field apart as QMF does. */
bool hasLongParameterName(const QByteArray &field)
{
    int token = 0;
    bool isQuoted = false;
    bool isName = true;
    for (int at = 0; at < field.size(); ++at) {
        const char c = field.at(at);
        if (c == '"') {
            isQuoted = !isQuoted;
        } else if (c == ';' && !isQuoted) {
            token = at + 1;
            isName = true;
        } else if (c == '=' && !isQuoted && isName) {
            isName = false;
            if (at - token > MaximumParameterName)
                return true;
        }
    }
    return false;
}

/** Finds what the parts of all multiparts are divided by; false where QMF would not get over them.
 */
bool findBoundaries(const QByteArray &message, QList<QByteArray> *boundaries)
{
    for (int at = message.indexOf(':'); at >= 0; at = message.indexOf(':', at + 1)) {
        const int start = skipBlanks(message, at + 1);
        if (!isAt(message, start, "multipart"))
            continue;
        if (boundaries->size() == MaximumMultiparts)
            return false;
        const QByteArray field = fieldAt(message, start);
        if (hasLongParameterName(field))
            return false;
        boundaries->append(boundaryOf(field));
    }
    return true;
}

int countParts(const QByteArray &message, const QList<QByteArray> &boundaries)
{
    int count = 0;
    const QByteArrayMatcher lineStart("\n--");
    for (int at = lineStart.indexIn(message); at >= 0 && count <= MaximumParts;
         at = lineStart.indexIn(message, at + 1)) {
        const bool isEnd =
            std::any_of(boundaries.begin(), boundaries.end(), [&](const QByteArray &boundary) {
                return std::strncmp(message.constData() + at + 3, boundary.constData(),
                                    size_t(boundary.size()))
                    == 0;
            });
        count += isEnd ? 1 : 0;
    }
    return count;
}

/** Behind the "*" of an encoded parameter's name: the value, up to the next parameter. */
QByteArray encodedValueAt(const QByteArray &message, int at)
{
    while (at < message.size() && (std::isdigit(uchar(message.at(at))) || message.at(at) == '*'))
        ++at;
    at = skipBlanks(message, at);
    if (at >= message.size() || message.at(at) != '=')
        return {};
    const QByteArray field = fieldAt(message, at);
    const int end = field.indexOf(';');
    return field.left(end < 0 ? field.size() : end);
}

/** Whether a parameter's value (RFC 2231) ends in the middle of an encoded byte. */
bool hasCutParameter(const QByteArray &message)
{
    static const QList<QByteArray> names {"name", "charset", "boundary"}; // and "filename"
    for (int at = message.indexOf('*'); at >= 0; at = message.indexOf('*', at + 1)) {
        const bool isDecoded = std::any_of(names.begin(), names.end(), [&](const QByteArray &name) {
            return isBefore(message, at, name);
        });
        const QByteArray value = isDecoded ? encodedValueAt(message, at + 1) : QByteArray();
        const int last = value.lastIndexOf('%');
        const bool isWhole = last + 2 < value.size() && std::isxdigit(uchar(value.at(last + 1)))
            && std::isxdigit(uchar(value.at(last + 2)));
        if (last >= 0 && !isWhole)
            return true;
    }
    return false;
}

/** Whether the headers are few and short enough for QMF to read them in good time. */
bool isHeadModest(const QByteArray &message)
{
    static const QList<QByteArray> lists {"to", "cc", "bcc"};
    int addressLists = 0;
    int at = 0;
    while (at < message.size() && message.at(at) != '\n' && message.at(at) != '\r') {
        const QByteArray field = fieldAt(message, at);
        const QByteArray name = field.left(qMax(0, field.indexOf(':'))).trimmed().toLower();
        addressLists += lists.contains(name) ? 1 : 0;
        at += field.size();
        if (at > MaximumHead || addressLists > MaximumAddressLists
            || (name == "subject" && field.size() > MaximumSubject))
            return false;
    }
    return true;
}

bool isFileHere(const QString &location)
{
    return location.contains(QLatin1String("file:"), Qt::CaseInsensitive)
        || QUrl(location).isLocalFile();
}

template <typename Container>
void disarmHeaders(Container *container)
{
    for (const QMailMessageHeaderField &field : container->headerFields()) {
        const QString name = QString::fromLatin1(field.id());
        if (name.startsWith(InternalPrefix, Qt::CaseInsensitive))
            container->removeHeaderField(name);
    }
    const QStringList locations = container->headerFieldsText(ContentLocation);
    if (std::any_of(locations.begin(), locations.end(), isFileHere))
        container->removeHeaderField(ContentLocation);
}

} // namespace

bool MimeGuard::isHarmless(const QByteArray &message)
{
    QList<QByteArray> boundaries;
    return isHeadModest(message) && findBoundaries(message, &boundaries)
        && countParts(message, boundaries) <= MaximumParts && !hasCutParameter(message);
}

void MimeGuard::disarm(QMailMessage *message)
{
    disarmHeaders(message);
    message->foreachPart([](QMailMessagePart &part) {
        disarmHeaders(&part);
        return true;
    });
}

void MimeGuard::disarm(QMailMessagePart *part)
{
    disarmHeaders(part);
}

} // namespace Store
