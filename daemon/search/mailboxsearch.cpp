// SPDX-License-Identifier: LGPL-2.1-or-later
#include "daemon/search/mailboxsearch.h"

#include "daemon/log/logging.h"
#include "daemon/pacing/sizes.h"
#include "daemon/search/foundtext.h"
#include "daemon/store/state/folderkeys.h"
#include "daemon/tasks/workreport.h"
#include "eas/limits.h"

#include <qmailfolder.h>
#include <qmailstore.h>

#include <algorithm>

namespace Daemon {

namespace {

/** So many folders are searched one by one; more of them together with all others. */
constexpr int FewFolders = 4;

int firstOf(const Activesync::SearchMailboxOptions &options)
{
    return qMax(0, options.rangeStart);
}

int maximumOf(const Activesync::SearchMailboxOptions &options)
{
    const int bound = Eas::Limits::SearchHits;
    const int first = firstOf(options);
    return options.rangeEnd < first ? bound : qMin(bound, options.rangeEnd - first + 1);
}

/** Whether another query, or another folder, may succeed. */
bool isOfThisQuery(const Eas::Result &result)
{
    return result.code == Eas::ServerFailed || result.code == Eas::NotFound
        || result.code == Eas::InvalidAnswer || result.code == Eas::Forbidden;
}

} // namespace

MailboxSearch::MailboxSearch(const AccountContext &context, const Request &request, QObject *parent)
    : Job(context, parent)
    , m_request(request)
    , m_first(firstOf(request.options))
    , m_maximum(maximumOf(request.options))
{
}

void MailboxSearch::perform()
{
    begin();
    if (m_queries.isEmpty())
        end({});
    else
        ask();
}

void MailboxSearch::answer(const Request &request, const Eas::Result &result)
{
    if (result.ok())
        m_context.report->finishSearch(m_context, request.id, m_found);
    else
        Job::answer(request, result);
}

void MailboxSearch::begin()
{
    QSet<Eas::FolderId> all;
    const auto folders = m_context.folders().all();
    for (const Store::FolderState &folder : folders) {
        all.insert(folder.serverId);
        if (m_request.query.folders.contains(QString::number(folder.folderId.toULongLong())))
            m_wanted.insert(folder.serverId);
    }
    if (m_request.query.folders.isEmpty())
        m_wanted = all;
    if (m_wanted.size() > FewFolders)
        m_queries = {std::nullopt};
    else
        searchSingly();
}

void MailboxSearch::searchSingly()
{
    m_queries = {m_wanted.cbegin(), m_wanted.cend()};
    std::sort(m_queries.begin(), m_queries.end());
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
    request.last = m_at + Sizes::SearchPage - 1;
    request.body.type = m_request.options.bodyType == Eas::PlainText ? Eas::PlainText : Eas::Html;
    request.body.truncation =
        m_request.options.truncationSize < 0 ? TextBound : m_request.options.truncationSize;
    return request;
}

void MailboxSearch::ask()
{
    ++m_requests;
    auto *command = new Eas::SearchCommand(m_context.session, searchRequest());
    run(command, [this, command] { onAnswer(*command); });
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
    const bool isCounted = command.total() > 0 || shown < Sizes::SearchPage;
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
        end(result);
    } else if (result.retryAfter > 0) {
        retryOrFail(result, [this] { ask(); });
    } else if (result.code != Eas::NotFound && hasBounds && m_withBounds) {
        m_withBounds = false;
        m_at = 0;
        ask();
    } else if (!m_queries.first()) {
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
        const auto folder = m_context.folders().find(folderOf(hit));
        if (!folder || !m_wanted.contains(folder->serverId) || !isWanted(hit))
            continue;
        Store::FoundItem found;
        const QString itemId = m_itemIds.of(hit.longId, hit.collectionId, *folder);
        found.longUid = Store::ServerUid::searchResult(folder->serverId, hit.longId);
        found.uid =
            itemId.isEmpty() ? found.longUid : Store::ServerUid::item(folder->serverId, itemId);
        found.item = hit.item;
        m_items.append(found);
    }
    return fresh;
}

/** What the folder of a hit is called by the folder tree; empty where it is none of ours. */
Eas::FolderId MailboxSearch::folderOf(const Eas::SearchHit &hit) const
{
    // Some servers find what lies below the folder, too.
    if (hit.collectionId.isEmpty())
        return m_queries.first().value_or(Eas::FolderId());
    const QByteArray name = QByteArray::fromPercentEncoding(hit.collectionId.toUtf8());
    const auto folders = m_context.folders().all();
    for (const Store::FolderState &folder : folders) {
        if (QByteArray::fromPercentEncoding(folder.serverId.text().toUtf8()) == name)
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
    return m_items.size() >= m_first + m_maximum || m_requests >= Eas::Limits::SearchRequests;
}

void MailboxSearch::writeFound()
{
    const bool isComplete = m_queries.isEmpty();
    // At the end only hits that match the whole query count; the server may count others, too.
    m_found.total = isComplete ? m_items.size() : qMax(m_items.size(), m_total + m_queryTotal);
    if (m_items.isEmpty() && !m_failure.ok() && m_failure.code != Eas::NotFound) {
        end(m_failure);
        return;
    }
    auto job = std::make_unique<Store::FoundWriter>(*m_context.db, m_context.id(),
                                                    m_items.mid(m_first, m_maximum));
    const Store::FoundWriter *writer = job.get();
    write(std::move(job), [this, writer] {
        const QMailMessageIdList messages = writer->messages();
        for (const QMailMessageId &id : messages)
            m_found.messageIds.append(id.toULongLong());
        end({});
    });
}

} // namespace Daemon
