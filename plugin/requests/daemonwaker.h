// SPDX-License-Identifier: LGPL-2.1-or-later
#ifndef PLUGIN_REQUESTS_DAEMONWAKER_H
#define PLUGIN_REQUESTS_DAEMONWAKER_H

#include <QObject>

class OrvService;
class QDBusPendingCallWatcher;
class QTimer;

/**
 * Has the session bus start the daemon where somebody waits for it and it does not run.
 *
 * Never blocks. Tries again with pauses that grow to a minute, until the daemon runs or nobody
 * waits; then no timer is left.
 */
class DaemonWaker : public QObject
{
    Q_OBJECT

public:
    /** Pauses between two attempts, in milliseconds; each is twice the last one. */
    static constexpr int FirstPauseMs = 1000;
    static constexpr int MaximumPauseMs = 60000;

    /** `service` outlives it. */
    DaemonWaker(OrvService &service, QObject *parent);

    /** Asks the bus once, without waiting for the result. */
    static void ask();

    /** A call was refused: asks now, and again while the service waits for the daemon. */
    void wake();

private:
    void onAnswered(QDBusPendingCallWatcher *answer);
    void onTimeout();
    void onDaemonGone();
    void askAndWait();
    void forget();

    OrvService &m_service;
    QTimer *m_timer;
    /** The pause before the next attempt; 0 where nobody has waited yet. */
    int m_pauseMs = 0;
    bool m_isAsking = false;
};

#endif
