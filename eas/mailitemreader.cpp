// SPDX-License-Identifier: LGPL-2.1-or-later
#include "eas/mailitemreader.h"

#include "eas/limits.h"
#include "translations/text.h"

namespace Eas {

namespace {

namespace Base = Tags::AirSyncBase;
namespace Mail = Tags::Email;
namespace Mail2 = Tags::Email2;

bool isTrue(const QByteArray &text)
{
    const QByteArray value = text.trimmed().toLower();
    return value == "1" || value == "true";
}

std::optional<QDateTime> dateOf(const QByteArray &text)
{
    QDateTime date = QDateTime::fromString(QString::fromLatin1(text.trimmed()), Qt::ISODateWithMs);
    if (!date.isValid())
        return {};
    // A date without a zone is UTC in this protocol.
    if (date.timeSpec() == Qt::LocalTime)
        date.setTimeSpec(Qt::UTC);
    return date.toUTC();
}

/** Removes a character at the end that was cut in the middle. */
void dropPartialCharacter(QByteArray *utf8)
{
    int start = utf8->size();
    for (int i = 0; i < 3 && start > 0 && (utf8->at(start - 1) & 0xc0) == 0x80; ++i)
        --start;
    if (start > 0 && (utf8->at(start - 1) & 0xc0) == 0xc0) {
        const uchar lead = uchar(utf8->at(start - 1));
        const int length = lead >= 0xf0 ? 4 : lead >= 0xe0 ? 3 : 2;
        if (utf8->size() - start + 1 < length)
            utf8->truncate(start - 1);
    }
}

BodyType bodyTypeOf(const QByteArray &text)
{
    switch (text.trimmed().toInt()) {
    case Html:
        return Html;
    case Mime:
        return Mime;
    default:
        return PlainText;
    }
}

/** The server's estimate, bounded by what can be fetched at all. */
qint64 sizeOf(const QByteArray &text)
{
    return qBound(Q_INT64_C(0), text.trimmed().toLongLong(), Limits::DownloadSize);
}

QString shortText(const QByteArray &text)
{
    return QString::fromUtf8(text).left(Limits::AttachmentNameLength);
}

} // namespace

void MailItemReader::begin()
{
    *this = {};
}

void MailItemReader::startElement(Tag tag)
{
    switch (tag) {
    case Base::Body:
        m_body = {};
        break;
    case Base::Attachment:
        m_attachment = {};
        break;
    case Mail::Flag:
        m_flag = FlagStatus::Clear;
        m_hasFlagDates = false;
        break;
    default:
        break;
    }
}

void MailItemReader::endElement(Tag tag, Tag parent, const QByteArray &text, bool cut)
{
    if (isProperties(parent)) {
        readProperty(tag, text);
    } else if (parent == Base::Body) {
        readBody(tag, text, cut);
    } else if (parent == Base::Attachment) {
        readAttachment(tag, text);
    } else if (tag == Base::Attachment) {
        m_attachments.append(m_attachment);
        if (m_attachments.size() > Limits::Attachments) {
            m_problem = FailureText::english("more than %1 attachments").arg(Limits::Attachments);
            m_attachments.clear();
        }
    } else if (parent == Mail::Flag && tag == Mail::Status) {
        readFlag(text);
    } else if (parent == Mail::Flag && tag != Mail::FlagType) {
        m_hasFlagDates = true;
    }
}

qint64 MailItemReader::textLimit(Tag tag, qint64 body)
{
    if (tag == Base::Data)
        return body < 0 ? Limits::TextSize : qMin(body, Limits::TextSize);
    return Limits::HeaderFieldLength;
}

bool MailItemReader::isProperties(Tag tag)
{
    return tag == Tags::AirSync::ApplicationData || tag == Tags::ItemOperations::Properties
        || tag == Tags::Search::Properties;
}

void MailItemReader::readProperty(Tag tag, const QByteArray &text)
{
    switch (tag) {
    case Base::Body:
        m_item.body = m_body;
        break;
    case Base::Attachments:
        m_item.attachments = m_attachments;
        break;
    case Mail::Flag:
        m_item.flag = m_flag;
        m_item.hasFlagDates = m_hasFlagDates;
        break;
    case Mail2::Sender:
        m_item.sender = QString::fromUtf8(text);
        break;
    case Mail2::ConversationId:
        m_item.conversationId = text;
        break;
    case Mail2::LastVerbExecuted:
        m_item.lastVerb = text.trimmed().toInt();
        break;
    default:
        readEmail(tag, text);
        break;
    }
}

void MailItemReader::readEmail(Tag tag, const QByteArray &text)
{
    switch (tag) {
    case Mail::From:
        m_item.from = QString::fromUtf8(text);
        break;
    case Mail::To:
        m_item.to = QString::fromUtf8(text);
        break;
    case Mail::Cc:
        m_item.cc = QString::fromUtf8(text);
        break;
    case Mail::ReplyTo:
        m_item.replyTo = QString::fromUtf8(text);
        break;
    case Mail::Subject:
        m_item.subject = QString::fromUtf8(text);
        break;
    case Mail::DateReceived:
        m_item.dateReceived = dateOf(text);
        break;
    case Mail::Read:
        m_item.read = isTrue(text);
        break;
    case Mail::Importance:
        m_item.importance = qBound(0, text.trimmed().toInt(), 2);
        break;
    default:
        break;
    }
}

void MailItemReader::readBody(Tag tag, const QByteArray &text, bool cut)
{
    switch (tag) {
    case Base::Type:
        m_body.type = bodyTypeOf(text);
        break;
    case Base::Data:
        m_body.data = text;
        m_body.truncated = m_body.truncated || cut;
        if (cut)
            dropPartialCharacter(&m_body.data);
        break;
    case Base::Truncated:
        m_body.truncated = m_body.truncated || isTrue(text);
        break;
    case Base::EstimatedDataSize:
        m_body.estimatedSize = sizeOf(text);
        break;
    case Base::Preview:
        m_body.preview = shortText(text);
        break;
    default:
        break;
    }
}

void MailItemReader::readAttachment(Tag tag, const QByteArray &text)
{
    switch (tag) {
    case Base::DisplayName:
        m_attachment.displayName = shortText(text);
        break;
    case Base::FileReference:
        m_attachment.fileReference = QString::fromUtf8(text);
        break;
    case Base::ContentId:
        m_attachment.contentId = shortText(text);
        break;
    case Base::ContentLocation:
        m_attachment.contentLocation = shortText(text);
        break;
    case Base::ContentType:
        m_attachment.contentType = shortText(text);
        break;
    case Base::EstimatedDataSize:
        m_attachment.estimatedSize = sizeOf(text);
        break;
    case Base::Method:
        m_attachment.method = text.trimmed().toInt();
        break;
    case Base::IsInline:
        m_attachment.isInline = isTrue(text);
        break;
    default:
        break;
    }
}

void MailItemReader::readFlag(const QByteArray &text)
{
    const int status = text.trimmed().toInt();
    m_flag = status == 1 ? FlagStatus::Complete
        : status == 2    ? FlagStatus::Active
                         : FlagStatus::Clear;
}

} // namespace Eas
