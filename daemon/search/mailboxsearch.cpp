// SPDX-License-Identifier: LGPL-2.1-or-later
#include "daemon/search/mailboxsearch.h"

#include "daemon/bus/logging.h"
#include "daemon/search/foundtext.h"
#include "daemon/search/longid.h"
#include "eas/limits.h"

#include <qmailfolder.h>
#include <qmailstore.h>

namespace Daemon {

namespace {

/** So many folders are searched one by one; more of them together with all others. */
constexpr int FewFolders = 4;

int firstOf(const Activesync::SearchMailboxOptions &options)
{
    return qMax(0, options.rangeStart);
}

int mostOf(const Activesync::SearchMailboxOptions &options)
{
    const int bound = Eas::Limits::SearchHits;
    const int first = firstOf(options);
    return options.rangeEnd < first ? bound : qMin(bound, options.rangeEnd - first + 1);
}

/** What another query, or another folder, may do better. */
bool isOfThisQuery(const Eas::Result &result)
{
    return result.code == Eas::ServerFailed || result.code == Eas::NotFound
        || result.code == Eas::InvalidAnswer || result.code == Eas::Forbidden;
}

} // namespace

MailboxSearch::MailboxSearch(const AccountContext &context, const Request &request, QObject *parent)
    : Task(context, parent)
    , m_request(request)
    , m_first(firstOf(request.options))
    , m_most(mostOf(request.options))
{
}

void MailboxSearch::proceed()
{
    begin();
    if (m_queries.isEmpty())
        finishLater({});
    else
        ask();
}

void MailboxSearch::begin()
{
    QSet<QString> all;
    const auto folders = m_context.db->folders(m_context.id());
    for (const Store::FolderState &folder : folders) {
        all.insert(folder.serverId);
        if (m_request.query.folders.contains(QString::number(folder.folderId.toULongLong())))
            m_wanted.insert(folder.serverId);
    }
    if (m_request.query.folders.isEmpty())
        m_wanted = all;
    if (m_wanted.size() > FewFolders)
        m_queries = QStringList {QString()};
    else
        searchSingly();
}

void MailboxSearch::searchSingly()
{
    m_queries = m_wanted.values();
    m_queries.sort();
    m_at = 0;
}

Eas::SearchRequest MailboxSearch::searchRequest() const
{
    Eas::SearchRequest request;
    request.freeText = m_request.query.text;
    request.collectionId = m_queries.first();
    if (m_withBounds) {
        request.receivedAfter = m_request.query.receivedAfter;
        request.receivedBefore = m_request.query.receivedBefore;
    }
    request.first = m_at;
    request.last = m_at + PageSize - 1;
    request.body.type = m_request.options.bodyType == Eas::PlainText ? Eas::PlainText : Eas::Html;
    request.body.truncation =
        m_request.options.truncationSize < 0 ? TextBound : m_request.options.truncationSize;
    return request;
}

void MailboxSearch::ask()
{
    ++m_requests;
    auto *command = new Eas::SearchCommand(m_context.session, searchRequest());
    start(command, [this, command] { onAnswer(*command); });
}

void MailboxSearch::onAnswer(const Eas::SearchCommand &command)
{
    const Eas::Result &result = command.result();
    if (!result.ok()) {
        onRefused(result);
        return;
    }
    m_retry.reset();
    const int shown = command.hits().size();
    const int fresh = take(command.hits());
    m_at += shown;
    m_queryTotal = qMax(m_queryTotal, command.total());
    // A server that does not look at the range sends the same results again and again.
    const bool isCounted = command.total() > 0 || shown < PageSize;
    const bool isOver = fresh == 0 || (isCounted && m_at >= m_queryTotal);
    if (isEnough())
        writeFound();
    else if (isOver)
        nextQuery();
    else
        ask();
}

void MailboxSearch::onRefused(const Eas::Result &result)
{
    const bool hasBounds =
        m_request.query.receivedAfter.isValid() || m_request.query.receivedBefore.isValid();
    if (!isOfThisQuery(result)) {
        emit finished(result, false);
    } else if (result.retryAfter > 0) {
        retryOrFail(result, [this] { ask(); });
    } else if (result.code != Eas::NotFound && hasBounds && m_withBounds) {
        m_withBounds = false;
        m_at = 0;
        ask();
    } else if (m_queries.first().isEmpty()) {
        searchSingly();
        ask();
    } else {
        // The folder may have gone; others may be there.
        qCInfo(lcSync) << "account" << m_context.id() << "cannot search a folder:" << result.text;
        if (m_failure.ok() || m_failure.code == Eas::NotFound)
            m_failure = result;
        nextQuery();
    }
}

void MailboxSearch::nextQuery()
{
    m_total += m_queryTotal;
    m_queryTotal = 0;
    m_at = 0;
    m_queries.removeFirst();
    if (m_queries.isEmpty())
        writeFound();
    else
        ask();
}

/** Keeps those that are wanted; returns how many had not been shown before. */
int MailboxSearch::take(const QList<Eas::SearchHit> &hits)
{
    int fresh = 0;
    for (const Eas::SearchHit &hit : hits) {
        if (m_seen.contains(hit.longId))
            continue;
        m_seen.insert(hit.longId);
        ++fresh;
        const QString folder = folderOf(hit);
        if (folder.isEmpty() || !m_wanted.contains(folder) || !isWanted(hit))
            continue;
        Store::FoundItem found;
        found.collectionId = folder;
        found.longId = hit.longId;
        found.itemId = LongId::itemIdOf(hit.longId, {hit.collectionId, folder},
                                        LongId::knownItemId(m_context.id(), folder));
        found.item = hit.item;
        m_items.append(found);
    }
    return fresh;
}

/** What the folder of a hit is called by the folder tree; empty where it is none of ours. */
QString MailboxSearch::folderOf(const Eas::SearchHit &hit) const
{
    // Some servers find what lies below the folder, too.
    if (hit.collectionId.isEmpty())
        return m_queries.first();
    const QByteArray name = QByteArray::fromPercentEncoding(hit.collectionId.toUtf8());
    const auto folders = m_context.db->folders(m_context.id());
    for (const Store::FolderState &folder : folders) {
        if (folder.serverId == hit.collectionId
            || QByteArray::fromPercentEncoding(folder.serverId.toUtf8()) == name)
            return folder.serverId;
    }
    return {};
}

bool MailboxSearch::isWanted(const Eas::SearchHit &hit) const
{
    const QDateTime after = m_request.query.receivedAfter;
    const QDateTime before = m_request.query.receivedBefore;
    if (!FoundText::mayHold(hit.item, m_request.query.text))
        return false;
    if (!hit.item.dateReceived)
        return true;
    return (!after.isValid() || *hit.item.dateReceived > after)
        && (!before.isValid() || *hit.item.dateReceived < before);
}

bool MailboxSearch::isEnough() const
{
    return m_items.size() >= m_first + m_most || m_requests >= Eas::Limits::SearchRequests;
}

void MailboxSearch::writeFound()
{
    const bool isComplete = m_queries.isEmpty();
    // Ours is what matches the whole query; the server's may count what it did not look at.
    m_found.total = isComplete ? m_items.size() : qMax(m_items.size(), m_total + m_queryTotal);
    if (m_items.isEmpty() && !m_failure.ok() && m_failure.code != Eas::NotFound) {
        emit finished(m_failure, false);
        return;
    }
    auto job = std::make_unique<Store::FoundWriter>(*m_context.db, m_context.id(),
                                                    m_items.mid(m_first, m_most));
    const Store::FoundWriter *writer = job.get();
    write(std::move(job), [this, writer] {
        const QMailMessageIdList messages = writer->messages();
        for (const QMailMessageId &id : messages)
            m_found.messageIds.append(id.toULongLong());
        emit finished({}, false);
    });
}

} // namespace Daemon
