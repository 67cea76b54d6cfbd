// SPDX-License-Identifier: LGPL-2.1-or-later
#include "daemon/store/outgoing/references.h"

#include "daemon/store/currentmessages.h"
#include "daemon/store/incoming/contentmark.h"
#include "daemon/store/outgoing/partorigin.h"
#include "daemon/store/outgoing/textencoder.h"
#include "daemon/store/outgoing/transferencoding.h"
#include "translations/text.h"

#include <qmailstore.h>
#include <QTemporaryDir>

#include <functional>
#include <optional>

namespace Store {

namespace {

Eas::Result notHere()
{
    return {Eas::NotFound, FailureText::english("an attached message or part is not here")};
}

bool isReferenceTo(const QMailMessagePart &part, const QMailMessageId &id)
{
    return part.referenceType() == QMailMessagePart::MessageReference
        && part.messageReference() == id;
}

/** What the server has, or without what the mail store alone is to know; nothing where it is not
 * wholly here. */
std::optional<QByteArray> asMail(QMailMessage message)
{
    if (!message.contentAvailable())
        return std::nullopt;
    const QTemporaryDir scratch(TransferEncoding::scratchTemplate());
    if (!TextEncoder(scratch.path()).encodeParts(&message))
        return std::nullopt;
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
        const auto mail = asMail(message);
        if (!mail)
            return std::nullopt;
        return QMailMessagePart::fromData(
            *mail, part.contentDisposition(), QMailMessageContentType("message/rfc822"),
            QMailMessageBody::EightBit, QMailMessageBody::AlreadyEncoded);
    }
    QMailMessagePart::Location location(origin.location);
    location.setContainingMessageId(origin.message);
    if (!message.contains(location))
        return std::nullopt;
    return message.partAt(location);
}

using Change = std::function<bool(const QMailMessagePart &, QMailMessagePartContainer *)>;

/** Replaces a container's parts by what `append` makes of them; stops when that returns false. */
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
    const PartOrigin finder(*message);
    QMailMessage whole = *message;
    bool isChanged = false;
    const bool isDone =
        rebuild(&whole, [&](const QMailMessagePart &part, QMailMessagePartContainer *container) {
            const auto origin = finder.of(part);
            const auto content = origin ? contentOf(*origin, part) : std::make_optional(part);
            isChanged = isChanged || origin;
            if (content)
                container->appendPart(*content);
            return bool(content);
        });
    // Only where something changed: signed and encrypted parts stay as they are, byte by byte.
    if (isDone && isChanged)
        *message = whole;
    return isDone ? Eas::Result {} : notHere();
}

} // namespace Store
