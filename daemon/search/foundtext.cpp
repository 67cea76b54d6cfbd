// SPDX-License-Identifier: LGPL-2.1-or-later
#include "daemon/search/foundtext.h"

#include <QRegularExpression>

#include <algorithm>

namespace Daemon {

namespace {

const QChar TypographicApostrophe(0x2019);

/** In one case, with one kind of apostrophe. */
QString folded(QString text)
{
    return text.replace(TypographicApostrophe, QLatin1Char('\'')).toCaseFolded();
}

QString withoutMarkup(QString html)
{
    static const QRegularExpression tags(QStringLiteral("<[^>]*>"));
    html.replace(tags, QStringLiteral(" "));
    for (const char *apostrophe : {"&#39;", "&#x27;", "&apos;", "&rsquo;", "&#8217;"})
        html.replace(QLatin1String(apostrophe), QLatin1String("'"), Qt::CaseInsensitive);
    return html;
}

QString textOf(const Eas::MailItem &item)
{
    QStringList texts;
    for (const std::optional<QString> &header :
         {item.subject, item.from, item.sender, item.to, item.cc, item.bcc, item.replyTo})
        texts.append(header.value_or(QString()));
    const QList<Eas::Attachment> attachments = item.attachments.value_or(QList<Eas::Attachment>());
    for (const Eas::Attachment &attachment : attachments)
        texts.append(attachment.displayName);
    const QString body = QString::fromUtf8(item.body->data);
    texts.append(item.body->type == Eas::Html ? withoutMarkup(body) : body);
    return folded(texts.join(QLatin1Char('\n')));
}

} // namespace

bool FoundText::mayHold(const Eas::MailItem &item, const QString &text)
{
    const QString wanted = folded(text);
    const bool isWholeKnown = item.body && !item.body->truncated;
    if (!wanted.contains(QLatin1Char('\'')) || !isWholeKnown)
        return true;
    const QString there = textOf(item);
    const QStringList words = wanted.split(QLatin1Char(' '), Qt::SkipEmptyParts);
    return std::all_of(words.cbegin(), words.cend(),
                       [&there](const QString &word) { return there.contains(word); });
}

} // namespace Daemon
