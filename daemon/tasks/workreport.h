// SPDX-License-Identifier: LGPL-2.1-or-later
#ifndef DAEMON_TASKS_WORKREPORT_H
#define DAEMON_TASKS_WORKREPORT_H

#include "asclient/searchmailboxresult.h"
#include "eas/result.h"

#include <QObject>
#include <QVariantMap>

#include <optional>

namespace Daemon {

struct AccountContext;

/**
 * What the front is told of the accounts' work: its ends, and when it synchronises.
 *
 * One for all accounts. Whoever does the work tells it here; the front hears it in its own thread.
 * What the work has written reaches other processes before the end of a request or of a
 * synchronisation does, though the mail store by itself would tell of it later.
 */
class WorkReport : public QObject
{
    Q_OBJECT

public:
    using QObject::QObject;

    /** Ends a request, after telling how the work for it has ended. */
    void finishRequest(const AccountContext &account, int requestId, const Eas::Result &result);
    /** The same for a search that succeeded. */
    void finishSearch(const AccountContext &account, int requestId,
                      const Activesync::SearchMailboxResult &found);
    /** Ends a request with the code, which says nothing about the account. */
    void endRequest(int requestId, int code);
    /** Tells how some work for the account has ended, whether or not a request was behind it. */
    void noteEnd(const AccountContext &account, const Eas::Result &result);
    /** Tells how a synchronisation has ended, before endSync(). */
    void noteSync(const AccountContext &account, const Eas::Result &result);
    void endSync(quint64 accountId);
    /**
     * News was written, and more may follow: other processes hear of it now, unless they heard of
     * something just before (Pauses::BetweenTellings). Each time costs a mail program a look at all
     * that it shows.
     */
    void tellNews();

signals:
    /** How the account's last work has ended, in words that a person understands; always before
     * the end of the request that it was done for. Success has no words. */
    void workEnded(quint64 accountId, int code, const QString &words);
    /** The same for the last synchronisation alone. */
    void syncNoted(quint64 accountId, int code, const QString &words);
    /** An Activesync::AccountStatus, as its map. */
    void statusChanged(quint64 accountId, const QVariantMap &status);
    void requestFinished(int requestId, int code);
    /** In the place of requestFinished() for a search that succeeded. */
    void searchFinished(int requestId, int code, const Activesync::SearchMailboxResult &result);
    void syncBegan(quint64 accountId);
    /** How much of that synchronisation is done, 0 to 1000. */
    void syncProgressed(quint64 accountId, int progress);
    void syncEnded(quint64 accountId);

private:
    void tellStoreChanges();

    std::optional<qint64> m_toldAt; ///< Alarm::now() when other processes were told last
};

} // namespace Daemon

#endif
