// SPDX-License-Identifier: LGPL-2.1-or-later
#include "daemon/work/errand.h"

#include "daemon/bus/logging.h"
#include "daemon/work/syncstep.h"

#include <algorithm>

namespace Daemon {

namespace {

bool isSame(const Request &a, const Request &b)
{
    return a.kind == b.kind && a.namesMessage() && a.messageId == b.messageId
        && a.location == b.location;
}

} // namespace

Errand::Errand(std::unique_ptr<SyncStep> step, const Request &request, QObject *parent)
    : Operation(parent)
    , m_step(std::move(step))
    , m_requests({request})
{
    connect(m_step.get(), &SyncStep::paused, this, &Errand::paused);
    connect(m_step.get(), &SyncStep::finished, this, &Errand::onFinished);
}

Errand::~Errand() = default;

bool Errand::join(const Request &request)
{
    if (m_requests.isEmpty() || !isSame(m_requests.first(), request))
        return false;
    m_requests.append(request);
    emit joined();
    return true;
}

bool Errand::drop(int requestId)
{
    m_requests.erase(
        std::remove_if(m_requests.begin(), m_requests.end(),
                       [requestId](const Request &request) { return request.id == requestId; }),
        m_requests.end());
    return m_requests.isEmpty();
}

void Errand::proceed()
{
    m_step->proceed();
}

void Errand::answer(const Request &request, const Eas::Result &result)
{
    emit requestFinished(request.id, result);
}

void Errand::onFinished(const Eas::Result &result)
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
