// SPDX-License-Identifier: LGPL-2.1-or-later
#include "daemon/store/outgoing/responseplan.h"

#include "daemon/store/outgoing/references.h"

#include <qmailaccount.h>
#include <qmailnamespace.h>
#include <qmailstore.h>
#include <QRegularExpression>
#include <QSet>

namespace Store {

namespace {

bool isSmartReplyWanted(const QMailAccountId &account)
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

/**
 * The subject without what replies and forwards put before it (RFC 5256, 2.1), nor what they put
 * there in other languages.
 */
QString baseSubject(const QString &subject)
{
    static const QRegularExpression foreign(
        QStringLiteral(
            "^\\s*(aw|wg|antw|sv|vs|vb|vl|ynt|ilt|tr|rv|rif|i|r|res|enc|odp|pd|bls|doorst|"
            "回复|答复|转发|回覆|轉寄|отв|на)\\s*(\\[\\d+\\]|\\(\\d+\\))?\\s*[:：]"),
        QRegularExpression::CaseInsensitiveOption | QRegularExpression::UseUnicodePropertiesOption);
    QString base = subject;
    QString before;
    do {
        before = base;
        bool isResponse = false;
        base = QMail::baseSubject(base, &isResponse).remove(foreign);
    } while (base != before);
    return base.simplified().toCaseFolded();
}

void collect(const QMailAddress &address, QSet<QString> *places)
{
    const QList<QMailAddress> members =
        address.isGroup() ? address.groupMembers() : QList<QMailAddress>();
    for (const QMailAddress &member : members)
        collect(member, places);
    if (!address.isGroup() && !address.address().isEmpty())
        places->insert(address.address().toLower());
}

/** Whether the message goes to the original's sender, or to where its replies are wanted. */
bool goesToSender(const QMailMessage &message, const QMailMessage &original)
{
    QSet<QString> senders;
    collect(original.from(), &senders);
    collect(original.replyTo(), &senders);
    QSet<QString> recipients;
    for (const QMailAddress &recipient : message.recipients())
        collect(recipient, &recipients);
    return recipients.intersects(senders);
}

bool isPlausible(ResponsePlan::Kind kind, const QMailMessage &message, const QMailMessage &original)
{
    const QString subject = baseSubject(original.subject());
    if (subject != baseSubject(message.subject()))
        return false;
    // Of two messages without a subject, that says nothing.
    return kind == ResponsePlan::Reply ? goesToSender(message, original) : !subject.isEmpty();
}

} // namespace

ResponsePlan ResponsePlan::of(const QMailMessage &message)
{
    ResponsePlan plan;
    const Kind kind = kindOf(message);
    const QMailMessageKey key = QMailMessageKey::id(message.inResponseTo())
        & QMailMessageKey::parentAccountId(message.parentAccountId());
    if (kind == Plain || !message.inResponseTo().isValid()
        || QMailStore::instance()->countMessages(key) == 0)
        return plan;
    const QMailMessage original(message.inResponseTo());
    const bool isNamed = kind == Forward && References::names(message, original.id());
    if (!isNamed && !isPlausible(kind, message, original))
        return plan;
    plan.originalId = original.id();
    const ServerUid uid(original);
    if (!uid.isKnownThere() || !isSmartReplyWanted(message.parentAccountId()))
        return plan;
    plan.kind = kind;
    plan.original = uid;
    plan.serverAdds = isNamed;
    return plan;
}

ResponsePlan ResponsePlan::plain() const
{
    ResponsePlan plan;
    plan.originalId = originalId;
    return plan;
}

} // namespace Store
