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

/** The text without everything that quoting, folding and HTML change. */
QString letters(QString text, bool isHtml)
{
    if (isHtml) {
        static const QRegularExpression invisible(
            QStringLiteral("<(style|script|head)\\b.*?</\\1\\s*>|<[^>]*>|&#?\\w+;"),
            QRegularExpression::CaseInsensitiveOption
                | QRegularExpression::DotMatchesEverythingOption);
        text.remove(invisible);
    }
    QString found;
    for (const QChar sign : qAsConst(text)) {
        if (sign.isLetterOrNumber())
            found += sign.toLower();
    }
    return found;
}

QString lettersOf(const QMailMessagePartContainer *container, bool isHtml)
{
    return container && container->hasBody() ? letters(container->body().data(), isHtml)
                                             : QString();
}

QString allLetters(const QMailMessage &message)
{
    return lettersOf(message.findPlainTextContainer(), false) + QLatin1Char('\n')
        + lettersOf(message.findHtmlContainer(), true);
}

/** What the original's text begins with; empty where nothing of it is known here. */
QString beginning(const QMailMessage &original)
{
    for (const QString &text :
         {lettersOf(original.findPlainTextContainer(), false),
          lettersOf(original.findHtmlContainer(), true), letters(original.preview(), false)}) {
        if (!text.isEmpty())
            return text.left(QuotedLetters);
    }
    return QString();
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
    const QString text = beginning(original);
    return (!text.isEmpty() && allLetters(message).contains(text))
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
    if (plan.original.itemId.isEmpty())
        return {};
    plan.kind = kind;
    plan.saysAll = holds(message, original);
    return plan;
}

} // namespace Store
