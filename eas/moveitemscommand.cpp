// SPDX-License-Identifier: LGPL-2.1-or-later
#include "eas/moveitemscommand.h"

#include "eas/status.h"
#include "eas/wbxmlwriter.h"

namespace Eas {

namespace {

namespace M = Tags::Move;

/** [MS-ASCMD] 2.2.3.177.10 */
MoveOutcome::Kind kindOf(int status)
{
    switch (status) {
    case 1:
        return MoveOutcome::SourceGone;
    case 2:
        return MoveOutcome::DestinationGone;
    case 3:
        return MoveOutcome::Moved;
    case 4:
        return MoveOutcome::SameFolder;
    case 7:
        return MoveOutcome::Locked;
    default:
        return MoveOutcome::Refused;
    }
}

} // namespace

class MoveItemsCommand::Parser : public AnswerParser
{
public:
    Parser()
        : AnswerParser(M::MoveItems)
    {
    }

    struct Answered
    {
        QString serverId;
        MoveOutcome outcome;
    };
    QList<Answered> answered;

protected:
    void startElement(Tag tag) override
    {
        if (tag == M::Response)
            m_current = {};
    }

    void endElement(Tag tag, const QByteArray &text) override
    {
        if (tag == M::Response)
            answered.append(m_current);
        else if (tag == M::SrcMsgId)
            m_current.serverId = QString::fromUtf8(text);
        else if (tag == M::DstMsgId)
            m_current.outcome.newServerId = QString::fromUtf8(text.left(Limits::ServerIdLength));
        else if (tag == M::Status)
            m_current.outcome.kind = kindOf(text.trimmed().toInt());
    }

private:
    Answered m_current;
};

MoveItemsCommand::MoveItemsCommand(Session *session, const QList<MoveRequest> &requests)
    : Command(session)
    , m_requests(requests)
{
}

QByteArray MoveItemsCommand::body()
{
    QByteArray bytes;
    WbxmlWriter writer(&bytes);
    writer.startDocument();
    writer.startElement(M::MoveItems);
    for (const MoveRequest &request : m_requests) {
        writer.startElement(M::Move);
        writer.element(M::SrcMsgId, request.serverId);
        writer.element(M::SrcFldId, request.fromCollectionId.text());
        writer.element(M::DstFldId, request.toCollectionId.text());
        writer.endElement();
    }
    writer.endDocument();
    return bytes;
}

AnswerParser *MoveItemsCommand::newParser()
{
    return m_parser = new Parser;
}

Result MoveItemsCommand::evaluate()
{
    QList<Parser::Answered> left = m_parser->answered;
    if (left.isEmpty())
        return commonStatusResult(m_parser->status());
    // An id is unique within its folder only: the first answer for it is that of the first request
    // for it.
    for (const MoveRequest &request : m_requests) {
        MoveOutcome outcome;
        for (int i = 0; i < left.size(); ++i) {
            if (left.at(i).serverId == request.serverId) {
                outcome = left.takeAt(i).outcome;
                break;
            }
        }
        m_outcomes.append(outcome);
    }
    return {};
}

} // namespace Eas
