// SPDX-License-Identifier: LGPL-2.1-or-later
#include "eas/fetchattachmentcommand.h"

#include "eas/base64decoder.h"
#include "eas/itemoperationsstatus.h"
#include "eas/wbxmlwriter.h"

namespace Eas {

namespace {

namespace I = Tags::ItemOperations;

/** What some servers send for no data: of an attachment that is gone (then its type is none, too),
   or of an empty one. */
const QByteArray nothing = QByteArrayLiteral("(null)");

} // namespace

class FetchAttachmentCommand::Parser : public AnswerParser
{
public:
    explicit Parser(QIODevice *target)
        : AnswerParser(I::ItemOperations)
        , m_target(target)
    {
    }

    QByteArray contentType;
    int itemStatus = 0;
    bool hasData = false;
    qint64 written = 0;

    bool isGone() const
    {
        const bool isTyped = !contentType.isEmpty() && !contentType.startsWith(nothing);
        return !hasData || (m_saysNothing && !isTyped);
    }

protected:
    void startElement(Tag tag) override { hasData = hasData || tag == I::Data; }

    void endElement(Tag tag, const QByteArray &text) override
    {
        if (tag == I::Status && enclosing(1) == I::Fetch) {
            itemStatus = text.trimmed().toInt();
        } else if (tag == Tags::AirSyncBase::ContentType) {
            contentType = text.left(Limits::AttachmentNameLength);
        } else if (tag == I::Data) {
            endData();
        }
    }

    bool streams(Tag tag) const override { return tag == I::Data; }

    void piece(Tag, const QByteArray &text) override
    {
        m_beginning += text;
        if (!nothing.startsWith(m_beginning))
            take();
    }

private:
    void endData()
    {
        m_saysNothing = m_beginning == nothing;
        if (m_saysNothing)
            return;
        take();
        if (!m_decoder.isComplete())
            fail(QStringLiteral("the attachment is no base64"));
    }

    void take()
    {
        const QByteArray bytes = m_decoder.decode(m_beginning);
        m_beginning = QByteArrayLiteral("");
        if (m_target->write(bytes) != bytes.size()) {
            fail(QStringLiteral("cannot write the attachment: %1").arg(m_target->errorString()),
                 NoRoom);
        }
        written += bytes.size();
    }

    QIODevice *m_target;
    Base64Decoder m_decoder;
    /** Characters of the data that may become the word for nothing. */
    QByteArray m_beginning;
    bool m_saysNothing = false;
};

FetchAttachmentCommand::FetchAttachmentCommand(Session *session, const QString &fileReference,
                                               QIODevice *target)
    : Command(session)
    , m_fileReference(fileReference)
    , m_target(target)
{
}

QByteArray FetchAttachmentCommand::body()
{
    QByteArray bytes;
    WbxmlWriter writer(&bytes);
    writer.startDocument();
    writer.startElement(I::ItemOperations);
    writer.startElement(I::Fetch);
    writer.element(I::Store, QStringLiteral("Mailbox"));
    writer.element(Tags::AirSyncBase::FileReference, m_fileReference);
    writer.endDocument();
    return bytes;
}

AnswerParser *FetchAttachmentCommand::newParser()
{
    return m_parser = new Parser(m_target);
}

void FetchAttachmentCommand::answerArrived()
{
    emit written(m_parser->written);
}

Result FetchAttachmentCommand::evaluate()
{
    for (const int status : {m_parser->status(), m_parser->itemStatus}) {
        const Result result = itemOperationsStatusResult(status);
        if (!result.ok()) {
            return result;
        }
    }
    if (m_parser->isGone()) {
        return {NotFound, QStringLiteral("the attachment is gone")};
    }
    m_mimeType = QString::fromUtf8(m_parser->contentType);
    m_written = m_parser->written;
    return {};
}

} // namespace Eas
