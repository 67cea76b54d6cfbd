// SPDX-License-Identifier: LGPL-2.1-or-later
#include "daemon/store/outgoing/texttraces.h"

#include <QRegularExpression>

namespace Store {

namespace {

/** How many letters of the beginning are compared: a correction may stand far down. */
constexpr int WantedLetters = 5000;
/** Fewer may stand in any text by chance: they must make up whole lines of it. */
constexpr int TellingLetters = 40;

QString lettersOf(const QString &text)
{
    QString found;
    for (const QChar sign : text) {
        if (sign.isLetterOrNumber())
            found += sign.toLower();
    }
    return found;
}

/** The text's lines without all that quoting, folding and HTML change; none is empty. */
QStringList lettersByLine(QString text, bool isHtml)
{
    if (isHtml) {
        static const QRegularExpression tag(
            QStringLiteral("<(style|script|head)\\b.*?</\\1\\s*>|<[^>]*>"),
            QRegularExpression::CaseInsensitiveOption
                | QRegularExpression::DotMatchesEverythingOption);
        static const QRegularExpression entity(QStringLiteral("&#?\\w+;"));
        text.replace(QLatin1Char('\n'), QLatin1Char(' '));
        text.replace(tag, QStringLiteral("\n")).remove(entity);
    }
    QStringList lines;
    const auto all = text.splitRef(QLatin1Char('\n'));
    for (const QStringRef &line : all) {
        const QString letters = lettersOf(line.toString());
        if (!letters.isEmpty())
            lines.append(letters);
    }
    return lines;
}

QStringList linesOf(const QMailMessagePartContainer *container, bool isHtml)
{
    return container && container->hasBody() ? lettersByLine(container->body().data(), isHtml)
                                             : QStringList();
}

bool isAtLine(const QStringList &lines, int first, const QString &wanted)
{
    QString found;
    for (int i = first; i < lines.size() && found.size() < wanted.size(); ++i)
        found += lines.at(i);
    return found == wanted;
}

bool isIn(const QStringList &lines, const QString &wanted)
{
    if (wanted.isEmpty())
        return false;
    if (wanted.size() >= TellingLetters)
        return lines.join(QString()).contains(wanted);
    for (int i = 0; i < lines.size(); ++i) {
        if (isAtLine(lines, i, wanted))
            return true;
    }
    return false;
}

} // namespace

QString TextTraces::beginning(const QMailMessage &message)
{
    for (const QStringList &lines : {linesOf(message.findPlainTextContainer(), false),
                                     linesOf(message.findHtmlContainer(), true)}) {
        if (!lines.isEmpty())
            return lines.join(QString()).left(WantedLetters);
    }
    return QString();
}

bool TextTraces::contains(const QMailMessage &message, const QString &letters)
{
    return isIn(linesOf(message.findPlainTextContainer(), false), letters)
        || isIn(linesOf(message.findHtmlContainer(), true), letters);
}

QSet<QString> TextTraces::attachmentNames(const QMailMessage &message)
{
    QSet<QString> names;
    for (const auto &location : message.findAttachmentLocations()) {
        const QMailMessagePart &part = message.partAt(location);
        if (part.referenceType() == QMailMessagePart::None)
            names.insert(part.displayName());
    }
    return names;
}

} // namespace Store
