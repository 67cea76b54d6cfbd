// SPDX-License-Identifier: LGPL-2.1-or-later
#include "eas/wipeacknowledgecommand.h"

#include "eas/status.h"
#include "eas/wbxmlwriter.h"
#include "translations/text.h"

namespace Eas {

namespace {

namespace P = Tags::Provision;

/** RemoteWipe's status: done, or not done. */
enum WipeStatus { Removed = 1, NotRemoved = 2 };

} // namespace

class WipeAcknowledgeCommand::Parser : public AnswerParser
{
public:
    Parser()
        : AnswerParser(P::Provision)
    {
    }

protected:
    void endElement(Tag, const QByteArray &) override { }
};

WipeAcknowledgeCommand::WipeAcknowledgeCommand(Session *session, bool removed)
    : Command(session)
    , m_removed(removed)
{
}

QByteArray WipeAcknowledgeCommand::body()
{
    QByteArray bytes;
    WbxmlWriter writer(&bytes);
    writer.startDocument();
    writer.startElement(P::Provision);
    writer.startElement(P::RemoteWipe);
    writer.element(P::Status, m_removed ? Removed : NotRemoved);
    writer.endDocument();
    return bytes;
}

AnswerParser *WipeAcknowledgeCommand::newParser()
{
    return m_parser = new Parser;
}

Result WipeAcknowledgeCommand::evaluate()
{
    return m_parser->status() == 1
        ? Result {}
        : statusResult(ServerFailed, m_parser->status(),
                       FailureText::mark("the server did not take the acknowledgement"));
}

} // namespace Eas
