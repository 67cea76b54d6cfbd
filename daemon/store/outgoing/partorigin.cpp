// SPDX-License-Identifier: LGPL-2.1-or-later
#include "daemon/store/outgoing/partorigin.h"

#include "daemon/store/currentmessages.h"
#include "daemon/store/incoming/contentmark.h"
#include "daemon/store/incoming/messagebuilder.h"
#include "daemon/store/incoming/mimeguard.h"
#include "daemon/store/outgoing/responseplan.h"

#include <QDataStream>
#include <qmailstore.h>
#include <QTemporaryFile>

namespace Store {

namespace {

bool isLeaf(const QMailMessagePart &part)
{
    return part.multipartType() == QMailMessagePartContainer::MultipartNone
        && part.referenceType() == QMailMessagePart::None;
}

/** Whether a part without content is not known to be empty: it was copied before it was fetched. */
bool isHollow(const QMailMessagePart &part)
{
    return isLeaf(part) && (!part.hasBody() || part.body().length() == 0)
        && (part.contentDisposition().size() > 0 || !MessageBuilder::fileReference(part).isEmpty());
}

bool hasHollow(const QMailMessage &message)
{
    return !message.foreachPart([](const QMailMessagePart &part) { return !isHollow(part); });
}

/**
 * Whether both are copies of one attachment.
 *
 * The file reference alone does not tell: it may be as short as a folder's name and a number, and
 * the same in another account, of which the copy may be.
 */
bool isSameAttachment(const QMailMessagePart &one, const QMailMessagePart &other)
{
    if (one.contentDisposition().size() != other.contentDisposition().size())
        return false;
    const QString reference = MessageBuilder::fileReference(one);
    if (!reference.isEmpty())
        return reference == MessageBuilder::fileReference(other)
            && MessageBuilder::fileName(one) == MessageBuilder::fileName(other);
    return !one.displayName().isEmpty() && one.displayName() == other.displayName()
        && one.contentType().content().toLower() == other.contentType().content().toLower();
}

/** The attachment of the message that the part is a copy of; an invalid message where none is. */
ContentOrigin findAttachment(const QMailMessageId &id, const QMailMessagePart &part)
{
    ContentOrigin origin;
    const QMailMessage message = isHere(id) ? QMailMessage(id) : QMailMessage();
    // A draft has copies itself.
    if (message.serverUid().isEmpty())
        return origin;
    message.foreachPart([&](const QMailMessagePart &one) {
        if (isLeaf(one) && isSameAttachment(part, one))
            origin = {id, one.location().toString(false)};
        return !origin.message.isValid();
    });
    return origin;
}

bool isSameMessage(const QMailMessageMetaData &one, const QMailMessage &copy)
{
    return one.subject() == copy.subject()
        && one.from().address().compare(copy.from().address(), Qt::CaseInsensitive) == 0;
}

/** Compares to the second, which is what a header tells. */
bool isSameTime(const QMailMessageMetaData &one, const QMailMessage &copy)
{
    const qint64 told = copy.date().toUTC().toSecsSinceEpoch();
    return told == one.date().toUTC().toSecsSinceEpoch()
        || told == one.receivedDate().toUTC().toSecsSinceEpoch();
}

/** Compares the Message-IDs; where one has none, the times. */
bool isCopyOf(const QMailMessage &copy, const QMailMessageMetaData &one)
{
    const QString field = QStringLiteral("Message-ID");
    const QString id = copy.headerFieldText(field).trimmed();
    const QString known =
        id.isEmpty() ? id : QMailMessage(one.id()).headerFieldText(field).trimmed();
    return known.isEmpty() ? isSameTime(one, copy) : known == id;
}

/** Whether the copy lacks what the message, as it is here, lacks as well. */
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
    , m_guess(message.inResponseTo())
    , m_original(ResponsePlan::of(message).originalId)
{
}

std::optional<ContentOrigin> PartOrigin::of(const QMailMessagePart &part) const
{
    if (part.referenceType() != QMailMessagePart::None)
        return ofReference(part);
    if (isLeaf(part) && part.hasBody() && part.contentType().matches("message", "rfc822"))
        return ofEmbedded(part);
    return isHollow(part) ? std::make_optional(ofEmpty(part)) : std::nullopt;
}

std::optional<ContentOrigin> PartOrigin::ofReference(const QMailMessagePart &part) const
{
    if (part.referenceType() == QMailMessagePart::MessageReference)
        return ContentOrigin {part.messageReference(), QString()};
    const QMailMessagePart::Location location = part.partReference();
    return ContentOrigin {location.containingMessageId(), location.toString(false)};
}

ContentOrigin PartOrigin::ofEmpty(const QMailMessagePart &part) const
{
    // Names are the same in many messages: without a reference, only the original can be meant.
    if (MessageBuilder::fileReference(part).isEmpty())
        return findAttachment(m_original, part);
    // The reference is one of the account that the copy comes from.
    const bool isOfAnotherAccount = findAttachment(m_guess, part).message.isValid()
        && QMailMessageMetaData(m_guess).parentAccountId() != m_account;
    if (isOfAnotherAccount)
        return {};
    for (const QMailMessageId &id : withAttachments()) {
        const ContentOrigin origin = findAttachment(id, part);
        if (origin.message.isValid())
            return origin;
    }
    return {};
}

/** The account's messages that may have an attachment, the most likely one first. */
QMailMessageIdList PartOrigin::withAttachments() const
{
    const QMailMessageKey key = QMailMessageKey::parentAccountId(m_account)
        & QMailMessageKey::status(QMailMessage::HasAttachments, QMailDataComparator::Includes);
    QMailMessageIdList ids = QMailStore::instance()->queryMessages(
        key, QMailMessageSortKey::receptionTimeStamp(Qt::DescendingOrder));
    const int guessed = ids.indexOf(m_guess);
    if (guessed > 0)
        ids.move(guessed, 0);
    return ids;
}

std::optional<ContentOrigin> PartOrigin::ofEmbedded(const QMailMessagePart &part) const
{
    // By way of a file: memory does not grow with what is embedded.
    QTemporaryFile file;
    if (!file.open())
        return std::nullopt;
    QDataStream stream(&file);
    part.body().toStream(stream, QMailMessageBody::Decoded);
    const auto *bytes =
        file.flush() ? reinterpret_cast<const char *>(file.map(0, file.size())) : nullptr;
    // What cannot be looked into goes as it is.
    if (!bytes || !MimeGuard::isHarmless(QByteArray::fromRawData(bytes, int(file.size()))))
        return std::nullopt;
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
    for (const QMailMessageId &id : QMailStore::instance()->queryMessages(key)) {
        const QMailMessageMetaData one(id);
        if (isSameMessage(one, copy) && !one.serverUid().isEmpty() && isCopyOf(copy, one))
            return id;
    }
    return {};
}

} // namespace Store
