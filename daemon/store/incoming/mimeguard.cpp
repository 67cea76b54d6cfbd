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
constexpr int MaximumContentHeaders = 4 * MaximumParts;
constexpr int MaximumContentHeader = 64 * 1024;
constexpr int MaximumHead = 256 * 1024;
constexpr int MaximumSubject = 16 * 1024;
constexpr int MaximumAddressLists = 20;

/** What QMF, and we, note in a message's headers for ourselves. */
const QString InternalPrefix = QStringLiteral("X-qmf-internal-");
const QString ContentLocation = QStringLiteral("Content-Location");

bool isBlank(char c)
{
    return c == ' ' || (c >= '\t' && c <= '\r');
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

struct Parameter
{
    QByteArray name;
    QByteArray value;
};

/** Takes the field apart as QMF does; what is before the parameters counts as one. */
QList<Parameter> parametersOf(const QByteArray &field)
{
    QList<Parameter> parameters;
    int token = 0;
    int sign = -1;
    bool isQuoted = false;
    for (int at = 0; at <= field.size(); ++at) {
        const char c = at < field.size() ? field.at(at) : ';';
        if (c == '"') {
            isQuoted = !isQuoted;
        } else if (c == '=' && !isQuoted && sign < 0) {
            sign = at;
        } else if (at == field.size() || (c == ';' && !isQuoted)) {
            if (sign >= 0)
                parameters.append(
                    {field.mid(token, sign - token), field.mid(sign + 1, at - sign - 1)});
            token = at + 1;
            sign = -1;
        }
    }
    return parameters;
}

bool hasLongName(const QList<Parameter> &parameters)
{
    return std::any_of(parameters.begin(), parameters.end(), [](const Parameter &parameter) {
        return parameter.name.size() > MaximumParameterName;
    });
}

/** Whether QMF decodes the parameter (RFC 2231) and finds an encoded byte cut at its end. */
bool isCut(const QList<Parameter> &parameters, const QByteArray &name)
{
    bool isEncoded = false;
    QByteArray joined;
    for (const Parameter &parameter : parameters) {
        const QByteArray own = parameter.name.trimmed().toLower();
        if (own.split('*').first().trimmed() != name)
            continue;
        isEncoded = isEncoded || own.endsWith('*');
        joined += parameter.value;
    }
    // Quotes and blanks may go, or not: without them, no cut is missed.
    for (const char c : {'"', ' ', '\t', '\r', '\n', '\v', '\f'})
        joined.replace(c, "");
    return isEncoded && joined.lastIndexOf('%') >= qMax(0, joined.size() - 2);
}

bool hasCutParameter(const QList<Parameter> &parameters)
{
    static const QList<QByteArray> decoded {"name", "filename", "charset", "boundary"};
    return std::any_of(decoded.begin(), decoded.end(),
                       [&](const QByteArray &name) { return isCut(parameters, name); });
}

/**
 * Whether QMF gets over what the headers tell of the contents; finds what the parts of all
 * multiparts are divided by.
 */
bool checkContentHeaders(const QByteArray &message, QList<QByteArray> *boundaries)
{
    int fields = 0;
    for (int at = message.indexOf(':'); at >= 0; at = message.indexOf(':', at + 1)) {
        const bool isType = isBefore(message, at, "content-type");
        if (!isType && !isBefore(message, at, "content-disposition"))
            continue;
        const QByteArray field = fieldAt(message, at + 1);
        // Each is looked through to its end.
        if (++fields > MaximumContentHeaders || field.size() > MaximumContentHeader)
            return false;
        const QList<Parameter> parameters = parametersOf(field);
        if (hasCutParameter(parameters))
            return false;
        if (!isType || !isAt(field, skipBlanks(field, 0), "multipart"))
            continue;
        boundaries->append(boundaryOf(field));
        if (boundaries->size() > MaximumMultiparts || hasLongName(parameters))
            return false;
    }
    return true;
}

int countParts(const QByteArray &message, const QList<QByteArray> &boundaries)
{
    int count = 0;
    const QByteArrayMatcher lineStart("\n--");
    for (int at = lineStart.indexIn(message); at >= 0 && count <= MaximumParts;
         at = lineStart.indexIn(message, at + 1)) {
        const char *const begin = message.constData() + at + 3;
        const int left = message.size() - at - 3;
        const bool isEnd =
            std::any_of(boundaries.begin(), boundaries.end(), [&](const QByteArray &boundary) {
                return left >= boundary.size()
                    && std::equal(boundary.begin(), boundary.end(), begin);
            });
        count += isEnd ? 1 : 0;
    }
    return count;
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

/** Wherever it stands in it: QMF may lose what stands before, when it writes the header anew. */
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
    return isHeadModest(message) && checkContentHeaders(message, &boundaries)
        && countParts(message, boundaries) <= MaximumParts;
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
