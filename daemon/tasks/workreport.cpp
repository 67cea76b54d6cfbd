// SPDX-License-Identifier: LGPL-2.1-or-later
#include "daemon/tasks/workreport.h"

#include "daemon/pacing/alarm.h"
#include "daemon/pacing/pauses.h"
#include "daemon/tasks/accountcontext.h"
#include "daemon/tasks/failurewords.h"

#include <qmailstore.h>

namespace Daemon {

void WorkReport::finishRequest(const AccountContext &account, int requestId,
                               const Eas::Result &result)
{
    noteEnd(account, result);
    endRequest(requestId, result.code);
}

void WorkReport::finishSearch(const AccountContext &account, int requestId,
                              const Activesync::SearchMailboxResult &found)
{
    noteEnd(account, {});
    tellStoreChanges();
    emit searchFinished(requestId, Eas::Success, found);
}

void WorkReport::endRequest(int requestId, int code)
{
    tellStoreChanges();
    emit requestFinished(requestId, code);
}

void WorkReport::noteEnd(const AccountContext &account, const Eas::Result &result)
{
    // A cancellation says nothing about the account.
    if (result.code != Eas::Cancelled)
        emit workEnded(account.id().toULongLong(), result.code,
                       failureWords(result, account.session->serverName()));
}

void WorkReport::noteSync(const AccountContext &account, const Eas::Result &result)
{
    if (result.code != Eas::Cancelled)
        emit syncNoted(account.id().toULongLong(), result.code,
                       failureWords(result, account.session->serverName()));
}

void WorkReport::endSync(quint64 accountId)
{
    tellStoreChanges();
    emit syncEnded(accountId);
}

void WorkReport::tellNews()
{
    if (!m_toldAt || Alarm::now() - *m_toldAt >= Pauses::BetweenTellings)
        tellStoreChanges();
}

/** The mail store by itself would gather what it tells for up to a second. */
void WorkReport::tellStoreChanges()
{
    m_toldAt = Alarm::now();
    QMailStore::instance()->flushIpcNotifications();
}

} // namespace Daemon
