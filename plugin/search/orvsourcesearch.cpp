// SPDX-License-Identifier: LGPL-2.1-or-later
// The life of a search at the server. What becomes of the hits is the daemon's business.
#include "asclient/asdbusinterface.h"
#include "asclient/resultcode.h"
#include "plugin/requests/requestscheduler.h"
#include "plugin/search/folderscope.h"
#include "plugin/search/searchcriteria.h"
#include "plugin/service/orvservice.h"
#include "plugin/source/orvsource.h"

#include <qmaillog.h>
#include <QTimer>

using Activesync::AsDBusInterface;

namespace {

Activesync::SearchQuery queryFor(const SearchCriteria &criteria, const QStringList &folders)
{
    Activesync::SearchQuery query;
    query.text = criteria.text;
    query.selector = 1;
    query.folders = folders;
    query.receivedAfter = criteria.interval.start;
    query.receivedBefore = criteria.interval.end;
    return query;
}

/** "and received ... TIME" for the log; empty for an open bound. */
QString boundText(const char *format, const QDateTime &bound)
{
    return bound.isValid() ? QString::fromLatin1(format).arg(bound.toUTC().toString(Qt::TextDate))
                           : QString();
}

void logSearch(const SearchCriteria &criteria)
{
    qMailLog(Messaging) << "searching for messages with text" << criteria.text
                        << boundText("and received before %1", criteria.interval.end)
                        << boundText("and received after %1", criteria.interval.start);
}

} // namespace

bool OrvSource::searchMessages(const QMailMessageKey &filter, const QString &bodyText,
                               const QMailMessageSortKey &)
{
    const QMailAccountId account = m_service->accountId();
    qMailLog(Messaging) << "server-side search for messages in account" << account.toULongLong();
    const QSet<QMailFolderId> scope = searchScope(filter);
    qMailLog(Messaging) << "server-side search in" << scope.count() << "folders";
    if (scope.isEmpty()) {
        completeSoon();
        return true;
    }
    SearchCriteria criteria = criteriaFromKey(filter);
    if (!bodyText.isEmpty()) {
        criteria.text = bodyText;
        criteria.textField = BodyTextField;
    }
    if (criteria.text.isEmpty()) {
        qWarning() << "Empty search criteria text";
        completeSoon();
        return true;
    }
    logSearch(criteria);
    QStringList folders;
    for (const QMailFolderId &id : scope) {
        if (id.isValid())
            folders.append(QString::number(id.toULongLong()));
    }
    m_searchRequestId = m_service->scheduler()->addRequest(
        createRequest(account,
                      std::tr1::bind(&AsDBusInterface::searchMailbox, m_service->daemon(),
                                     account.toULongLong(), queryFor(criteria, folders),
                                     Activesync::SearchMailboxOptions(), QDBus::Block)));
    qMailLog(Messaging) << "result = " << m_searchRequestId << "for AccountId=" << account;
    return true;
}

/** The account's folders, cut down to what the key's conditions on folders leave of them. */
QSet<QMailFolderId> OrvSource::searchScope(const QMailMessageKey &filter) const
{
    const QMailFolderIdList ids = QMailStore::instance()->queryFolders(
        QMailFolderKey::parentAccountId(m_service->accountId(), QMailDataComparator::Equal));
    QSet<QMailFolderId> folders(ids.cbegin(), ids.cend());
    const FolderScope scope = folderScopeFromKey(filter);
    if (!scope.first.isEmpty())
        folders.intersect(scope.first);
    return folders.subtract(scope.second);
}

bool OrvSource::cancelSearch()
{
    if (m_searchRequestId > 0) {
        qMailLog(Messaging) << "aborting search request" << m_searchRequestId;
        m_service->daemon()->abortRequest(m_searchRequestId, Activesync::Cancelled, QDBus::NoBlock);
    }
    QTimer::singleShot(0, this, SLOT(completeAction()));
    return true;
}

void OrvSource::onSearchMailboxCompleted(int aStatus, qulonglong aAccountId,
                                         const Activesync::SearchMailboxResult &, int aRequestId)
{
    if (aAccountId != m_service->accountId().toULongLong())
        return;
    qMailLog(Messaging) << "Search in mailbox COMPLETED signal received for the account"
                        << aAccountId << "status" << aStatus << "request-id" << aRequestId
                        << ", last search request-id is" << m_searchRequestId;
    if (aRequestId == m_searchRequestId)
        m_searchRequestId = -1;
}
