// SPDX-License-Identifier: LGPL-2.1-or-later
#include "plugin/requests/requestscheduler.h"

#include "asclient/asdbusinterface.h"
#include "asclient/resultcode.h"
#include "plugin/requests/asdaemonrequest.h"
#include "plugin/requests/daemonwaker.h"
#include "plugin/requests/transmittedmails.h"
#include "plugin/service/orvservice.h"
#include "plugin/service/statuscode.h"

#include <qmaillog.h>

RequestScheduler::Batch::Batch(RequestScheduler &scheduler)
    : m_scheduler(scheduler)
{
    ++m_scheduler.m_batches;
}

RequestScheduler::Batch::~Batch()
{
    if (--m_scheduler.m_batches > 0 || !m_scheduler.m_codeOfBatch)
        return;
    const int code = *m_scheduler.m_codeOfBatch;
    m_scheduler.m_codeOfBatch.reset();
    if (m_scheduler.m_firstQueue.isEmpty())
        m_scheduler.proceed(code);
}

RequestScheduler::RequestScheduler(OrvService &service, QObject *parent)
    : QObject(parent)
    , m_service(service)
    , m_waker(new DaemonWaker(service, this))
{
    // A cancelled send reports no end, yet the queues must be empty for the next action.
    connect(&service, &OrvService::operationCanceled, this, &RequestScheduler::clear);
    connect(&service.daemon()->answers(), &Activesync::AnswerWatch::heardAgain, this,
            &RequestScheduler::checkRefused);
}

bool RequestScheduler::checkRequests(Activesync::AsDBusInterface *daemon)
{
    if (!daemon)
        return false;
    m_isDaemonSilent = false;
    // A request's completion may end the action, and with it other requests.
    const QList<QPointer<AsDaemonRequest>> requests = pollOrder();
    for (const QPointer<AsDaemonRequest> &request : requests) {
        // It may have ended while the daemon was asked about another one.
        if (!m_firstQueue.contains(request))
            continue;
        if (isRequestAlive(daemon, request))
            return true;
        if (m_isDaemonSilent)
            return !isIdle();
    }
    if (!m_firstQueue.isEmpty())
        return true;
    if (m_secondQueue.isEmpty())
        return false;
    isRequestAlive(daemon, firstOfSecondQueue());
    return !m_secondQueue.isEmpty();
}

/** The first queue, with the requests that the daemon never accepted in front. */
QList<QPointer<AsDaemonRequest>> RequestScheduler::pollOrder() const
{
    QList<QPointer<AsDaemonRequest>> requests;
    for (AsDaemonRequest *request : m_firstQueue) {
        if (request->isTaken())
            requests.append(request);
        else
            requests.prepend(request);
    }
    return requests;
}

/** The daemon answers again: completes the requests that it never accepted and will never end. */
void RequestScheduler::checkRefused()
{
    const QList<QPointer<AsDaemonRequest>> requests = pollOrder();
    for (const QPointer<AsDaemonRequest> &request : requests) {
        if (m_firstQueue.contains(request) && !request->isTaken())
            isRequestAlive(m_service.daemon(), request);
    }
}

bool RequestScheduler::isRequestAlive(Activesync::AsDBusInterface *daemon, AsDaemonRequest *request)
{
    if (!daemon || !request)
        return false;
    const QPointer<AsDaemonRequest> guarded(request);
    const bool wasQueued = isQueued(request);
    const int id = request->requestId();
    const QDBusReply<int> reply = daemon->isRequestAlive(id, QDBus::Block);
    if (reply.isValid() && reply.value() != 0)
        return true;
    m_isDaemonSilent = reply.error().type() == QDBusError::NoReply;
    // The end of the request may have come into this process before that answer.
    daemon->deliverPosted();
    if (!guarded || (wasQueued && !isQueued(guarded)))
        return false;
    if (guarded->requestId() != id)
        return true;
    complete(Activesync::Success, guarded);
    if (guarded)
        keepDead(guarded);
    return false;
}

/** Keeps a request that a poll found dead while its end may still come. */
void RequestScheduler::keepDead(AsDaemonRequest *request)
{
    request->outliveAction();
    if (!request->isTaken()) {
        request->deleteLater();
        return;
    }
    m_dead.removeAll(nullptr);
    m_dead.append(request);
    while (m_dead.size() > MaximumDead)
        m_dead.takeFirst()->deleteLater();
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
    ++m_endsByBroadcast;
    complete(code, request);
}

void RequestScheduler::complete(int code, AsDaemonRequest *request)
{
    const bool wasQueued = take(request);
    if (!m_firstQueue.isEmpty())
        return;
    // Deliberate: a request that is in no queue, as its own action is over, ends the running
    // action, too. Not while that waits for work of its own: it would end twice, or its next
    // request start twice.
    if (!wasQueued && (m_batches > 0 || isSecondRunning() || m_service.hasActionOfItsOwn()))
        return;
    if (m_batches > 0)
        m_codeOfBatch = code;
    else
        proceed(code);
}

bool RequestScheduler::isQueued(AsDaemonRequest *request) const
{
    return m_firstQueue.contains(request) || m_secondQueue.contains(request);
}

bool RequestScheduler::isSecondRunning() const
{
    return m_secondQueue.contains(m_started);
}

/** The running request, else any: the queue has no order. */
AsDaemonRequest *RequestScheduler::firstOfSecondQueue() const
{
    return isSecondRunning() ? m_started.data() : *m_secondQueue.cbegin();
}

/** Takes a request out of the queues; false when it was in none. */
bool RequestScheduler::take(AsDaemonRequest *request)
{
    const bool wasFirst = m_firstQueue.remove(request);
    // Also while the first queue is not empty: a completed request is about to be deleted.
    const bool wasSecond = m_secondQueue.remove(request);
    if (m_started == request)
        m_started = nullptr;
    return wasFirst || wasSecond;
}

void RequestScheduler::proceed(int code)
{
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
    // A request that fails at once ends the action, and a receiver of that end may destroy it.
    const QPointer<AsDaemonRequest> guarded(request);
    const int id = execute(request);
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

/** Queues a request until it is taken out or destroyed. */
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
    m_started = nullptr;
    m_codeOfBatch.reset();
}

/** Makes a request's call; where it fails, has the daemon started if it does not run. */
int RequestScheduler::execute(AsDaemonRequest *request)
{
    const int id = request->execute();
    if (id == -1)
        m_waker->wake();
    return id;
}

void RequestScheduler::endAction(int code)
{
    m_service.stopWaiting(code);
    const TransmittedMails::Guard guard(m_service);
    emit actionCompleted(statusErrorCode(code) == QMailServiceAction::Status::ErrNoError);
    qMailLog(Messaging) << "Action Completed signal is emited";
}

/** Starts some request of the second queue; it stays there until it completes. */
void RequestScheduler::startNext()
{
    m_started = firstOfSecondQueue();
    const int id = execute(m_started);
    qMailLog(Messaging) << "start request in second queue";
    if (id == -1) {
        qMailLog(Messaging) << "Second Queue Request execute returned -1";
    }
}
