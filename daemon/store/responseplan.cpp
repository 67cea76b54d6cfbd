// SPDX-License-Identifier: LGPL-2.1-or-later
#include "daemon/store/responseplan.h"

#include <qmailaccount.h>
#include <qmailstore.h>
#include <QRegularExpression>
#include <QSet>

namespace Store {

namespace {

/** So many letters of the original's beginning make out whether a text quotes it. */
constexpr int QuotedLetters = 300;
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

/** What the original's text begins with; empty where nothing of it is known here. */
QString beginning(const QMailMessage &original)
{
    for (const QStringList &lines :
         {linesOf(original.findPlainTextContainer(), false),
          linesOf(original.findHtmlContainer(), true), lettersByLine(original.preview(), false)}) {
        if (!lines.isEmpty())
            return lines.join(QString()).left(QuotedLetters);
    }
    return QString();
}

bool isAtLine(const QStringList &lines, int first, const QString &wanted)
{
    QString found;
    for (int i = first; i < lines.size() && found.size() < wanted.size(); ++i)
        found += lines.at(i);
    return found == wanted;
}

bool quotes(const QStringList &lines, const QString &wanted)
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

/** The names of the attachments that are in the message themselves. */
QSet<QString> attachmentNames(const QMailMessage &message)
{
    QSet<QString> names;
    for (const auto &location : message.findAttachmentLocations()) {
        const QMailMessagePart &part = message.partAt(location);
        if (part.referenceType() == QMailMessagePart::None)
            names.insert(part.displayName());
    }
    return names;
}

bool holds(const QMailMessage &message, const QMailMessage &original)
{
    const QString wanted = beginning(original);
    return quotes(linesOf(message.findPlainTextContainer(), false), wanted)
        || quotes(linesOf(message.findHtmlContainer(), true), wanted)
        || attachmentNames(message).intersects(attachmentNames(original));
}

bool isWished(const QMailAccountId &account)
{
    const QMailAccountKey key = QMailAccountKey::id(account)
        & QMailAccountKey::status(QMailAccount::UseSmartReply, QMailDataComparator::Includes);
    return QMailStore::instance()->countAccounts(key) > 0;
}

ResponsePlan::Kind kindOf(const QMailMessage &message)
{
    switch (message.responseType()) {
    case QMailMessage::Reply:
    case QMailMessage::ReplyToAll:
        return ResponsePlan::Reply;
    case QMailMessage::Forward:
        return ResponsePlan::Forward;
    default:
        return ResponsePlan::Plain;
    }
}

} // namespace

ResponsePlan ResponsePlan::of(const QMailMessage &message)
{
    const Kind kind = kindOf(message);
    const QMailMessageKey key = QMailMessageKey::id(message.inResponseTo())
        & QMailMessageKey::parentAccountId(message.parentAccountId());
    if (kind == Plain || !message.inResponseTo().isValid() || !isWished(message.parentAccountId())
        || QMailStore::instance()->countMessages(key) == 0)
        return {};
    const QMailMessage original(message.inResponseTo());
    ResponsePlan plan;
    plan.original = ServerUid::split(original.serverUid());
    if (!plan.original.isKnownThere())
        return {};
    plan.kind = kind;
    plan.saysAll = holds(message, original);
    return plan;
}

} // namespace Store
