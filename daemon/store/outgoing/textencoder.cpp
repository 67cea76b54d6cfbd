// SPDX-License-Identifier: LGPL-2.1-or-later
#include "daemon/store/outgoing/textencoder.h"

#include <QDataStream>
#include <QFile>
#include <qmailcodec.h>

#include <memory>

namespace Store {

namespace {

using Body = QMailMessageBody;

/** As QMF's own for a text that is not left as it is. */
std::unique_ptr<QMailCodec> codecFor(Body::TransferEncoding encoding)
{
    if (encoding == Body::Base64)
        return std::make_unique<QMailBase64Codec>(QMailBase64Codec::Text);
    return std::make_unique<QMailQuotedPrintableCodec>(QMailQuotedPrintableCodec::Text,
                                                       QMailQuotedPrintableCodec::Rfc2045);
}

bool saveDecoded(const Body &body, QFile *file)
{
    if (!file->open(QIODevice::WriteOnly))
        return false;
    QDataStream stream(file);
    const bool isWritten =
        body.toStream(stream, Body::Decoded) && stream.status() == QDataStream::Ok && file->flush();
    file->close();
    return isWritten;
}

bool convert(QFile *from, QFile *to, QMailCodec *codec)
{
    if (!from->open(QIODevice::ReadOnly) || !to->open(QIODevice::WriteOnly))
        return false;
    QDataStream in(from);
    QDataStream out(to);
    codec->encode(out, in);
    return out.status() == QDataStream::Ok && to->flush();
}

} // namespace

TextEncoder::TextEncoder(const QString &scratch)
    : m_scratch(scratch)
{
}

bool TextEncoder::isText(const QMailMessagePartContainer &container)
{
    const QByteArray charset = container.contentType().charset().toLower();
    return container.multipartType() == QMailMessagePartContainer::MultipartNone
        && container.hasBody() && container.contentType().matches("text")
        && !charset.startsWith("utf-16") && !charset.startsWith("utf-32");
}

bool TextEncoder::encode(QMailMessagePartContainer *text, Body::TransferEncoding encoding)
{
    const Body body = text->body();
    if (encoding != Body::QuotedPrintable && encoding != Body::Base64) {
        // Of what is in a file, QMF leaves alone only ASCII.
        text->setBody(Body::fromData(body.data(Body::Decoded), body.contentType(), encoding,
                                     Body::RequiresEncoding));
        return true;
    }
    const QString path = QStringLiteral("%1/text-%2").arg(m_scratch).arg(++m_files);
    QFile decoded(path + QStringLiteral("-decoded"));
    QFile encoded(path);
    const bool isEncoded =
        saveDecoded(body, &decoded) && convert(&decoded, &encoded, codecFor(encoding).get());
    decoded.remove();
    if (isEncoded)
        text->setBody(Body::fromFile(path, body.contentType(), encoding, Body::AlreadyEncoded));
    return isEncoded;
}

bool TextEncoder::encodeParts(QMailMessagePartContainer *container)
{
    for (uint i = 0; i < container->partCount(); ++i) {
        if (!encodePart(&container->partAt(i)))
            return false;
    }
    return true;
}

bool TextEncoder::encodePart(QMailMessagePart *part)
{
    if (part->hasUndecodedData() || part->referenceType() != QMailMessagePart::None)
        return true;
    return isText(*part) ? encode(part, part->body().transferEncoding()) : encodeParts(part);
}

} // namespace Store
