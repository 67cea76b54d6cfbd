// SPDX-License-Identifier: LGPL-2.1-or-later
#include "daemon/store/outgoing/outgoingprint.h"

#include <QCryptographicHash>
#include <QDataStream>
#include <QIODevice>

#include <algorithm>

namespace Store {

namespace {

using Algorithm = QCryptographicHash::Algorithm;
using OutgoingPrint::Content;

/** How a print was made, which it begins with. */
struct Kind
{
    QByteArray name;
    Algorithm algorithm;
};

/**
 * The first is made today, the others were by older daemons.
 *
 * A mail leaves only when its print is made, and SHA-1 takes a quarter of SHA-256's time. It is to
 * notice what an author has changed, not to withstand somebody who wants that to stay unnoticed.
 */
const Kind Kinds[] = {{QByteArrayLiteral("2"), Algorithm::Sha1},
                      {QByteArrayLiteral("1"), Algorithm::Sha256}};

/** Takes all that is written to it and keeps a digest alone. */
class DigestSink : public QIODevice
{
public:
    /** The line ends of a text do not count. */
    DigestSink(Algorithm algorithm, bool isText)
        : m_hash(algorithm)
        , m_isText(isText)
    {
        open(QIODevice::WriteOnly | QIODevice::Unbuffered);
    }

    QByteArray digest() const { return m_hash.result().toHex(); }
    bool isSequential() const override { return true; }

protected:
    qint64 readData(char *, qint64) override { return -1; }
    qint64 writeData(const char *data, qint64 size) override
    {
        QByteArray piece = QByteArray::fromRawData(data, int(size));
        m_hash.addData(m_isText ? piece.replace('\r', "") : piece);
        return size;
    }

private:
    QCryptographicHash m_hash;
    const bool m_isText;
};

void collect(const QMailAddress &address, QStringList *places)
{
    const QList<QMailAddress> members =
        address.isGroup() ? address.groupMembers() : QList<QMailAddress>();
    for (const QMailAddress &member : members)
        collect(member, places);
    if (address.isGroup())
        return;
    const bool isNamed = address.name() != address.address();
    places->append((isNamed ? address.name() : QString()) + QLatin1Char('<')
                   + address.address().toLower());
}

QString placesOf(const QList<QMailAddress> &addresses)
{
    QStringList places;
    for (const QMailAddress &address : addresses)
        collect(address, &places);
    std::sort(places.begin(), places.end());
    return places.join(QLatin1Char(','));
}

QString nameOf(const QMailMessagePart &part)
{
    const QByteArray name = part.contentDisposition().filename();
    return QString::fromUtf8(name.isEmpty() ? part.contentType().name() : name);
}

QString targetOf(const QMailMessagePart &part)
{
    return part.referenceType() == QMailMessagePart::MessageReference
        ? QString::number(part.messageReference().toULongLong())
        : part.partReference().toString(true);
}

/** Whether the content was never fetched, or its file is gone; a text may be empty. */
bool isAbsent(const QMailMessagePart &part, Content content)
{
    const bool isAttachment =
        part.contentDisposition().type() == QMailMessageContentDisposition::Attachment;
    return (!part.hasBody() || part.body().length() == 0)
        && (content == Content::Lost || isAttachment || !part.contentType().matches("text"));
}

/** Makes a print in one way. */
class Printer
{
public:
    Printer(const Kind &kind, Content content)
        : m_kind(kind)
        , m_content(content)
    {
    }

    QByteArray print(const QMailMessage &message) const
    {
        QList<QByteArray> prints {
            m_kind.name,
            digest({placesOf(message.to()), placesOf(message.cc()), placesOf(message.bcc()),
                    message.subject().simplified()})};
        if (message.multipartType() == QMailMessagePartContainer::MultipartNone)
            prints.append(contentOf(message));
        message.foreachPart([&](const QMailMessagePart &part) {
            if (part.multipartType() == QMailMessagePartContainer::MultipartNone)
                prints.append(printOf(part));
            return true;
        });
        return prints.join(' ');
    }

private:
    /** The name's digest and the content's, which is left out where the content is not here. */
    QByteArray printOf(const QMailMessagePart &part) const
    {
        const QByteArray name = digest({nameOf(part)}) + ':';
        if (part.referenceType() != QMailMessagePart::None)
            return name + digest({targetOf(part)});
        return isAbsent(part, m_content) ? name : name + contentOf(part);
    }

    QByteArray contentOf(const QMailMessagePartContainer &container) const
    {
        DigestSink sink(m_kind.algorithm, container.contentType().matches("text"));
        if (container.hasBody()) {
            QDataStream stream(&sink);
            container.body().toStream(stream, QMailMessageBody::Decoded);
        }
        return sink.digest();
    }

    QByteArray digest(const QStringList &texts) const
    {
        return QCryptographicHash::hash(texts.join(QLatin1Char('\n')).toUtf8(), m_kind.algorithm)
            .toHex();
    }

    const Kind &m_kind;
    const Content m_content;
};

bool isSamePart(const QByteArray &one, const QByteArray &other)
{
    return one == other || (one.endsWith(':') && other.startsWith(one))
        || (other.endsWith(':') && one.startsWith(other));
}

} // namespace

QByteArray OutgoingPrint::of(const QMailMessage &message)
{
    return Printer(Kinds[0], Content::Whole).print(message);
}

bool OutgoingPrint::isSame(const QByteArray &print, const QMailMessage &message, Content content)
{
    const QList<QByteArray> parts = print.split(' ');
    for (const Kind &kind : Kinds) {
        if (parts.first() != kind.name)
            continue;
        const QList<QByteArray> now = Printer(kind, content).print(message).split(' ');
        return std::equal(parts.begin(), parts.end(), now.begin(), now.end(), isSamePart);
    }
    return true;
}

} // namespace Store
