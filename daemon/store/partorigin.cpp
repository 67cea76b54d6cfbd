// SPDX-License-Identifier: LGPL-2.1-or-later
#include "daemon/store/partorigin.h"

#include "daemon/store/contentmark.h"
#include "daemon/store/messagebuilder.h"

#include <QDataStream>
#include <qmailstore.h>
#include <QTemporaryFile>

namespace Store {

namespace {

bool isHere(const QMailMessageId &id)
{
    return id.isValid() && QMailStore::instance()->countMessages(QMailMessageKey::id(id)) > 0;
}

bool isLeaf(const QMailMessagePart &part)
{
    return part.multipartType() == QMailMessagePartContainer::MultipartNone
        && part.referenceType() == QMailMessagePart::None;
}

/** It has nothing, and is not known to be nothing: it was copied before it was fetched. */
bool isHollow(const QMailMessagePart &part)
{
    return isLeaf(part) && (!part.hasBody() || part.body().length() == 0)
        && (part.contentDisposition().size() > 0 || !MessageBuilder::fileReference(part).isEmpty());
}

bool hasHollow(const QMailMessage &message)
{
    return !message.foreachPart([](const QMailMessagePart &part) { return !isHollow(part); });
}

bool isSameAttachment(const QMailMessagePart &one, const QMailMessagePart &other)
{
    const QString reference = MessageBuilder::fileReference(one);
    if (!reference.isEmpty() && reference == MessageBuilder::fileReference(other))
        return true;
    return !one.displayName().isEmpty() && one.displayName() == other.displayName();
}

bool isSameMessage(const QMailMessageMetaData &one, const QMailMessage &copy)
{
    return one.subject() == copy.subject()
        && one.from().address().compare(copy.from().address(), Qt::CaseInsensitive) == 0;
}

/** To the second, which is what a header tells. */
bool isSameTime(const QMailMessageMetaData &one, const QMailMessage &copy)
{
    const qint64 told = copy.date().toUTC().toSecsSinceEpoch();
    return told == one.date().toUTC().toSecsSinceEpoch()
        || told == one.receivedDate().toUTC().toSecsSinceEpoch();
}

/** It lacks what the message, as it is here, lacks as well. */
bool isCutAs(const QMailMessage &copy, const QMailMessage &message)
{
    if (message.contentAvailable())
        return false;
    const auto isFilled = [](const QMailMessagePart &part) {
        return !isLeaf(part) || (part.hasBody() && part.body().length() > 0);
    };
    return ContentMark::read(message).truncated || !copy.foreachPart(isFilled);
}

} // namespace

PartOrigin::PartOrigin(const QMailMessage &message)
    : m_account(message.parentAccountId())
    , m_original(message.inResponseTo())
{
}

std::optional<ContentOrigin> PartOrigin::of(const QMailMessagePart &part) const
{
    if (part.referenceType() != QMailMessagePart::None)
        return ofReference(part);
    if (isLeaf(part) && part.hasBody() && part.contentType().matches("message", "rfc822"))
        return ofEmbedded(part);
    return isHollow(part) ? ofEmpty(part) : std::nullopt;
}

std::optional<ContentOrigin> PartOrigin::ofReference(const QMailMessagePart &part) const
{
    if (part.referenceType() == QMailMessagePart::MessageReference)
        return ContentOrigin {part.messageReference(), QString()};
    const QMailMessagePart::Location location = part.partReference();
    return ContentOrigin {location.containingMessageId(), location.toString(false)};
}

std::optional<ContentOrigin> PartOrigin::ofEmpty(const QMailMessagePart &part) const
{
    ContentOrigin origin;
    if (!isHere(m_original))
        return origin;
    const QMailMessage original(m_original);
    original.foreachPart([&](const QMailMessagePart &one) {
        if (isLeaf(one) && isSameAttachment(part, one))
            origin = {m_original, one.location().toString(false)};
        return !origin.message.isValid();
    });
    return origin;
}

std::optional<ContentOrigin> PartOrigin::ofEmbedded(const QMailMessagePart &part) const
{
    // By way of a file: memory does not grow with what is embedded.
    QTemporaryFile file;
    if (!file.open())
        return std::nullopt;
    QDataStream stream(&file);
    part.body().toStream(stream, QMailMessageBody::Decoded);
    file.close();
    const QMailMessage copy = QMailMessage::fromRfc2822File(file.fileName());
    const QMailMessageId id = embedded(copy);
    const bool isWhole = !hasHollow(copy) && !(id.isValid() && isCutAs(copy, QMailMessage(id)));
    return isWhole ? std::nullopt : std::make_optional(ContentOrigin {id, QString()});
}

/** The message of the account that this is a copy of; invalid where none is. */
QMailMessageId PartOrigin::embedded(const QMailMessage &copy) const
{
    const QMailMessageKey key =
        QMailMessageKey::parentAccountId(m_account) & QMailMessageKey::subject(copy.subject());
    QMailMessageId found;
    for (const QMailMessageId &id : QMailStore::instance()->queryMessages(key)) {
        const QMailMessageMetaData one(id);
        if (!isSameMessage(one, copy) || one.serverUid().isEmpty())
            continue;
        if (isSameTime(one, copy))
            return id;
        if (id == m_original)
            found = id;
    }
    return found;
}

} // namespace Store
