// SPDX-License-Identifier: LGPL-2.1-or-later
#ifndef REQUESTSCHEDULER_H
#define REQUESTSCHEDULER_H

#include <QObject>
#include <QSet>

class AsDaemonRequest;
class OrvService;

namespace Activesync {
class AsDBusInterface;
}

/**
 * The daemon requests of a service's running action, and the one end of that action.
 *
 * Requests of the first queue run at once and side by side; those of the second wait until the
 * first is empty and then run one at a time. Only a completion starts them. The scheduler owns no
 * request, and forgets one that is destroyed, whatever destroyed it.
 */
class RequestScheduler : public QObject
{
    Q_OBJECT

public:
    /** Owned by `parent`; `service` must outlive it. */
    RequestScheduler(OrvService &service, QObject *parent);

    /** True when no request is queued or running. */
    bool isIdle() const { return m_firstQueue.isEmpty() && m_secondQueue.isEmpty(); }

    /**
     * Asks the daemon which requests live and completes those that do not; blocks for the answers.
     * False when nothing is left.
     */
    bool checkRequests(Activesync::AsDBusInterface *daemon);
    /** The same for one request; a dead one is completed with 200, so that its action ends. */
    bool isRequestAlive(Activesync::AsDBusInterface *daemon, AsDaemonRequest *request);

signals:
    /** The last request has ended; its code alone decides the success of the action. */
    void actionCompleted(bool success);

public slots:
    /** Every request reports its end here; a cancelled one empties both queues. */
    void onRequestCompleted(int code, AsDaemonRequest *request, bool canceled);
    /** Runs a request now: its id, or -1 when it failed or is queued already. */
    int addRequest(AsDaemonRequest *request);
    /** Queues a request behind the first queue. */
    void addSecondQueueRequest(AsDaemonRequest *request);

private:
    void insert(QSet<AsDaemonRequest *> &queue, AsDaemonRequest *request);
    void clear();
    void endAction(int code);
    void startNext();

    OrvService &m_service;
    QSet<AsDaemonRequest *> m_firstQueue;
    QSet<AsDaemonRequest *> m_secondQueue;
};

#endif
