// SPDX-License-Identifier: LGPL-2.1-or-later
#include "daemon/store/outgoing/messageskeleton.h"

#include "daemon/store/outgoing/base64sink.h"

#include <QDataStream>
#include <QUuid>

namespace Store {

namespace {

bool writeBody(const QMailMessageBody &body, QIODevice *target)
{
    Base64Sink sink(target);
    QDataStream stream(&sink);
    return body.toStream(stream, QMailMessageBody::Decoded) && stream.status() == QDataStream::Ok
        && sink.finish();
}

} // namespace

MessageSkeleton::MessageSkeleton(const QMailMessage &message, const StoredParts &stored)
    : m_message(message)
    , m_stored(stored)
    , m_token(QUuid::createUuid().toRfc4122().toHex())
{
    takeOut(&m_message);
}

void MessageSkeleton::takeOut(QMailMessagePartContainer *container)
{
    const auto type = container->multipartType();
    if (type == QMailMessagePartContainer::MultipartSigned
        || type == QMailMessagePartContainer::MultipartEncrypted)
        return;
    for (uint i = 0; i < container->partCount(); ++i) {
        QMailMessagePart &part = container->partAt(i);
        if (part.hasUndecodedData() || part.referenceType() != QMailMessagePart::None)
            continue;
        takeOut(&part);
        takeOutBody(&part);
    }
}

void MessageSkeleton::takeOutBody(QMailMessagePart *part)
{
    if (!part->hasBody() || part->body().transferEncoding() != QMailMessageBody::Base64)
        return;
    const QMailMessageBody body = part->body();
    part->setBody(QMailMessageBody::fromData(m_token, body.contentType(), QMailMessageBody::Base64,
                                             QMailMessageBody::AlreadyEncoded));
    m_bodies.append(body);
}

bool MessageSkeleton::putBack(const QMailMessageBody &body, QIODevice *target,
                              QList<Insertion> *insertions) const
{
    const auto file = m_stored.fileOf(body);
    if (!file)
        return writeBody(body, target);
    insertions->append({target->pos(), file});
    return true;
}

bool MessageSkeleton::write(QIODevice *target, QList<Insertion> *insertions) const
{
    QByteArray frame;
    QDataStream stream(&frame, QIODevice::WriteOnly);
    m_message.toRfc2822(stream, QMailMessage::TransmissionFormat);
    int at = 0;
    for (const QMailMessageBody &body : m_bodies) {
        const int next = frame.indexOf(m_token, at);
        if (next < 0 || target->write(frame.constData() + at, next - at) != next - at
            || !putBack(body, target, insertions))
            return false;
        at = next + m_token.size();
    }
    return target->write(frame.constData() + at, frame.size() - at) == frame.size() - at;
}

} // namespace Store
