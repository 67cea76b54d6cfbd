// SPDX-License-Identifier: LGPL-2.1-or-later
#include "eas/pingcommand.h"

#include "eas/status.h"
#include "eas/wbxmlwriter.h"
#include "translations/text.h"

namespace Eas {

namespace {

namespace P = Tags::Ping;

Result pingStatusResult(int status)
{
    switch (status) {
    case 1:
    case 2:
        return {};
    case 3:
    case 4:
        return statusResult(ServerFailed, status,
                            FailureText::mark("the server did not understand the request"));
    case 5:
        return statusResult(ServerFailed, status,
                            FailureText::mark("the heartbeat is out of the server's range"),
                            Outcome::HeartbeatOutOfRange);
    case 6:
        return statusResult(ServerFailed, status,
                            FailureText::mark("too many folders for the server"),
                            Outcome::TooManyFolders);
    case 7:
        return statusResult(NotFound, status, FailureText::mark("the folder tree has changed"),
                            Outcome::TreeStale);
    case 8:
        return statusResult(ServerFailed, status, FailureText::mark("the server failed"));
    default:
        return statusResult(ServerFailed, status, FailureText::mark("not one of the known ones"));
    }
}

} // namespace

class PingCommand::Parser : public AnswerParser
{
public:
    Parser()
        : AnswerParser(P::Ping)
    {
    }

    QList<FolderId> changed;
    int bound = 0;
    int maxFolders = 0;

protected:
    void endElement(Tag tag, const QByteArray &text) override
    {
        if (tag == P::Folder && changed.size() < Limits::Folders)
            changed.append(FolderId(QString::fromUtf8(text)));
        else if (tag == P::HeartbeatInterval)
            bound = qMax(0, text.trimmed().toInt());
        else if (tag == P::MaxFolders)
            maxFolders = qMax(0, text.trimmed().toInt());
    }
};

PingCommand::PingCommand(Session *session, int heartbeat, const QList<FolderId> &collectionIds)
    : Command(session)
    , m_heartbeat(heartbeat)
    , m_collectionIds(collectionIds)
{
}

QByteArray PingCommand::body()
{
    QByteArray bytes;
    WbxmlWriter writer(&bytes);
    writer.startDocument();
    writer.startElement(P::Ping);
    writer.element(P::HeartbeatInterval, m_heartbeat);
    writer.startElement(P::Folders);
    for (const FolderId &id : m_collectionIds) {
        writer.startElement(P::Folder);
        writer.element(P::Id, id.text());
        writer.element(P::Class, QStringLiteral("Email"));
        writer.endElement();
    }
    writer.endDocument();
    return bytes;
}

AnswerParser *PingCommand::newParser()
{
    return m_parser = new Parser;
}

Result PingCommand::evaluate()
{
    m_changed = m_parser->changed;
    m_bound = m_parser->bound;
    m_maxFolders = m_parser->maxFolders;
    return pingStatusResult(m_parser->status());
}

} // namespace Eas
