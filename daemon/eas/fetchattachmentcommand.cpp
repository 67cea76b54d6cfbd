// SPDX-License-Identifier: LGPL-2.1-or-later
#include "daemon/eas/fetchattachmentcommand.h"

#include "daemon/eas/base64decoder.h"
#include "daemon/eas/itemoperationsstatus.h"
#include "daemon/eas/wbxmlwriter.h"

namespace Eas {

namespace {

namespace I = Tags::ItemOperations;

/** What some servers send for an attachment that is gone. */
const char nothing[] = "(null)";

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

    bool isGone() const { return !hasData || m_beginning == nothing; }

protected:
    void startElement(Tag tag) override { hasData = hasData || tag == I::Data; }

    void endElement(Tag tag, const QByteArray &text) override
    {
        if (tag == I::Status && enclosing(1) == I::Fetch) {
            itemStatus = text.trimmed().toInt();
        } else if (tag == Tags::AirSyncBase::ContentType) {
            contentType = text.left(Limits::AttachmentNameLength);
        } else if (tag == I::Data && !isGone() && !m_decoder.isComplete()) {
            fail(QStringLiteral("the attachment is no base64"));
        }
    }

    bool streams(Tag tag) const override { return tag == I::Data; }

    void piece(Tag, const QByteArray &text) override
    {
        if (m_beginning.size() < int(sizeof nothing)) {
            m_beginning += text.left(int(sizeof nothing));
        }
        const QByteArray bytes = m_decoder.decode(text);
        if (m_target->write(bytes) != bytes.size()) {
            fail(QStringLiteral("cannot write the attachment: %1").arg(m_target->errorString()),
                 NoRoom);
        }
        written += bytes.size();
    }

private:
    QIODevice *m_target;
    Base64Decoder m_decoder;
    /** The data's first characters. */
    QByteArray m_beginning;
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
