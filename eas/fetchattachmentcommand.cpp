// SPDX-License-Identifier: LGPL-2.1-or-later
#include "eas/fetchattachmentcommand.h"

#include "eas/base64decoder.h"
#include "eas/itemoperationsstatus.h"
#include "eas/wbxmlwriter.h"
#include "translations/text.h"

namespace Eas {

namespace {

namespace I = Tags::ItemOperations;

/** What some servers send instead of data: for an attachment that is gone, then without a content
 * type, or for an empty one. */
const QByteArray Nothing = QByteArrayLiteral("(null)");

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
        const bool isTyped = !contentType.isEmpty() && !contentType.startsWith(Nothing);
        return !hasData || (m_saysNothing && !isTyped);
    }

protected:
    void startElement(Tag tag) override { hasData = hasData || tag == I::Data; }

    void endElement(Tag tag, const QByteArray &text) override
    {
        if (tag == I::Status && enclosing(1) == I::Fetch)
            itemStatus = text.trimmed().toInt();
        else if (tag == Tags::AirSyncBase::ContentType)
            contentType = text.left(Limits::AttachmentNameLength);
        else if (tag == I::Data)
            endData();
    }

    bool streams(Tag tag) const override { return tag == I::Data; }

    void piece(Tag, const QByteArray &text) override
    {
        m_beginning += text;
        if (!Nothing.startsWith(m_beginning))
            take();
    }

private:
    void endData()
    {
        m_saysNothing = m_beginning == Nothing;
        if (m_saysNothing)
            return;
        take();
        if (!m_decoder.isComplete())
            fail(FailureText::english("the attachment is no base64"));
    }

    void take()
    {
        const QByteArray bytes = m_decoder.decode(m_beginning);
        m_beginning = QByteArrayLiteral("");
        if (m_target->write(bytes) != bytes.size())
            fail(FailureText::english("cannot write the attachment: %1")
                     .arg(m_target->errorString()),
                 NoRoom);
        written += bytes.size();
    }

    QIODevice *m_target;
    Base64Decoder m_decoder;
    /** The data so far, as long as it may be the beginning of Nothing. */
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
        if (!result.ok())
            return result;
    }
    if (m_parser->isGone())
        return {NotFound, FailureText::english("the attachment is gone")};
    return {};
}

} // namespace Eas
