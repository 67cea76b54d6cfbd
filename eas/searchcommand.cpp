// SPDX-License-Identifier: LGPL-2.1-or-later
#include "eas/searchcommand.h"

#include "eas/mailitemreader.h"
#include "eas/status.h"
#include "eas/wbxmlwriter.h"
#include "translations/text.h"

namespace Eas {

namespace {

namespace S = Tags::Search;

/** Past the end of the results. */
constexpr int PastTheEnd = 12;

Result searchStatusResult(int status)
{
    switch (status) {
    case 1:
    case PastTheEnd:
        return {};
    case 2:
        return statusResult(ServerFailed, status,
                            FailureText::mark("the server did not understand the search"));
    case 3:
    case 9:
        return statusResult(ServerFailed, status, FailureText::mark("the server failed"));
    case 5:
    case 13:
        return statusResult(Forbidden, status, FailureText::mark("access denied"));
    case 6:
        return statusResult(NotFound, status, FailureText::mark("not found"));
    case 8:
        return statusResult(ServerFailed, status,
                            FailureText::mark("the search is too complex for the server"));
    case 10:
        return statusResult(Timeout, status,
                            FailureText::mark("the search took the server too long"));
    case 11:
        return statusResult(NotFound, status, FailureText::mark("the folder tree has changed"));
    case 14:
        return statusResult(LoginRefused, status, FailureText::mark("the store refuses the login"));
    default:
        return commonStatusResult(status);
    }
}

void writeBound(WbxmlWriter *writer, Tag comparison, const QDateTime &time)
{
    if (!time.isValid())
        return;
    writer->startElement(comparison);
    writer->emptyElement(Tags::Email::DateReceived);
    writer->element(S::Value, time.toUTC().toString(QStringLiteral("yyyy-MM-ddThh:mm:ss.zzzZ")));
    writer->endElement();
}

} // namespace

class SearchCommand::Parser : public AnswerParser
{
public:
    explicit Parser(qint64 bodyLimit)
        : AnswerParser(S::Search)
        , m_bodyLimit(bodyLimit)
    {
    }

    QList<SearchHit> hits;
    int storeStatus = 0;
    int total = 0;

protected:
    void startElement(Tag tag) override
    {
        if (tag == S::Result) {
            m_hit = {};
            m_reader.begin();
        } else {
            m_reader.startElement(tag);
        }
    }

    void endElement(Tag tag, const QByteArray &text) override
    {
        if (tag == S::Result)
            takeHit();
        else if (enclosing(1) == S::Result)
            readHit(tag, text);
        else if (isInside(S::Properties))
            m_reader.endElement(tag, enclosing(1), text, textWasCut());
        else if (tag == S::Status && enclosing(1) == S::Store)
            storeStatus = text.trimmed().toInt();
        else if (tag == S::Total)
            total = qMax(0, text.trimmed().toInt());
    }

    qint64 textLimit(Tag tag) const override { return MailItemReader::textLimit(tag, m_bodyLimit); }

private:
    void readHit(Tag tag, const QByteArray &text)
    {
        if (tag == S::LongId)
            m_hit.longId = QString::fromUtf8(text);
        else if (tag == Tags::AirSync::CollectionId)
            m_hit.collectionId = QString::fromUtf8(text);
    }

    void takeHit()
    {
        // An empty result says that nothing was found.
        if (m_hit.longId.isEmpty() || !m_reader.problem().isEmpty())
            return;
        m_hit.item = m_reader.item();
        hits.append(m_hit);
        if (hits.size() > Limits::SearchResults)
            fail(FailureText::english("more than %1 results").arg(Limits::SearchResults));
    }

    const qint64 m_bodyLimit;
    SearchHit m_hit;
    MailItemReader m_reader;
};

SearchCommand::SearchCommand(Session *session, const SearchRequest &request)
    : Command(session)
    , m_request(request)
{
}

QByteArray SearchCommand::body()
{
    QByteArray bytes;
    WbxmlWriter writer(&bytes);
    writer.startDocument();
    writer.startElement(S::Search);
    writer.startElement(S::Store);
    writer.element(S::Name, QStringLiteral("Mailbox"));
    writer.startElement(S::Query);
    writer.startElement(S::And);
    writer.element(Tags::AirSync::Class, QStringLiteral("Email"));
    if (m_request.collectionId)
        writer.element(Tags::AirSync::CollectionId, m_request.collectionId->text());
    if (!m_request.freeText.isEmpty())
        writer.element(S::FreeText, m_request.freeText);
    writeBound(&writer, S::GreaterThan, m_request.receivedAfter);
    writeBound(&writer, S::LessThan, m_request.receivedBefore);
    writer.endElement();
    writer.endElement();
    writer.startElement(S::Options);
    if (m_request.first == 0)
        writer.emptyElement(S::RebuildResults);
    if (!m_request.collectionId)
        writer.emptyElement(S::DeepTraversal);
    writer.element(S::Range, QStringLiteral("%1-%2").arg(m_request.first).arg(m_request.last));
    m_request.body.write(&writer, session()->version());
    writer.endDocument();
    return bytes;
}

AnswerParser *SearchCommand::newParser()
{
    return m_parser = new Parser(m_request.body.truncation);
}

Result SearchCommand::evaluate()
{
    // One for the request, one for the store that was searched.
    for (const int status : {m_parser->status(), m_parser->storeStatus}) {
        const Result result = searchStatusResult(status);
        if (!result.ok())
            return result;
    }
    m_hits = m_parser->hits;
    m_total = m_parser->total;
    return {};
}

} // namespace Eas
