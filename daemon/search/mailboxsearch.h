// SPDX-License-Identifier: LGPL-2.1-or-later
#ifndef DAEMON_SEARCH_MAILBOXSEARCH_H
#define DAEMON_SEARCH_MAILBOXSEARCH_H

#include "asclient/searchmailboxresult.h"
#include "daemon/search/itemids.h"
#include "daemon/store/incoming/foundwriter.h"
#include "daemon/tasks/job.h"
#include "eas/searchcommand.h"

#include <QSet>

#include <optional>

namespace Daemon {

/**
 * Searches folders at the server and sees to it that what was found is in the mail store.
 *
 * Servers do not all do what a search can ask for: several folders are searched one by one, or with
 * all others where they are many; bounds of time that a server refuses are not sent; and whatever
 * was found is compared with the query here. At most Eas::Limits::SearchHits messages are brought.
 */
class MailboxSearch : public Job
{
    Q_OBJECT

public:
    /** Bytes of a text that are brought without being asked for. */
    static constexpr qint64 TextBound = 8 * 1024;

    MailboxSearch(const AccountContext &context, const Request &request, QObject *parent = nullptr);

private:
    void perform() override;
    void answer(const Request &request, const Eas::Result &result) override;
    void begin();
    void searchSingly();
    void ask();
    void onAnswer(const Eas::SearchCommand &command);
    void onRefused(const Eas::Result &result);
    void nextQuery();
    int take(const QList<Eas::SearchHit> &hits);
    Eas::FolderId folderOf(const Eas::SearchHit &hit) const;
    bool isWanted(const Eas::SearchHit &hit) const;
    bool isEnough() const;
    Eas::SearchRequest searchRequest() const;
    void writeFound();

    const Request m_request;
    const int m_first; ///< hits before it are passed over
    const int m_maximum;
    QSet<Eas::FolderId> m_wanted;
    QList<std::optional<Eas::FolderId>> m_queries; ///< folders to ask for; absent: all at once
    int m_at = 0;                                  ///< results of the current query so far
    int m_requests = 0;
    bool m_withBounds = true;
    int m_total = 0; ///< of the queries so far, as the server says
    int m_queryTotal = 0;
    QSet<QString> m_seen; ///< LongIds
    ItemIds m_itemIds;
    QList<Store::FoundItem> m_items;
    Eas::Result m_failure;
    Activesync::SearchMailboxResult m_found;
};

} // namespace Daemon

#endif
