// SPDX-License-Identifier: LGPL-2.1-or-later
#include "eas/synccommand.h"

#include "eas/loggedid.h"
#include "eas/mailitemreader.h"
#include "eas/session.h"
#include "eas/status.h"
#include "eas/synckey.h"
#include "eas/wbxmlwriter.h"
#include "translations/text.h"

namespace Eas {

namespace {

namespace S = Tags::AirSync;

void writeChange(WbxmlWriter *writer, const LocalChange &change)
{
    writer->startElement(S::Change);
    writer->element(S::ServerId, change.serverId);
    writer->startElement(S::ApplicationData);
    if (change.read)
        writer->element(Tags::Email::Read, *change.read ? 1 : 0);
    if (change.flag) {
        writer->startElement(Tags::Email::Flag);
        if (*change.flag == FlagStatus::Active) {
            writer->element(Tags::Email::Status, int(FlagStatus::Active));
            writer->element(Tags::Email::FlagType, QStringLiteral("Flag for follow up"));
        }
        writer->endElement();
    }
    writer->endElement();
    writer->endElement();
}

void writeCommands(WbxmlWriter *writer, const SyncRequest &request)
{
    if (request.changed.isEmpty() && request.deleted.isEmpty())
        return;
    writer->startElement(S::Commands);
    for (const LocalChange &change : request.changed)
        writeChange(writer, change);
    for (const QString &serverId : request.deleted) {
        writer->startElement(S::Delete);
        writer->element(S::ServerId, serverId);
        writer->endElement();
    }
    writer->endElement();
}

/** The order of the elements matters to servers. */
void writeCollection(WbxmlWriter *writer, const SyncRequest &request, int version)
{
    writer->startElement(S::Collection);
    writer->element(S::SyncKey, request.syncKey);
    writer->element(S::CollectionId, request.collectionId.text());
    if (request.syncKey != FirstKey) {
        writer->element(S::DeletesAsMoves, request.deletesAsMoves ? 1 : 0);
        writer->element(S::GetChanges, request.getChanges ? 1 : 0);
        writer->element(S::WindowSize, qBound(1, request.windowSize, 512));
        writer->startElement(S::Options);
        writer->element(S::FilterType, int(request.filter));
        request.body.writeForSync(writer, version);
        writer->endElement();
        writeCommands(writer, request);
    }
    writer->endElement();
}

/** What the status of a folder, or of all, means, [MS-ASCMD] 2.2.3.177.17. */
Result syncStatusResult(int status)
{
    switch (status) {
    case 1:
        return {};
    case 3:
        return statusResult(ServerFailed, status,
                            FailureText::mark("the folder's key is not accepted"),
                            Outcome::KeyLost);
    case 4:
        return statusResult(ServerFailed, status,
                            FailureText::mark("the server did not understand the request"));
    case 5:
        return statusResult(ServerFailed, status, FailureText::mark("the server failed"),
                            Outcome::Uncertain);
    case 16:
        return statusResult(ServerFailed, status,
                            FailureText::mark("the server is busy, later again"),
                            Outcome::TryLater);
    case 6:
        return statusResult(InvalidAnswer, status,
                            FailureText::mark("the item could not be converted"),
                            Outcome::TryLater);
    case 7:
        return statusResult(ServerFailed, status,
                            FailureText::mark("a conflict that the server has won"));
    case 8:
        return statusResult(NotFound, status, FailureText::mark("the item is gone"),
                            Outcome::TreeStale);
    case 9:
        return statusResult(NoRoom, status, FailureText::mark("the mailbox is full"));
    case 12:
        return statusResult(NotFound, status, FailureText::mark("the folder tree has changed"),
                            Outcome::TreeStale);
    case 13:
        return statusResult(ServerFailed, status,
                            FailureText::mark("the server wants the whole request"),
                            Outcome::Uncertain);
    case 14:
    case 15:
        return statusResult(ServerFailed, status,
                            FailureText::mark("the server's limits were exceeded"));
    default:
        return commonStatusResult(status);
    }
}

/** What the status of one item means, from the same list. */
ItemAnswer itemAnswer(int status)
{
    constexpr int Taken = 1, Gone = 8;
    return status == Taken ? ItemAnswer::Taken
        : status == Gone   ? ItemAnswer::Gone
                           : ItemAnswer::Refused;
}

bool isItem(Tag tag)
{
    return tag == S::Add || tag == S::Change || tag == S::Delete || tag == S::SoftDelete
        || tag == S::Fetch;
}

} // namespace

class SyncCommand::Parser : public AnswerParser
{
public:
    explicit Parser(const QList<SyncRequest> &requests)
        : AnswerParser(S::Sync)
        , m_requests(requests)
    {
    }

    QList<SyncWindow> windows;

protected:
    void startElement(Tag tag) override
    {
        if (tag == S::Collection) {
            m_window = {};
            m_window.result = syncStatusResult(0);
        } else if (isItem(tag)) {
            m_reader.begin();
            m_itemAnswer = ItemAnswer::Refused;
        } else {
            m_reader.startElement(tag);
        }
    }

    void endElement(Tag tag, const QByteArray &text) override
    {
        if (enclosing(1) == S::Collection)
            readCollection(tag, text);
        else if (tag == S::Collection)
            windows.append(m_window);
        else if (isItem(tag))
            takeItem(tag);
        else if (isItem(enclosing(1)))
            readItem(tag, text);
        else
            m_reader.endElement(tag, enclosing(1), text, textWasCut());
    }

    qint64 textLimit(Tag tag) const override
    {
        const int i = indexOf(m_window.collectionId);
        return MailItemReader::textLimit(tag, i < 0 ? 0 : m_requests.at(i).body.truncation);
    }

private:
    int indexOf(const FolderId &collectionId) const
    {
        for (int i = 0; i < m_requests.size(); ++i) {
            if (m_requests.at(i).collectionId == collectionId)
                return i;
        }
        return -1;
    }

    void readCollection(Tag tag, const QByteArray &text)
    {
        if (tag == S::CollectionId)
            m_window.collectionId = FolderId(QString::fromUtf8(text));
        else if (tag == S::SyncKey)
            m_window.syncKey = QString::fromUtf8(text.left(Limits::KeyLength));
        else if (tag == S::Status)
            m_window.result = syncStatusResult(text.trimmed().toInt());
        else if (tag == S::MoreAvailable)
            m_window.moreAvailable = true;
    }

    void readItem(Tag tag, const QByteArray &text)
    {
        if (tag == S::ServerId)
            m_reader.item().serverId = QString::fromUtf8(text);
        else if (tag == S::Status)
            m_itemAnswer = itemAnswer(text.trimmed().toInt());
    }

    void takeItem(Tag tag)
    {
        const MailItem &item = m_reader.item();
        if (++m_count > Limits::Items) {
            fail(FailureText::english("more than %1 items").arg(Limits::Items));
        } else if (enclosing(1) == S::Responses) {
            if (m_itemAnswer != ItemAnswer::Taken)
                m_window.refused.insert(item.serverId, m_itemAnswer);
        } else if (item.serverId.isEmpty() || item.serverId.size() > Limits::ServerIdLength) {
            m_window.unreadable.append(FailureText::english("an item without a usable id"));
        } else if (!m_reader.problem().isEmpty()) {
            m_window.unreadable.append(loggedId(item.serverId) + QStringLiteral(": ")
                                       + m_reader.problem());
        } else if (tag == S::Delete) {
            m_window.removed.append(item.serverId);
        } else if (tag == S::SoftDelete) {
            m_window.outOfRange.append(item.serverId);
        } else if (tag == S::Add || tag == S::Change) {
            (tag == S::Add ? m_window.added : m_window.changed).append(item);
        }
    }

    const QList<SyncRequest> m_requests;
    SyncWindow m_window;
    MailItemReader m_reader;
    ItemAnswer m_itemAnswer = ItemAnswer::Refused;
    int m_count = 0;
};

SyncCommand::SyncCommand(Session *session, const QList<SyncRequest> &requests)
    : Command(session)
    , m_requests(requests)
{
}

QByteArray SyncCommand::body()
{
    QByteArray bytes;
    WbxmlWriter writer(&bytes);
    writer.startDocument();
    writer.startElement(S::Sync);
    writer.startElement(S::Collections);
    for (const SyncRequest &request : qAsConst(m_requests))
        writeCollection(&writer, request, session()->version());
    writer.endDocument();
    return bytes;
}

AnswerParser *SyncCommand::newParser()
{
    m_parser = new Parser(m_requests);
    return m_parser;
}

Result SyncCommand::evaluate()
{
    // A status for all may stand where there are no collections.
    if (m_parser->status() > 1)
        return syncStatusResult(m_parser->status());
    evaluateEmpty();
    for (const SyncWindow &answered : qAsConst(m_parser->windows)) {
        for (int i = 0; i < m_requests.size(); ++i) {
            if (m_requests.at(i).collectionId != answered.collectionId)
                continue;
            m_windows[i] = answered;
            m_windows[i].initial = m_requests.at(i).syncKey == FirstKey;
            // With "0" for a key, the folder would be synchronised from the start for ever.
            if (answered.result.ok()
                && (answered.syncKey.isEmpty() || answered.syncKey == FirstKey))
                return {InvalidAnswer,
                        FailureText::english("a folder without a synchronisation key")};
        }
    }
    return {};
}

Result SyncCommand::evaluateEmpty()
{
    m_windows.clear();
    for (const SyncRequest &request : qAsConst(m_requests)) {
        SyncWindow window;
        window.collectionId = request.collectionId;
        window.syncKey = request.syncKey;
        window.unchanged = true;
        m_windows.append(window);
    }
    return {};
}

} // namespace Eas
