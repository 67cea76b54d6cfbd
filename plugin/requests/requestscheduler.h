// SPDX-License-Identifier: LGPL-2.1-or-later
#ifndef PLUGIN_REQUESTS_REQUESTSCHEDULER_H
#define PLUGIN_REQUESTS_REQUESTSCHEDULER_H

#include <QList>
#include <QObject>
#include <QPointer>
#include <QSet>

#include <optional>

class AsDaemonRequest;
class DaemonWaker;
class OrvService;

namespace Activesync {
class AsDBusInterface;
}

/**
 * The daemon requests of a service's running action, and the one end of that action.
 *
 * Requests of the first queue run at once and side by side; those of the second wait until the
 * first is empty and then run one at a time. Only a completion starts them. The scheduler owns no
 * request, and forgets one that is destroyed, whatever destroyed it. It keeps the last few requests
 * that a poll found dead, as their end may still come.
 */
class RequestScheduler : public QObject
{
    Q_OBJECT

public:
    /** Keeps the action from ending while the requests of one call come in. */
    class Batch
    {
    public:
        explicit Batch(RequestScheduler &scheduler);
        ~Batch();
        Batch(const Batch &) = delete;
        Batch &operator=(const Batch &) = delete;

    private:
        RequestScheduler &m_scheduler;
    };

    /** How many requests are kept at most that a poll found dead. */
    static constexpr int MaximumDead = 16;

    /** Owned by `parent`; `service` must outlive it. */
    RequestScheduler(OrvService &service, QObject *parent);

    /** True when no request is queued or running. */
    bool isIdle() const { return m_firstQueue.isEmpty() && m_secondQueue.isEmpty(); }

    /** How many requests have ended by what the daemon said, not by a poll. */
    quint64 endsByBroadcast() const { return m_endsByBroadcast; }

    /**
     * Asks the daemon about one request after the other and completes those that are dead, until
     * one lives; blocks for the answers. Requests that the daemon never accepted come first. Where
     * the daemon gives no answer, that request is completed as well, and no further one is asked
     * about. False when nothing is left.
     */
    bool checkRequests(Activesync::AsDBusInterface *daemon);
    /** The same for one request; a dead one is completed with success, so that its action ends. */
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
    bool isQueued(AsDaemonRequest *request) const;
    bool isSecondRunning() const;
    AsDaemonRequest *firstOfSecondQueue() const;
    bool take(AsDaemonRequest *request);
    QList<QPointer<AsDaemonRequest>> pollOrder() const;
    void checkRefused();
    void complete(int code, AsDaemonRequest *request);
    void keepDead(AsDaemonRequest *request);
    void clear();
    void proceed(int code);
    void endAction(int code);
    void startNext();
    int execute(AsDaemonRequest *request);

    OrvService &m_service;
    QSet<AsDaemonRequest *> m_firstQueue;
    QSet<AsDaemonRequest *> m_secondQueue;
    /** That of the second queue which was started last. */
    QPointer<AsDaemonRequest> m_started;
    /** Those that a poll found dead, oldest first. */
    QList<QPointer<AsDaemonRequest>> m_dead;
    DaemonWaker *m_waker;
    quint64 m_endsByBroadcast = 0;
    int m_batches = 0;
    /** The last completion's code, which waits for the end of a batch. */
    std::optional<int> m_codeOfBatch;
    bool m_isDaemonSilent = false;
};

#endif
