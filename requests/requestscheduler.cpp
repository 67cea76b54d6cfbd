// SPDX-License-Identifier: LGPL-2.1-or-later
#include "requests/requestscheduler.h"

#include "asclient/asdbusinterface.h"
#include "requests/asdaemonrequest.h"
#include "service/orvservice.h"
#include "service/statuscode.h"

#include <QPointer>

#include <qmaillog.h>

RequestScheduler::RequestScheduler(OrvService &service, QObject *parent)
    : QObject(parent)
    , m_service(service)
{
    // A cancelled send says nothing, yet after a cancellation the next action must find us idle.
    connect(&service, &OrvService::operationCanceled, this, &RequestScheduler::clear);
}

bool RequestScheduler::checkRequests(Activesync::AsDBusInterface *daemon)
{
    if (!daemon)
        return false;
    // A dead request's completion may end the action, and with it other requests.
    QList<QPointer<AsDaemonRequest>> requests;
    for (AsDaemonRequest *request : qAsConst(m_firstQueue))
        requests.append(request);
    for (const QPointer<AsDaemonRequest> &request : qAsConst(requests)) {
        if (isRequestAlive(daemon, request))
            return true;
    }
    if (m_secondQueue.isEmpty())
        return false;
    isRequestAlive(daemon, *m_secondQueue.cbegin());
    return !m_secondQueue.isEmpty();
}

bool RequestScheduler::isRequestAlive(Activesync::AsDBusInterface *daemon, AsDaemonRequest *request)
{
    if (!daemon || !request)
        return false;
    const QDBusReply<int> reply = daemon->isRequestAlive(request->requestId(), QDBus::Block);
    if (reply.isValid() && reply.value() != 0)
        return true;
    onRequestCompleted(200, request, false);
    return false;
}

void RequestScheduler::onRequestCompleted(int code, AsDaemonRequest *request, bool canceled)
{
    if (canceled) {
        clear();
        qMailLog(Messaging)
            << "void RequestScheduler::onRequestCompleted(int, AsDaemonRequest*, bool)"
            << "operation cancelled";
        return;
    }
    m_firstQueue.remove(request);
    // Also while the first queue is not empty: a completed request is about to be deleted.
    m_secondQueue.remove(request);
    if (!m_firstQueue.isEmpty())
        return;
    // Deliberate: a request that is in no queue ends the action, too.
    if (m_secondQueue.isEmpty())
        endAction(code);
    else
        startNext();
}

int RequestScheduler::addRequest(AsDaemonRequest *request)
{
    if (m_firstQueue.contains(request)) {
        qMailLog(Messaging) << "Something wrong. Request" << request
                            << "has already been added into requests queue!";
        return -1;
    }
    insert(m_firstQueue, request);
    m_service.startWaiting();
    // One that fails at once ends the action, upon which somebody may destroy it.
    const QPointer<AsDaemonRequest> guarded(request);
    const int id = request->execute();
    qMailLog(Messaging) << "Request" << guarded.data() << "has been added into requests queue";
    return id;
}

void RequestScheduler::addSecondQueueRequest(AsDaemonRequest *request)
{
    if (m_secondQueue.contains(request)) {
        qMailLog(Messaging) << "Something wrong. Request" << request
                            << "has already been added into second requests queue!";
        return;
    }
    insert(m_secondQueue, request);
    qMailLog(Messaging) << "Request" << request << "has been added into second requests queue";
}

/** Queues a request until it leaves or is destroyed. */
void RequestScheduler::insert(QSet<AsDaemonRequest *> &queue, AsDaemonRequest *request)
{
    queue.insert(request);
    connect(request, &QObject::destroyed, this, [this, request] {
        m_firstQueue.remove(request);
        m_secondQueue.remove(request);
    });
}

void RequestScheduler::clear()
{
    m_firstQueue.clear();
    m_secondQueue.clear();
}

void RequestScheduler::endAction(int code)
{
    m_service.stopWaiting(code);
    emit actionCompleted(statusErrorCode(code) == QMailServiceAction::Status::ErrNoError);
    qMailLog(Messaging) << "Action Completed signal is emited";
}

/** Starts some request of the second queue; it stays there until it completes. */
void RequestScheduler::startNext()
{
    const int id = (*m_secondQueue.cbegin())->execute();
    qMailLog(Messaging) << "start request in second queue";
    if (id == -1) {
        qMailLog(Messaging) << "Second Queue Request execute returned -1";
    }
}
