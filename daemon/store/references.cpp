// SPDX-License-Identifier: LGPL-2.1-or-later
#include "daemon/store/references.h"

#include <qmailstore.h>

#include <optional>

namespace Store {

namespace {

QMailMessageId named(const QMailMessagePart &part)
{
    switch (part.referenceType()) {
    case QMailMessagePart::MessageReference:
        return part.messageReference();
    case QMailMessagePart::PartReference:
        return part.partReference().containingMessageId();
    default:
        return QMailMessageId();
    }
}

std::optional<QMailMessagePart> contentOf(const QMailMessagePart &reference)
{
    const QMailMessageId id = named(reference);
    if (QMailStore::instance()->countMessages(QMailMessageKey::id(id)) == 0)
        return std::nullopt;
    const QMailMessage message(id);
    if (reference.referenceType() == QMailMessagePart::MessageReference) {
        if (!message.contentAvailable())
            return std::nullopt;
        return QMailMessagePart::fromData(
            message.toRfc2822(QMailMessage::IdentityFormat), reference.contentDisposition(),
            QMailMessageContentType("message/rfc822"), QMailMessageBody::EightBit,
            QMailMessageBody::AlreadyEncoded);
    }
    if (!message.contains(reference.partReference()))
        return std::nullopt;
    const QMailMessagePart part = message.partAt(reference.partReference());
    return part.contentAvailable() ? std::make_optional(part) : std::nullopt;
}

QList<QMailMessagePart> takeParts(QMailMessage *message)
{
    QList<QMailMessagePart> parts;
    for (uint i = 0; i < message->partCount(); ++i)
        parts.append(message->partAt(i));
    message->clearParts();
    return parts;
}

bool hasReferences(const QMailMessage &message)
{
    for (uint i = 0; i < message.partCount(); ++i) {
        if (named(message.partAt(i)).isValid())
            return true;
    }
    return false;
}

} // namespace

void References::drop(QMailMessage *message, const QMailMessageId &id)
{
    if (!hasReferences(*message))
        return;
    for (const QMailMessagePart &part : takeParts(message)) {
        if (named(part) != id)
            message->appendPart(part);
    }
}

Eas::Result References::resolve(QMailMessage *message)
{
    if (!hasReferences(*message))
        return {};
    for (const QMailMessagePart &part : takeParts(message)) {
        const auto content = named(part).isValid() ? contentOf(part) : part;
        if (!content)
            return {Eas::NotFound, QStringLiteral("an attached message or part is not here")};
        message->appendPart(*content);
    }
    return {};
}

} // namespace Store
