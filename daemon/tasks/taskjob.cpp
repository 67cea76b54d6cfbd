// SPDX-License-Identifier: LGPL-2.1-or-later
#include "daemon/tasks/taskjob.h"

#include "daemon/bus/logging.h"
#include "daemon/tasks/task.h"

#include <algorithm>

namespace Daemon {

namespace {

bool isSame(const Request &a, const Request &b)
{
    return a.kind == b.kind && a.namesMessage() && a.messageId == b.messageId
        && a.location == b.location;
}

} // namespace

TaskJob::TaskJob(std::unique_ptr<Task> step, const Request &request, QObject *parent)
    : Job(parent)
    , m_step(std::move(step))
    , m_requests({request})
{
    connect(m_step.get(), &Task::paused, this, &TaskJob::paused);
    connect(m_step.get(), &Task::finished, this, &TaskJob::onFinished);
}

TaskJob::~TaskJob() = default;

bool TaskJob::join(const Request &request)
{
    if (m_requests.isEmpty() || !isSame(m_requests.first(), request))
        return false;
    m_requests.append(request);
    emit joined();
    return true;
}

bool TaskJob::drop(int requestId)
{
    m_requests.erase(
        std::remove_if(m_requests.begin(), m_requests.end(),
                       [requestId](const Request &request) { return request.id == requestId; }),
        m_requests.end());
    return m_requests.isEmpty();
}

void TaskJob::proceed()
{
    m_step->proceed();
}

void TaskJob::answer(const Request &request, const Eas::Result &result)
{
    emit requestFinished(request.id, result);
}

void TaskJob::onFinished(const Eas::Result &result)
{
    const QList<Request> answered = m_requests;
    m_requests.clear();
    for (const Request &request : answered) {
        if (!result.ok())
            qCInfo(lcRequests) << "request" << request.id << "failed:" << result.text;
        answer(request, result);
    }
    emit over(result);
}

} // namespace Daemon
