// SPDX-License-Identifier: LGPL-2.1-or-later
#include "daemon/store/incoming/contentmark.h"

#include "daemon/store/incoming/contentcheck.h"
#include "daemon/store/storefailure.h"

#include <QCryptographicHash>
#include <qmailstore.h>
#include <QStringList>

#include <algorithm>

namespace Store {

namespace {

const QString Field = QStringLiteral("orvmail-content");

/** A short digest of texts; collisions on purpose are no threat here. */
class Digest
{
public:
    Digest &operator<<(const QByteArray &bytes)
    {
        const quint32 size = quint32(bytes.size());
        m_hash.addData(reinterpret_cast<const char *>(&size), sizeof size);
        m_hash.addData(bytes);
        return *this;
    }
    Digest &operator<<(const std::optional<QString> &text)
    {
        return *this << text.value_or(QString()).toUtf8();
    }
    QByteArray result() const { return m_hash.result().left(9).toBase64(); }

private:
    QCryptographicHash m_hash {QCryptographicHash::Sha1};
};

QByteArray identifierDigest(const QMailMessageMetaData &message)
{
    return (Digest() << message.contentIdentifier().toUtf8()).result();
}

/** Mail programs write names and the order otherwise. */
QByteArray places(const QList<QMailAddress> &addresses)
{
    QStringList list;
    for (const QMailAddress &address : addresses)
        list.append(address.address().toLower());
    std::sort(list.begin(), list.end());
    return list.join(QLatin1Char(',')).toUtf8();
}

bool isToBeNoted(const QMailMessageMetaData &message)
{
    return message.status() & QMailMessageMetaData::Draft
        && ContentMark::read(message).written.isEmpty();
}

void note(QMailMessageMetaData *noted, const QMailMessage &message)
{
    ContentMark mark = ContentMark::read(*noted);
    mark.written = identifierDigest(*noted);
    mark.headers = ContentMark::headersOf(message);
    mark.store(noted);
}

} // namespace

ContentMark ContentMark::of(const Eas::MailItem &item)
{
    ContentMark mark;
    Digest envelope;
    envelope << item.from << item.to << item.cc << item.bcc << item.subject;
    envelope << (item.dateReceived ? QByteArray::number(item.dateReceived->toSecsSinceEpoch())
                                   : QByteArray());
    envelope << QByteArray::number(item.importance.value_or(1));
    for (const Eas::Attachment &attachment : item.attachments.value_or(QList<Eas::Attachment>())) {
        // Not the file reference: servers change it when a folder is renamed.
        envelope << attachment.displayName << attachment.contentId
                 << QByteArray::number(attachment.estimatedSize);
    }
    mark.envelope = envelope.result();
    if (item.body) {
        mark.body = (Digest() << item.body->data << QByteArray::number(item.body->type)).result();
        mark.truncated = item.body->truncated;
    }
    return mark;
}

ContentMark ContentMark::read(const QMailMessageMetaData &message)
{
    ContentMark mark;
    const QStringList parts = message.customField(Field).split(QLatin1Char(' '));
    if (parts.size() >= 3) {
        mark.envelope = parts.at(0).toLatin1();
        mark.body = parts.at(1).toLatin1();
        mark.truncated = parts.at(2).contains(QLatin1Char('t'));
        mark.downloaded = parts.at(2).contains(QLatin1Char('d'));
        mark.written = parts.value(3).toLatin1();
        mark.headers = parts.value(4).toLatin1();
    }
    return mark;
}

QByteArray ContentMark::headersOf(const QMailMessage &message)
{
    return (Digest() << message.subject().simplified().toUtf8() << places(message.to())
                     << places(message.cc()) << places(message.bcc()))
        .result();
}

void ContentMark::store(QMailMessageMetaData *message) const
{
    const QByteArray flags = QByteArray(truncated ? "t" : "") + (downloaded ? "d" : "");
    QByteArray text = envelope + ' ' + body + ' ' + flags;
    if (!written.isEmpty())
        text += ' ' + written + ' ' + headers;
    message->setCustomField(Field, QString::fromLatin1(text));
}

bool ContentMark::isOutdatedBy(const ContentMark &item) const
{
    if (envelope != item.envelope)
        return true;
    if (downloaded || item.body.isEmpty() || body == item.body)
        return false;
    // An item that brings more of the body replaces it, one that brings less does not.
    return truncated || body.isEmpty() || !item.truncated;
}

bool ContentMark::isOtherText(const ContentMark &item) const
{
    const bool isKnown = !body.isEmpty() && !truncated && !item.body.isEmpty() && !item.truncated;
    return isKnown && body != item.body;
}

Eas::Result noteContent(const QMailMessage &message)
{
    if (!isToBeNoted(message))
        return {};
    QMailMessageMetaData noted = message;
    note(&noted, message);
    return QMailStore::instance()->updateMessagesMetaData(QMailMessageKey::id(message.id()),
                                                          QMailMessageKey::Custom, noted)
        ? Eas::Result()
        : storeFailure(QStringLiteral("cannot note the content of a draft"));
}

void markContent(QMailMessageMetaData *message)
{
    if (isToBeNoted(*message))
        note(message, QMailMessage(message->id()));
}

bool isEdited(const QMailMessageMetaData &message)
{
    const QByteArray written = ContentMark::read(message).written;
    return !written.isEmpty() && written != identifierDigest(message)
        && !isContentDamaged(message, 1);
}

bool keepsContent(const QMailMessageMetaData &message, const Eas::MailItem &item)
{
    return isEdited(message) && !ContentMark::read(message).isOtherText(ContentMark::of(item));
}

bool areHeadersEdited(const QMailMessage &message)
{
    return isEdited(message)
        && ContentMark::read(message).headers != ContentMark::headersOf(message);
}

} // namespace Store
