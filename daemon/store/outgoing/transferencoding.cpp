// SPDX-License-Identifier: LGPL-2.1-or-later
#include "daemon/store/outgoing/transferencoding.h"

#include "daemon/store/outgoing/textencoder.h"
#include "daemon/store/storefailure.h"
#include "translations/text.h"

#include <QDataStream>
#include <QFile>
#include <qmailnamespace.h>

namespace Store {

namespace {

/** RFC 5322 2.1.1, without the line's end. */
constexpr int MaximumLineLength = 998;

/** Takes all that is written to it and keeps nothing but whether it was safe. */
class Scanner : public QIODevice
{
public:
    Scanner() { open(QIODevice::WriteOnly | QIODevice::Unbuffered); }

    bool isSafe() const { return m_safe && !m_afterReturn; }
    bool isSequential() const override { return true; }

protected:
    qint64 readData(char *, qint64) override { return -1; }
    qint64 writeData(const char *data, qint64 size) override
    {
        for (qint64 i = 0; i < size && m_safe; ++i)
            take(data[i]);
        return size;
    }

private:
    void take(char sign)
    {
        const bool isEnd = sign == '\n';
        if (m_afterReturn != isEnd || sign == '\0' || (sign & 0x80))
            m_safe = false;
        m_afterReturn = sign == '\r';
        m_line = isEnd ? 0 : m_line + int(!m_afterReturn);
        if (m_line > MaximumLineLength)
            m_safe = false;
    }

    int m_line = 0;
    bool m_afterReturn = false;
    bool m_safe = true;
};

bool isSafe(const QMailMessageBody &body)
{
    switch (body.transferEncoding()) {
    case QMailMessageBody::Base64:
    case QMailMessageBody::QuotedPrintable:
        return true;
    default:
        break;
    }
    Scanner scanner;
    QDataStream stream(&scanner);
    body.toStream(stream, QMailMessageBody::Encoded);
    return scanner.isSafe();
}

/** Brings one container and all below it into a safe form. */
class Encoder
{
public:
    explicit Encoder(const QString &scratch)
        : m_scratch(scratch)
        , m_texts(scratch)
    {
    }

    bool encode(QMailMessagePartContainer *container)
    {
        switch (container->multipartType()) {
        case QMailMessagePartContainer::MultipartNone:
            return encodeBody(container);
        case QMailMessagePartContainer::MultipartSigned:
        case QMailMessagePartContainer::MultipartEncrypted:
            return m_texts.encodeParts(container);
        default:
            break;
        }
        for (uint i = 0; i < container->partCount(); ++i) {
            if (!encodePart(&container->partAt(i)))
                return false;
        }
        return true;
    }

private:
    bool encodePart(QMailMessagePart *part)
    {
        if (part->hasUndecodedData() || part->referenceType() != QMailMessagePart::None)
            return true;
        // What goes in base64 is encoded elsewhere.
        const bool isQuoted = TextEncoder::isText(*part)
            && part->body().transferEncoding() == QMailMessageBody::QuotedPrintable;
        return isQuoted ? m_texts.encode(part, QMailMessageBody::QuotedPrintable) : encode(part);
    }

    bool encodeBody(QMailMessagePartContainer *container)
    {
        const QMailMessageContentType type = container->contentType();
        // RFC 2046 5.2.1: a message inside a message is never encoded.
        const bool isMessage = type.matches("message", "rfc822");
        if (!container->hasBody() || isMessage || isSafe(container->body()))
            return true;
        if (TextEncoder::isText(*container))
            return m_texts.encode(container, QMailMessageBody::QuotedPrintable);
        const QMailMessageBody body = container->body();
        const QString path = QStringLiteral("%1/%2").arg(m_scratch).arg(++m_files);
        if (!save(body, path))
            return false;
        const auto encoding =
            type.matches("text") ? QMailMessageBody::QuotedPrintable : QMailMessageBody::Base64;
        container->setBody(QMailMessageBody::fromFile(path, body.contentType(), encoding,
                                                      QMailMessageBody::RequiresEncoding));
        return true;
    }

    static bool save(const QMailMessageBody &body, const QString &path)
    {
        QFile file(path);
        if (!file.open(QIODevice::WriteOnly))
            return false;
        QDataStream stream(&file);
        body.toStream(stream, QMailMessageBody::Decoded);
        return stream.status() == QDataStream::Ok && file.flush();
    }

    const QString m_scratch;
    TextEncoder m_texts;
    int m_files = 0;
};

} // namespace

QString TransferEncoding::scratchTemplate()
{
    return QMail::dataPath() + QStringLiteral("asdaemon-sending-XXXXXX");
}

Eas::Result TransferEncoding::makeSafe(QMailMessage *message, const QString &scratch)
{
    if (Encoder(scratch).encode(message))
        return {};
    return storeFailure(FailureText::english("the message cannot be prepared"));
}

} // namespace Store
