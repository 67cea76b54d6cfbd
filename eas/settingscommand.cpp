// SPDX-License-Identifier: LGPL-2.1-or-later
#include "eas/settingscommand.h"

#include "eas/deviceinformation.h"
#include "eas/session.h"
#include "eas/status.h"
#include "eas/wbxmlwriter.h"
#include "translations/text.h"

namespace Eas {

class SettingsCommand::Parser : public AnswerParser
{
public:
    Parser()
        : AnswerParser(Tags::Settings::Settings)
    {
    }

protected:
    void endElement(Tag, const QByteArray &) override { }
};

SettingsCommand::SettingsCommand(Session *session)
    : Command(session)
{
}

QByteArray SettingsCommand::body()
{
    QByteArray bytes;
    WbxmlWriter writer(&bytes);
    writer.startDocument();
    writer.startElement(Tags::Settings::Settings);
    writeDeviceInformation(&writer, session()->device());
    writer.endDocument();
    return bytes;
}

AnswerParser *SettingsCommand::newParser()
{
    return m_parser = new Parser;
}

Result SettingsCommand::evaluate()
{
    return m_parser->status() == 1
        ? Result {}
        : statusResult(ServerFailed, m_parser->status(),
                       FailureText::mark("the server did not take the settings"),
                       borrowedOutcome(m_parser->status()));
}

} // namespace Eas
