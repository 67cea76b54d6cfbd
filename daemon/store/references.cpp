// SPDX-License-Identifier: LGPL-2.1-or-later
#include "daemon/store/references.h"

#include "daemon/store/contentmark.h"
#include "daemon/store/partorigin.h"

#include <qmailstore.h>

#include <functional>
#include <optional>

namespace Store {

namespace {

Eas::Result notHere()
{
    return {Eas::NotFound, QStringLiteral("an attached message or part is not here")};
}

bool isHere(const QMailMessageId &id)
{
    return id.isValid() && QMailStore::instance()->countMessages(QMailMessageKey::id(id)) > 0;
}

bool isReferenceTo(const QMailMessagePart &part, const QMailMessageId &id)
{
    return part.referenceType() == QMailMessagePart::MessageReference
        && part.messageReference() == id;
}

/** What the server has, or without what the mail store alone is to know. */
QByteArray asMail(const QMailMessage &message)
{
    return message.toRfc2822(ContentMark::read(message).downloaded
                                 ? QMailMessage::IdentityFormat
                                 : QMailMessage::TransmissionFormat);
}

std::optional<QMailMessagePart> contentOf(const ContentOrigin &origin, const QMailMessagePart &part)
{
    if (!isHere(origin.message))
        return std::nullopt;
    const QMailMessage message(origin.message);
    if (origin.location.isEmpty()) {
        if (!message.contentAvailable())
            return std::nullopt;
        return QMailMessagePart::fromData(
            asMail(message), part.contentDisposition(), QMailMessageContentType("message/rfc822"),
            QMailMessageBody::EightBit, QMailMessageBody::AlreadyEncoded);
    }
    QMailMessagePart::Location location(origin.location);
    location.setContainingMessageId(origin.message);
    if (!message.contains(location))
        return std::nullopt;
    return message.partAt(location);
}

using Change = std::function<bool(const QMailMessagePart &, QMailMessagePartContainer *)>;

/** Builds the container anew of what `append` makes of its parts, until it says no. */
bool rebuild(QMailMessagePartContainer *container, const Change &append)
{
    QList<QMailMessagePart> parts;
    for (uint i = 0; i < container->partCount(); ++i)
        parts.append(container->partAt(i));
    container->clearParts();
    for (QMailMessagePart &part : parts) {
        if (part.partCount() > 0 && !rebuild(&part, append))
            return false;
        if (!append(part, container))
            return false;
    }
    return true;
}

/** Signed and encrypted parts stay as they are, byte by byte. */
bool hasOutsideContent(const QMailMessage &message)
{
    const PartOrigin origin(message);
    return !message.foreachPart([&](const QMailMessagePart &part) { return !origin.of(part); });
}

} // namespace

bool References::names(const QMailMessage &message, const QMailMessageId &named)
{
    return !message.foreachPart(
        [&](const QMailMessagePart &part) { return !isReferenceTo(part, named); });
}

void References::drop(QMailMessage *message, const QMailMessageId &named)
{
    if (!names(*message, named))
        return;
    rebuild(message, [&](const QMailMessagePart &part, QMailMessagePartContainer *container) {
        if (!isReferenceTo(part, named))
            container->appendPart(part);
        return true;
    });
}

Eas::Result References::missing(const QMailMessage &message, QList<ContentOrigin> *origins)
{
    const PartOrigin finder(message);
    Eas::Result result;
    message.foreachPart([&](const QMailMessagePart &part) {
        const auto origin = finder.of(part);
        const auto content = origin ? contentOf(*origin, part) : std::nullopt;
        const bool isWhole = content && (origin->location.isEmpty() || content->contentAvailable());
        if (!origin || isWhole || origins->contains(*origin))
            return true;
        const bool canBeFetched = isHere(origin->message)
            && QMailMessageMetaData(origin->message).parentAccountId() == message.parentAccountId();
        if (canBeFetched)
            origins->append(*origin);
        else
            result = notHere();
        return canBeFetched;
    });
    return result;
}

Eas::Result References::resolve(QMailMessage *message)
{
    if (!hasOutsideContent(*message))
        return {};
    const PartOrigin finder(*message);
    const bool isDone =
        rebuild(message, [&](const QMailMessagePart &part, QMailMessagePartContainer *container) {
            const auto origin = finder.of(part);
            const auto content = origin ? contentOf(*origin, part) : std::make_optional(part);
            if (content)
                container->appendPart(*content);
            return bool(content);
        });
    return isDone ? Eas::Result {} : notHere();
}

} // namespace Store
