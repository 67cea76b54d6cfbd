// SPDX-License-Identifier: LGPL-2.1-or-later
#include "daemon/tasks/job.h"

#include "daemon/log/logging.h"
#include "daemon/tasks/workreport.h"

#include <algorithm>
#include <utility>

namespace Daemon {

QList<Request> Job::requests() const
{
    QList<Request> requests;
    for (const Waiter &waiter : m_waiters)
        requests.append(waiter.request);
    return requests;
}

void Job::add(const Request &request)
{
    m_waiters.append(Waiter {request});
}

bool Job::join(const Request &request)
{
    const bool isTaken = mayJoin(request);
    if (isTaken)
        add(request);
    return isTaken;
}

bool Job::mayJoin(const Request &request) const
{
    if (m_waiters.isEmpty() || !request.namesMessage())
        return false;
    const Request &first = m_waiters.first().request;
    return first.kind == request.kind && first.messageId == request.messageId
        && first.location == request.location;
}

bool Job::drop(int requestId)
{
    const auto isDropped = [requestId](const Waiter &one) { return one.request.id == requestId; };
    const auto dropped = std::remove_if(m_waiters.begin(), m_waiters.end(), isDropped);
    if (dropped == m_waiters.end())
        return false;
    m_waiters.erase(dropped, m_waiters.end());
    return m_waiters.isEmpty();
}

void Job::answer(const Request &request, const Eas::Result &result)
{
    if (!result.ok())
        qCInfo(lcRequests) << "request" << request.id << "failed:" << result.text;
    m_context.report->finishRequest(m_context, request.id, result);
}

void Job::answerReady()
{
    const QList<Waiter> waiters = std::exchange(m_waiters, {});
    for (const Waiter &waiter : waiters) {
        if (waiter.steps.isEmpty())
            answer(waiter.request, waiter.failure);
        else
            m_waiters.append(waiter);
    }
}

void Job::answerAll(const Eas::Result &result)
{
    const QList<Waiter> waiters = std::exchange(m_waiters, {});
    for (const Waiter &waiter : waiters)
        answer(waiter.request, result);
}

void Job::end(const Eas::Result &result)
{
    emit ending();
    answerAll(result);
    Task::end(result);
}

} // namespace Daemon
