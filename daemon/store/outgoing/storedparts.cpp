// SPDX-License-Identifier: LGPL-2.1-or-later
#include "daemon/store/outgoing/storedparts.h"

#include <QUrl>
#include <QUuid>

namespace Store {

namespace {

/** Each is held open until the message has left: a message with more is composed otherwise. */
constexpr int MostFiles = 32;

/** That no message has in it by chance; what is in base64 may consist of it. */
QByteArray newToken()
{
    return QUuid::createUuid().toRfc4122().toHex();
}

/** Whether the part's content comes from where the store keeps it, and goes in base64. */
bool isStored(const QMailMessagePart &part)
{
    return part.hasBody()
        && part.body().transferEncoding() == QMailMessageBody::Base64
        // It is looked into before it goes.
        && !part.contentType().matches("message")
        // Such a content may be read from a file of the person's own.
        && QUrl(part.contentLocation()).toLocalFile().isEmpty();
}

} // namespace

StoredParts::StoredParts(QMailMessage *message)
{
    const QString content = message->contentIdentifier();
    if (!content.isEmpty())
        takeOut(content + QStringLiteral("-parts/"), message);
}

/** Leaves what is signed or encrypted as it is, byte by byte. */
void StoredParts::takeOut(const QString &folder, QMailMessagePartContainer *container)
{
    const auto type = container->multipartType();
    if (type == QMailMessagePartContainer::MultipartSigned
        || type == QMailMessagePartContainer::MultipartEncrypted)
        return;
    for (uint i = 0; i < container->partCount() && m_files.size() < MostFiles; ++i) {
        QMailMessagePart &part = container->partAt(i);
        if (part.hasUndecodedData() || part.referenceType() != QMailMessagePart::None)
            continue;
        takeOut(folder, static_cast<QMailMessagePartContainer *>(&part));
        takeOut(folder, &part);
    }
}

void StoredParts::takeOut(const QString &folder, QMailMessagePart *part)
{
    if (!isStored(*part))
        return;
    const auto file = PartFile::open(folder + part->location().toString(false));
    if (!file || file->size() != part->body().length())
        return;
    const QByteArray token = newToken();
    part->setBody(QMailMessageBody::fromData(token, part->body().contentType(),
                                             QMailMessageBody::Base64,
                                             QMailMessageBody::AlreadyEncoded));
    m_files.insert(token, file);
}

std::shared_ptr<PartFile> StoredParts::fileOf(const QMailMessageBody &body) const
{
    if (m_files.isEmpty() || body.length() != m_files.constBegin().key().size())
        return nullptr;
    return m_files.value(body.data(QMailMessageBody::Encoded));
}

} // namespace Store
