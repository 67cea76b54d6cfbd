// SPDX-License-Identifier: LGPL-2.1-or-later
#include "daemon/store/mailtext.h"

#include <qmailmessage.h>

#include <algorithm>
#include <cstring>

namespace Store {

namespace {

/** With a replacement character for each half of a pair that stands alone. */
QString wellFormed(QString text)
{
    for (int i = 0; i < text.size(); ++i) {
        const bool paired =
            text.at(i).isHighSurrogate() && i + 1 < text.size() && text.at(i + 1).isLowSurrogate();
        if (paired)
            ++i;
        else if (text.at(i).isSurrogate())
            text[i] = QChar::ReplacementCharacter;
    }
    return text;
}

/** Cuts without leaving half of a surrogate pair. */
QString cut(const QString &text, int maximum)
{
    if (text.size() <= maximum)
        return text;
    return text.left(text.at(maximum - 1).isHighSurrogate() ? maximum - 1 : maximum);
}

bool isAscii(const QString &text)
{
    return std::all_of(text.begin(), text.end(), [](QChar c) { return c.unicode() < 0x80; });
}

/** What no text in the store may have as it is. */
bool isReplaced(char c)
{
    return c == '\n' || c == '\r' || c == '\0';
}

bool isToken(const QByteArray &text)
{
    if (text.isEmpty())
        return false;
    for (const char c : text) {
        if (!(c >= 'a' && c <= 'z') && !(c >= '0' && c <= '9') && !std::strchr("!#$&^_.+-", c))
            return false;
    }
    return true;
}

} // namespace

QString MailText::headerText(const QString &text, int maximum)
{
    // Only so much is looked at: a text of a gigabyte costs no more than a long one.
    QString line = text.left(2 * maximum);
    for (QChar &c : line) {
        if (c < QLatin1Char(' ') || c == QChar(0x7f) || c == QChar::LineSeparator
            || c == QChar::ParagraphSeparator)
            c = QLatin1Char(' ');
    }
    return cut(wellFormed(line), maximum).trimmed();
}

QList<QMailAddress> MailText::addresses(const QString &text)
{
    const QString line = headerText(text, MaximumAddressText);
    if (line.isEmpty())
        return {};
    return QMailAddress::fromStringList(line);
}

QString MailText::encodedAddresses(const QList<QMailAddress> &addresses)
{
    QStringList words;
    for (const QMailAddress &address : addresses) {
        const QString text = address.toString();
        const int end = text.lastIndexOf(QLatin1String(" <"));
        words.append(
            isAscii(text) || end < 0
                ? text
                : QString::fromLatin1(QMailMessageHeaderField::encodeWord(text.left(end), "UTF-8"))
                    + text.mid(end));
    }
    return words.join(QLatin1String(", "));
}

QString MailText::fileName(const QString &name)
{
    QString result = headerText(name, MaximumIdLength);
    result.replace(QLatin1Char('\\'), QLatin1Char('/'));
    result = result.mid(result.lastIndexOf(QLatin1Char('/')) + 1);
    if (result == QLatin1String(".") || result == QLatin1String(".."))
        return {};
    return cut(result, 255).trimmed();
}

bool MailText::isParameter(const QString &text)
{
    return std::all_of(text.begin(), text.end(), [](QChar c) {
        return c.unicode() < 0x7f && !std::strchr("\"\\;=", c.toLatin1());
    });
}

QByteArray MailText::mediaType(const QString &text)
{
    const QByteArray type =
        text.left(255).section(QLatin1Char(';'), 0, 0).trimmed().toLower().toLatin1();
    const int slash = type.indexOf('/');
    if (slash < 0 || !isToken(type.left(slash)) || !isToken(type.mid(slash + 1)))
        return {};
    // A part of these types is a tree of parts to the store, which content alone cannot fill.
    return type.startsWith("multipart/") ? QByteArray() : type;
}

QByteArray MailText::storableText(const QByteArray &text)
{
    QByteArray result;
    result.reserve(text.size() + text.size() / 32 + 2);
    const char *const end = text.constData() + text.size();
    for (const char *at = text.constData(); at != end; ++at) {
        const char *const stop = std::find_if(at, end, isReplaced);
        result.append(at, int(stop - at));
        at = stop;
        if (at == end)
            break;
        if (*at != '\0')
            result += "\r\n";
        if (*at == '\r' && at + 1 != end && at[1] == '\n')
            ++at;
    }
    return result.isEmpty() ? QByteArray("\r\n") : result;
}

} // namespace Store
