// SPDX-License-Identifier: LGPL-2.1-or-later
#include "eas/sendmailcommand.h"

#include "eas/httpcall.h"
#include "eas/httpstatus.h"
#include "eas/requestbody.h"
#include "eas/status.h"
#include "eas/wbxmlwriter.h"
#include "translations/text.h"

#include <QDateTime>

namespace Eas {

namespace {

namespace C = Tags::ComposeMail;

/** RFC 9110 15.5.14 */
constexpr int TooLarge = 413;

} // namespace

class SendMailCommand::Parser : public AnswerParser
{
public:
    using AnswerParser::AnswerParser;

protected:
    /** Servers may refuse a reply or forward in a SendMail element, too. */
    bool isRoot(Tag tag) const override { return AnswerParser::isRoot(tag) || tag == C::SendMail; }
    void endElement(Tag, const QByteArray &) override { }
};

SendMailCommand::SendMailCommand(Session *session, const OutgoingMail &mail)
    : Command(session)
    , m_mail(mail)
{
}

/** Before 14.0 the server cannot be told to leave the original out: then the message goes as
 * plain. */
OutgoingMail::Kind SendMailCommand::kind() const
{
    return m_mail.replaceMime && !isWbxml() ? OutgoingMail::Plain : m_mail.kind;
}

QByteArray SendMailCommand::name() const
{
    switch (kind()) {
    case OutgoingMail::Reply:
        return QByteArrayLiteral("SmartReply");
    case OutgoingMail::Forward:
        return QByteArrayLiteral("SmartForward");
    case OutgoingMail::Plain:
        break;
    }
    return QByteArrayLiteral("SendMail");
}

Tag SendMailCommand::rootTag() const
{
    switch (kind()) {
    case OutgoingMail::Reply:
        return C::SmartReply;
    case OutgoingMail::Forward:
        return C::SmartForward;
    case OutgoingMail::Plain:
        break;
    }
    return C::SendMail;
}

bool SendMailCommand::isWbxml() const
{
    return session()->version() >= 140;
}

Result SendMailCommand::prepare()
{
    m_version = session()->version();
    const qint64 limit = session()->state().maxMessageSize(QDateTime::currentSecsSinceEpoch());
    if (m_mail.size > Limits::DownloadSize || (limit > 0 && m_mail.size > limit))
        return tooLarge();
    m_device = m_mail.open();
    if (!m_device || !m_device->isOpen())
        return {NotFound, FailureText::english("the message cannot be read")};
    return {};
}

std::unique_ptr<QIODevice> SendMailCommand::streamedBody()
{
    auto body = std::make_unique<RequestBody>();
    std::unique_ptr<QIODevice> device = m_device ? std::move(m_device) : m_mail.open();
    if (!isWbxml()) {
        body->add(std::move(device), m_mail.size);
        return body;
    }
    QByteArray bytes;
    WbxmlWriter writer(&bytes);
    writer.startDocument();
    writer.startElement(rootTag());
    writer.element(C::ClientId, m_mail.clientId);
    if (kind() != OutgoingMail::Plain) {
        writer.startElement(C::Source);
        if (m_mail.original.longId.isEmpty()) {
            writer.element(C::FolderId, m_mail.original.collectionId.text());
            writer.element(C::ItemId, m_mail.original.serverId);
        } else {
            writer.element(C::LongId, m_mail.original.longId);
        }
        writer.endElement();
    }
    writer.emptyElement(C::SaveInSentItems);
    if (m_mail.replaceMime && kind() != OutgoingMail::Plain)
        writer.emptyElement(C::ReplaceMime);
    writer.startElement(C::MIME);
    writer.beginOpaque(quint32(m_mail.size));
    body->add(bytes);
    body->add(std::move(device), m_mail.size);
    bytes.clear();
    writer.endDocument();
    body->add(bytes);
    return body;
}

QByteArray SendMailCommand::contentType() const
{
    return isWbxml() ? Command::contentType() : QByteArrayLiteral("message/rfc822");
}

QList<QPair<QString, QString>> SendMailCommand::query() const
{
    QList<QPair<QString, QString>> items;
    if (isWbxml())
        return items;
    if (kind() != OutgoingMail::Plain) {
        if (m_mail.original.longId.isEmpty()) {
            items.append({QStringLiteral("CollectionId"), m_mail.original.collectionId.text()});
            items.append({QStringLiteral("ItemId"), m_mail.original.serverId});
        } else {
            items.append({QStringLiteral("LongId"), m_mail.original.longId});
        }
    }
    items.append({QStringLiteral("SaveInSent"), QStringLiteral("T")});
    return items;
}

AnswerParser *SendMailCommand::newParser()
{
    return m_parser = new Parser(rootTag());
}

/** HTTP's "too large" is about the message: its body is all but a few bytes of the request. */
Result SendMailCommand::evaluateFailure(const HttpAnswer &answer)
{
    if (answer.status != TooLarge)
        return answer.result;
    SessionState state = session()->state();
    state.noteRefusedSize(m_mail.size, QDateTime::currentSecsSinceEpoch());
    session()->setState(state);
    return tooLarge();
}

Result SendMailCommand::tooLarge() const
{
    return httpResult(
        NoRoom, TooLarge,
        FailureText::english("the message is too large for the server: %1 bytes").arg(m_mail.size));
}

Result SendMailCommand::evaluate()
{
    const int status = m_parser->status();
    return status <= 1 ? Result {} : commonStatusResult(status);
}

} // namespace Eas
