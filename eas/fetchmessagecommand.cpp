// SPDX-License-Identifier: LGPL-2.1-or-later
#include "eas/fetchmessagecommand.h"

#include "eas/itemoperationsstatus.h"
#include "eas/mailitemreader.h"
#include "eas/wbxmlwriter.h"
#include "translations/text.h"

namespace Eas {

namespace {

namespace I = Tags::ItemOperations;

} // namespace

class FetchMessageCommand::Parser : public AnswerParser
{
public:
    explicit Parser(QIODevice *target)
        : AnswerParser(I::ItemOperations)
        , m_target(target)
    {
    }

    MailItemReader reader;
    int itemStatus = 0;
    bool hasBody = false;

protected:
    void startElement(Tag tag) override
    {
        hasBody = hasBody || isBodyData(tag);
        reader.startElement(tag);
    }

    void endElement(Tag tag, const QByteArray &text) override
    {
        if (tag == I::Status && enclosing(1) == I::Fetch)
            itemStatus = text.trimmed().toInt();
        else if (isInside(I::Properties))
            reader.endElement(tag, enclosing(1), text, textWasCut());
    }

    bool streams(Tag tag) const override { return isBodyData(tag); }

    void piece(Tag, const QByteArray &bytes) override
    {
        if (m_target->write(bytes) != bytes.size())
            fail(FailureText::english("cannot write the message: %1").arg(m_target->errorString()),
                 NoRoom);
    }

    qint64 textLimit(Tag tag) const override { return MailItemReader::textLimit(tag, 0); }

private:
    bool isBodyData(Tag tag) const
    {
        return tag == Tags::AirSyncBase::Data && enclosing(1) == Tags::AirSyncBase::Body
            && enclosing(2) == I::Properties;
    }

    QIODevice *m_target;
};

FetchMessageCommand::FetchMessageCommand(Session *session, const ItemLocator &locator,
                                         QIODevice *target)
    : Command(session)
    , m_locator(locator)
    , m_target(target)
{
    m_preference.type = Mime;
}

QByteArray FetchMessageCommand::body()
{
    QByteArray bytes;
    WbxmlWriter writer(&bytes);
    writer.startDocument();
    writer.startElement(I::ItemOperations);
    writer.startElement(I::Fetch);
    writer.element(I::Store, QStringLiteral("Mailbox"));
    if (m_locator.longId.isEmpty()) {
        writer.element(Tags::AirSync::CollectionId, m_locator.collectionId.text());
        writer.element(Tags::AirSync::ServerId, m_locator.serverId);
    } else {
        writer.element(Tags::Search::LongId, m_locator.longId);
    }
    writer.startElement(I::Options);
    m_preference.write(&writer, session()->version());
    writer.endDocument();
    return bytes;
}

AnswerParser *FetchMessageCommand::newParser()
{
    return m_parser = new Parser(m_target);
}

Result FetchMessageCommand::evaluate()
{
    for (const int status : {m_parser->status(), m_parser->itemStatus}) {
        const Result result = itemOperationsStatusResult(status);
        if (!result.ok())
            return result;
    }
    m_item = m_parser->reader.item();
    // Some servers have no status for it: without a body, though one was asked for, the message is
    // gone. One that is there has a body, if an empty one.
    if (!m_parser->hasBody && !m_item.body)
        return {NotFound, FailureText::english("the message is gone")};
    m_item.serverId = m_locator.serverId;
    return {};
}

} // namespace Eas
