// SPDX-License-Identifier: LGPL-2.1-or-later
#ifndef DAEMON_BUS_ENGINEWATCH_H
#define DAEMON_BUS_ENGINEWATCH_H

#include <QObject>
#include <QTimer>

namespace Daemon {

/**
 * Notices that the engine does not turn its event loop any more.
 *
 * The mail store waits without end for a lock that another process holds; whoever waits for the
 * engine meanwhile must be told. Asks while it is on, and only then: an idle daemon is not woken.
 * What is counted are questions, not time, as this process may have been stopped as a whole.
 */
class EngineWatch : public QObject
{
    Q_OBJECT

public:
    static constexpr int IntervalMs = 5000;
    /** So many questions without an answer: about a minute. */
    static constexpr int MaximumUnanswered = 12;

    explicit EngineWatch(QObject *parent);

    void setInterval(int ms) { m_timer.setInterval(ms); }
    void setOn(bool on);
    void hear() { m_unanswered = 0; }

signals:
    /** The engine answers with hear(). */
    void asked();
    /** It has not answered for too long; comes again while that is so. */
    void silent();

private:
    void ask();

    QTimer m_timer;
    int m_unanswered = 0;
};

} // namespace Daemon

#endif
