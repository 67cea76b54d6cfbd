// SPDX-License-Identifier: LGPL-2.1-or-later
#include "daemon/store/mailtext.h"

#include <algorithm>
#include <cstring>

namespace Store {

namespace {

constexpr int previewSource = 0x4000; ///< bytes of a body that are looked at

/** Cuts without leaving half of a surrogate pair. */
QString cut(const QString &text, int maximum)
{
    if (text.size() <= maximum)
        return text;
    return text.left(text.at(maximum - 1).isHighSurrogate() ? maximum - 1 : maximum);
}

/** Cuts UTF-8 without leaving half of a character. */
QByteArray cutUtf8(const QByteArray &text, int maximum)
{
    if (text.size() <= maximum)
        return text;
    int end = maximum;
    while (end > 0 && (uchar(text.at(end)) & 0xc0) == 0x80)
        --end;
    return text.left(end);
}

bool isTag(const QString &html, int at, QLatin1String name)
{
    const int after = at + name.size();
    return html.midRef(at, name.size()).compare(name, Qt::CaseInsensitive) == 0
        && !(after < html.size() && html.at(after).isLetterOrNumber());
}

/** The text between the tags, without comments, styles and scripts; entities of the common kind. */
QString strippedHtml(const QString &html)
{
    QString text;
    for (int i = 0; i < html.size(); ++i) {
        if (html.at(i) != QLatin1Char('<')) {
            text += html.at(i);
            continue;
        }
        QString end = QStringLiteral(">");
        for (const char *hidden : {"style", "script", "head", "title"}) {
            if (isTag(html, i + 1, QLatin1String(hidden)))
                end = QLatin1String("</") + QLatin1String(hidden);
        }
        if (html.midRef(i, 4) == QLatin1String("<!--"))
            end = QStringLiteral("-->");
        const int close = html.indexOf(end, i, Qt::CaseInsensitive);
        const int last = close < 0 ? -1 : html.indexOf(QLatin1Char('>'), close);
        if (last < 0)
            break;
        text += QLatin1Char(' ');
        i = last;
    }
    text.replace(QLatin1String("&nbsp;"), QLatin1String(" "));
    text.replace(QLatin1String("&lt;"), QLatin1String("<"));
    text.replace(QLatin1String("&gt;"), QLatin1String(">"));
    text.replace(QLatin1String("&quot;"), QLatin1String("\""));
    text.replace(QLatin1String("&#39;"), QLatin1String("'"));
    text.replace(QLatin1String("&amp;"), QLatin1String("&"));
    return text;
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
    return cut(line, maximum).trimmed();
}

QList<QMailAddress> MailText::addresses(const QString &text)
{
    const QString line = headerText(text, maximumAddressText);
    if (line.isEmpty())
        return {};
    return QMailAddress::fromStringList(line);
}

QString MailText::fileName(const QString &name)
{
    QString result = headerText(name, maximumIdLength);
    result.replace(QLatin1Char('\\'), QLatin1Char('/'));
    result = result.mid(result.lastIndexOf(QLatin1Char('/')) + 1);
    if (result == QLatin1String(".") || result == QLatin1String(".."))
        return {};
    return cut(result, 255).trimmed();
}

bool MailText::isAscii(const QString &text)
{
    return std::all_of(text.begin(), text.end(), [](QChar c) { return c.unicode() < 0x80; });
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
    for (int i = 0; i < text.size(); ++i) {
        const char c = text.at(i);
        if (c == '\n' || c == '\r') {
            result += "\r\n";
            if (c == '\r' && i + 1 < text.size() && text.at(i + 1) == '\n')
                ++i;
        } else if (c != '\0') {
            result += c;
        }
    }
    return result.isEmpty() ? QByteArray("\r\n") : result;
}

QString MailText::preview(const Eas::Body &body)
{
    const QString told = headerText(body.preview, previewLength).simplified();
    if (!told.isEmpty() || body.type == Eas::Mime)
        return told;
    QString text = QString::fromUtf8(cutUtf8(body.data, previewSource));
    if (body.type == Eas::Html)
        text = strippedHtml(text);
    return headerText(text.simplified(), previewLength);
}

} // namespace Store
