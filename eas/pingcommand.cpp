// SPDX-License-Identifier: LGPL-2.1-or-later
#include "eas/pingcommand.h"

#include "eas/status.h"
#include "eas/wbxmlwriter.h"

namespace Eas {

namespace {

namespace P = Tags::Ping;

Result pingStatusResult(int status)
{
    switch (status) {
    case 1:
    case 2:
        return {Success, {}, 0, status};
    case 3:
    case 4:
        return statusResult(ServerFailed, status, "the server did not understand the request");
    case 5:
        return statusResult(ServerFailed, status, "the heartbeat is out of the server's range");
    case 6:
        return statusResult(ServerFailed, status, "too many folders for the server");
    case 7:
        return statusResult(NotFound, status, "the folder tree has changed");
    case 8:
        return statusResult(ServerFailed, status, "the server failed");
    default:
        return commonStatusResult(status);
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

    QStringList changed;
    int bound = 0;
    int maxFolders = 0;

protected:
    void endElement(Tag tag, const QByteArray &text) override
    {
        if (tag == P::Folder && changed.size() < Limits::Folders) {
            changed.append(QString::fromUtf8(text));
        } else if (tag == P::HeartbeatInterval) {
            bound = qMax(0, text.trimmed().toInt());
        } else if (tag == P::MaxFolders) {
            maxFolders = qMax(0, text.trimmed().toInt());
        }
    }
};

PingCommand::PingCommand(Session *session, int heartbeat, const QStringList &collectionIds)
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
    for (const QString &id : m_collectionIds) {
        writer.startElement(P::Folder);
        writer.element(P::Id, id);
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
