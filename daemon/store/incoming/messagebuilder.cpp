// SPDX-License-Identifier: LGPL-2.1-or-later
#include "daemon/store/incoming/messagebuilder.h"

#include "daemon/store/incoming/contentmark.h"
#include "daemon/store/incoming/mimeguard.h"
#include "daemon/store/mailtext.h"
#include "daemon/store/mark.h"

#include <QCryptographicHash>
#include <QDateTime>
#include <QMimeDatabase>

namespace Store {

namespace {

using Message = QMailMessageMetaData;

// QMF leaves headers with this prefix out of what it transmits.
const QString FileReferenceHeader = QStringLiteral("X-qmf-internal-file-reference");
const QString ConversationField = QStringLiteral("orvmail-conversation");

QMailMessageBody textBody(const Eas::Body &body)
{
    const QByteArray type =
        body.type == Eas::Html ? "text/html; charset=UTF-8" : "text/plain; charset=UTF-8";
    return QMailMessageBody::fromData(MailText::storableText(body.data),
                                      QMailMessageContentType(type), QMailMessageBody::EightBit,
                                      QMailMessageBody::AlreadyEncoded);
}

QMailMessagePart textPart(const Eas::Body &body)
{
    QMailMessagePart part;
    part.setBody(textBody(body));
    // By this the store knows, and tells mail programs, that there is more of it.
    if (body.truncated)
        part.setHeaderField(QStringLiteral("X-qmf-internal-partial-content"), QStringLiteral("1"));
    return part;
}

QByteArray contentTypeOf(const Eas::Attachment &attachment, const QString &name)
{
    const QByteArray told = MailText::mediaType(attachment.contentType);
    if (!told.isEmpty())
        return told;
    if (attachment.method == 5)
        return QByteArrayLiteral("message/rfc822");
    static const QMimeDatabase database;
    return database.mimeTypeForFile(name, QMimeDatabase::MatchExtension).name().toLatin1();
}

bool isEmbedded(const Eas::Attachment &attachment)
{
    return attachment.isInline && !attachment.contentId.isEmpty();
}

/** Text alone, related (text and what it shows), mixed (that and attachments). */
void setContent(QMailMessage *message, const Eas::Body &body,
                const QList<Eas::Attachment> &attachments)
{
    QList<QMailMessagePart> shown;
    QList<QMailMessagePart> attached;
    for (const Eas::Attachment &attachment : attachments) {
        const bool related = body.type == Eas::Html && isEmbedded(attachment);
        (related ? shown : attached).append(MessageBuilder::attachmentPart(attachment));
    }
    if (attachments.isEmpty()) {
        message->setBody(textBody(body));
        return;
    }
    QMailMessagePart related;
    QMailMessagePartContainer *text = message;
    if (!shown.isEmpty() && !attached.isEmpty())
        text = &related;
    if (!shown.isEmpty()) {
        text->setMultipartType(QMailMessagePartContainer::MultipartRelated);
        text->appendPart(textPart(body));
        for (const QMailMessagePart &part : qAsConst(shown))
            text->appendPart(part);
    }
    if (attached.isEmpty())
        return;
    message->setMultipartType(QMailMessagePartContainer::MultipartMixed);
    message->appendPart(shown.isEmpty() ? textPart(body) : related);
    for (const QMailMessagePart &part : qAsConst(attached))
        message->appendPart(part);
}

/**
 * To, Cc or Bcc.
 *
 * QMF encodes each name in the narrowest charset, and reads a list with several charsets wrongly
 * back.
 */
void setAddresses(QMailMessage *message, const char *header, const QList<QMailAddress> &addresses)
{
    if (!addresses.isEmpty())
        message->setHeaderField(QLatin1String(header), MailText::encodedAddresses(addresses));
}

void setTo(QMailMessage *message, const QList<QMailAddress> &addresses)
{
    message->setTo(addresses);
    setAddresses(message, "To", addresses);
}

void setCc(QMailMessage *message, const QList<QMailAddress> &addresses)
{
    message->setCc(addresses);
    setAddresses(message, "Cc", addresses);
}

void setBcc(QMailMessage *message, const QList<QMailAddress> &addresses)
{
    message->setBcc(addresses);
    setAddresses(message, "Bcc", addresses);
}

void setEnvelope(QMailMessage *message, const Eas::MailItem &item)
{
    if (item.from || item.sender) {
        const QList<QMailAddress> from = MailText::addresses(item.from.value_or(QString()));
        const QList<QMailAddress> sender = MailText::addresses(item.sender.value_or(QString()));
        if (!from.isEmpty() || !sender.isEmpty())
            message->setFrom(from.isEmpty() ? sender.first() : from.first());
    }
    if (item.to)
        setTo(message, MailText::addresses(*item.to));
    if (item.cc)
        setCc(message, MailText::addresses(*item.cc));
    if (item.bcc)
        setBcc(message, MailText::addresses(*item.bcc));
    if (item.replyTo) {
        const QList<QMailAddress> replyTo = MailText::addresses(*item.replyTo);
        if (!replyTo.isEmpty())
            message->setReplyTo(replyTo.first());
    }
    if (item.subject)
        message->setSubject(MailText::headerText(*item.subject));
    if (item.dateReceived && item.dateReceived->isValid()) {
        message->setDate(QMailTimeStamp(*item.dateReceived));
        message->setReceivedDate(QMailTimeStamp(*item.dateReceived));
    }
    MessageBuilder::updateConversation(message, item);
}

void setImportance(QMailMessage *message, int importance)
{
    message->setStatus(Message::HighPriority, importance == 2);
    message->setStatus(Message::LowPriority, importance == 0);
    if (importance == 1) {
        message->removeHeaderField(QStringLiteral("Importance"));
        message->removeHeaderField(QStringLiteral("X-Priority"));
        return;
    }
    message->setHeaderField(QStringLiteral("Importance"),
                            importance == 2 ? QStringLiteral("high") : QStringLiteral("low"));
    message->setHeaderField(QStringLiteral("X-Priority"),
                            importance == 2 ? QStringLiteral("1") : QStringLiteral("5"));
}

qint64 sizeOf(const Eas::MailItem &item)
{
    qint64 size = 0;
    if (item.body)
        size = qMax(item.body->estimatedSize, qint64(item.body->data.size()));
    for (const Eas::Attachment &attachment : item.attachments.value_or(QList<Eas::Attachment>()))
        size += qBound(qint64(0), attachment.estimatedSize, qint64(INT_MAX));
    return qMin(size, qint64(INT_MAX));
}

/** What of the content is here, and the marks by which a later change is compared. */
void setContentState(QMailMessage *message, const Eas::MailItem &item)
{
    const bool attached = item.attachments && !item.attachments->isEmpty();
    const bool mime = item.body && item.body->type == Eas::Mime;
    const bool whole = item.body && !item.body->truncated && (!attached || mime);
    message->setStatus(Message::ContentAvailable, whole);
    message->setStatus(Message::PartialContentAvailable, bool(item.body));
    message->setStatus(Message::HasAttachments, attached || (mime && message->hasAttachments()));
    message->setSize(uint(sizeOf(item)));
    message->setContentSize(uint(sizeOf(item)));
    ContentMark::of(item).store(message);
}

/** A flag of ours follows the server's unless the user changed it since. */
void follow(Message *message, quint64 ours, quint64 theirs, bool value)
{
    const bool pending = bool(message->status() & ours) != bool(message->status() & theirs);
    message->setStatus(theirs, value);
    if (!pending)
        message->setStatus(ours, value);
}

/** The item without what an author writes into the headers. */
Eas::MailItem withoutAuthorsHeaders(Eas::MailItem item)
{
    item.subject.reset();
    item.to.reset();
    item.cc.reset();
    item.bcc.reset();
    return item;
}

/** The mark of a message of which the content stays. */
void updateMark(QMailMessage *after, const QMailMessage &before, const Eas::MailItem &item)
{
    const ContentMark shown = ContentMark::of(item);
    ContentMark mark = ContentMark::read(before);
    mark.envelope = shown.envelope;
    // The store gives the content another identifier, and what was edited stays so.
    if (!isEdited(before))
        mark.written.clear();
    else if (!areHeadersEdited(before))
        mark.headers = ContentMark::headersOf(*after);
    // Of what has come in part, the first whole text is what the next one is compared with.
    if (!shown.body.isEmpty() && !shown.truncated) {
        mark.body = shown.body;
        mark.truncated = false;
    }
    mark.store(after);
}

/** Headers that a change did not bring stay as they were. */
void keepEnvelope(QMailMessage *after, const QMailMessage &before, const Eas::MailItem &item)
{
    if (!item.from && !item.sender)
        after->setFrom(before.from());
    if (!item.to)
        setTo(after, before.to());
    if (!item.cc)
        setCc(after, before.cc());
    if (!item.bcc)
        setBcc(after, before.bcc());
    if (!item.replyTo && !before.replyTo().isNull())
        after->setReplyTo(before.replyTo());
    if (!item.subject)
        after->setSubject(before.subject());
    if (!item.dateReceived) {
        after->setDate(before.date());
        after->setReceivedDate(before.receivedDate());
    }
}

} // namespace

bool MessageBuilder::isComplete(const Eas::MailItem &item)
{
    return item.dateReceived && (item.from || item.subject || item.body);
}

bool MessageBuilder::isNews(const Eas::MailItem &item, const QMailMessageMetaData &message)
{
    if (isComplete(item))
        return ContentMark::read(message).isOutdatedBy(ContentMark::of(item));
    return item.from || item.to || item.cc || item.bcc || item.replyTo || item.sender
        || item.subject || item.dateReceived || item.importance || item.body || item.attachments;
}

QMailMessage MessageBuilder::build(const Eas::MailItem &item)
{
    const bool mime =
        item.body && item.body->type == Eas::Mime && MimeGuard::isHarmless(item.body->data);
    QMailMessage message = mime ? QMailMessage::fromRfc2822(item.body->data) : QMailMessage();
    MimeGuard::disarm(&message);
    message.setMessageType(Message::Email);
    message.setContentScheme(QStringLiteral("qmfstoragemanager"));
    message.setReceivedDate(QMailTimeStamp(QDateTime::currentDateTimeUtc()));
    if (!mime)
        setContent(&message, item.body.value_or(Eas::Body()),
                   item.attachments.value_or(QList<Eas::Attachment>()));
    setEnvelope(&message, item);
    if (!message.date().isValid())
        message.setDate(message.receivedDate());
    setImportance(&message, item.importance.value_or(1));
    setContentState(&message, item);
    message.setStatus(Message::New, !item.read.value_or(false));
    updateFlags(&message, item);
    return message;
}

QMailMessage MessageBuilder::rebuilt(const QMailMessageMetaData &before, const Eas::MailItem &item)
{
    QMailMessage after = build(item);
    keepIdentity(&after, before);
    updateFlags(&after, item);
    return after;
}

QMailMessage MessageBuilder::updated(const QMailMessage &before, const Eas::MailItem &item)
{
    const bool isTextNew = item.body && !keepsContent(before, item);
    QMailMessage after = isTextNew ? build(item) : before;
    if (isTextNew) {
        keepEnvelope(&after, before, item);
        keepIdentity(&after, before);
    } else {
        setEnvelope(&after, areHeadersEdited(before) ? withoutAuthorsHeaders(item) : item);
        if (item.importance)
            setImportance(&after, *item.importance);
        updateMark(&after, before, item);
    }
    updateFlags(&after, item);
    return after;
}

void MessageBuilder::updateFlags(QMailMessageMetaData *message, const Eas::MailItem &item)
{
    if (item.read)
        follow(message, Message::Read, Message::ReadElsewhere, *item.read);
    if (item.flag)
        follow(message, Message::Important, Message::ImportantElsewhere,
               *item.flag == Eas::FlagStatus::Active);
    if (item.flag)
        BareFlagMark.set(message, *item.flag == Eas::FlagStatus::Active && !item.hasFlagDates);
    if (message->status() & Message::Read)
        message->setStatus(Message::New, false);
    if (item.lastVerb) {
        message->setStatus(Message::Replied, *item.lastVerb == 1);
        message->setStatus(Message::RepliedAll, *item.lastVerb == 2);
        message->setStatus(Message::Forwarded, *item.lastVerb == 3);
    }
}

bool MessageBuilder::updateConversation(QMailMessageMetaData *message, const Eas::MailItem &item)
{
    if (!item.conversationId || item.conversationId->isEmpty())
        return false;
    const QByteArray id = item.conversationId->size() <= MailText::MaximumIdLength
        ? *item.conversationId
        : QCryptographicHash::hash(*item.conversationId, QCryptographicHash::Sha256);
    message->setCustomField(ConversationField, QString::fromLatin1(id.toBase64()));
    return true;
}

void MessageBuilder::keepIdentity(QMailMessage *after, const QMailMessageMetaData &before)
{
    const quint64 ofContent = Message::ContentAvailable | Message::PartialContentAvailable
        | Message::HasAttachments | Message::HighPriority | Message::LowPriority;
    after->setId(before.id());
    after->setParentAccountId(before.parentAccountId());
    after->setParentFolderId(before.parentFolderId());
    after->setPreviousParentFolderId(before.previousParentFolderId());
    after->setRestoreFolderId(before.restoreFolderId());
    after->setServerUid(before.serverUid());
    after->setContentIdentifier(before.contentIdentifier());
    after->setParentThreadId(before.parentThreadId());
    after->setInResponseTo(before.inResponseTo());
    after->setResponseType(before.responseType());
    after->setStatus((before.status() & ~ofContent) | (after->status() & ofContent));
    const QMap<QString, QString> &fields = before.customFields();
    for (auto it = fields.constBegin(); it != fields.constEnd(); ++it) {
        if (after->customField(it.key()).isNull())
            after->setCustomField(it.key(), it.value());
    }
}

QMailMessagePart MessageBuilder::attachmentPart(const Eas::Attachment &attachment)
{
    const QString name = MailText::fileName(attachment.displayName);
    QMailMessageContentType type(contentTypeOf(attachment, name));
    QMailMessageContentDisposition disposition(isEmbedded(attachment)
                                                   ? QMailMessageContentDisposition::Inline
                                                   : QMailMessageContentDisposition::Attachment);
    if (!name.isEmpty()) {
        const QByteArray encoded = QMailMessageHeaderField::encodeParameter(name, "UTF-8");
        const bool plain = MailText::isParameter(name);
        type.setParameter("name", plain ? name.toLatin1() : encoded);
        disposition.setParameter("filename", plain ? name.toLatin1() : encoded);
        if (!plain) {
            type.setParameterEncoded("name");
            disposition.setParameterEncoded("filename");
        }
    }
    disposition.setSize(int(qBound(qint64(0), attachment.estimatedSize, qint64(INT_MAX))));

    QMailMessagePart part;
    part.setHeaderField(type);
    part.setHeaderField(disposition);
    part.setHeaderField(QStringLiteral("Content-Transfer-Encoding"), QStringLiteral("base64"));
    const auto id = [](const QString &text) {
        return MailText::headerText(text, MailText::MaximumIdLength);
    };
    if (!attachment.contentId.isEmpty())
        part.setContentID(id(attachment.contentId));
    if (!attachment.contentLocation.isEmpty())
        part.setContentLocation(id(attachment.contentLocation));
    MimeGuard::disarm(&part);
    part.setHeaderField(FileReferenceHeader,
                        QString::fromLatin1(attachment.fileReference.toUtf8().toPercentEncoding()));
    return part;
}

QString MessageBuilder::fileName(const QMailMessagePart &part)
{
    const bool isNamed =
        !part.contentDisposition().filename().isEmpty() || !part.contentType().name().isEmpty();
    return isNamed ? part.displayName() : QString();
}

QString MessageBuilder::fileReference(const QMailMessagePart &part)
{
    const QByteArray stored = part.headerFieldText(FileReferenceHeader).toLatin1();
    return QString::fromUtf8(QByteArray::fromPercentEncoding(stored.trimmed()));
}

QByteArray MessageBuilder::conversationId(const QMailMessageMetaData &message)
{
    return QByteArray::fromBase64(message.customField(ConversationField).toLatin1());
}

} // namespace Store
