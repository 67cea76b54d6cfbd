// SPDX-License-Identifier: LGPL-2.1-or-later
#ifndef DAEMON_TASKS_JOB_H
#define DAEMON_TASKS_JOB_H

#include "asclient/searchmailboxresult.h"
#include "daemon/bus/request.h"
#include "eas/result.h"

#include <QObject>

namespace Daemon {

/**
 * A piece of an account's work that answers one or more requests.
 *
 * The account's worker runs one at a time and owns them. proceed() starts it; it then ends with
 * over(), or stops at a good place with paused() and goes on with the next proceed(); both come
 * from the event loop, never from within a call. Deleting it stops the work at once; what it was
 * about to write is not written.
 */
class Job : public QObject
{
    Q_OBJECT

public:
    explicit Job(QObject *parent = nullptr)
        : QObject(parent)
    {
    }

    /** Whether a person waits for it, so that it goes before everything else. */
    virtual bool isUrgent() const = 0;
    /** The requests that it has not answered yet. */
    virtual QList<Request> requests() const = 0;
    /** Does it answer this request, too? Then it has taken it in. */
    virtual bool join(const Request &request) = 0;
    /** A request has ended by other means; true when nothing else wants the job's work. */
    virtual bool drop(int requestId) = 0;
    virtual void proceed() = 0;

signals:
    void paused();
    /** It is over; `result` is why it stopped early, or Success. */
    void over(const Eas::Result &result);
    void requestFinished(int requestId, const Eas::Result &result);
    /** In the place of requestFinished() for a search that succeeded. */
    void searchFinished(int requestId, int code, const Activesync::SearchMailboxResult &result);
    /** It is a synchronisation from now on until its end; comes once. */
    void syncBegan();
    /** How much of that synchronisation is done, 0 to 1000. */
    void syncProgressed(int progress);
};

} // namespace Daemon

#endif
