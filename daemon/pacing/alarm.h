// SPDX-License-Identifier: LGPL-2.1-or-later
#ifndef DAEMON_PACING_ALARM_H
#define DAEMON_PACING_ALARM_H

#include <QObject>
#include <QTimer>

#include <functional>

namespace Daemon {

/**
 * A pause of the daemon: rings once when it is over.
 *
 * The timer for pauses that may last, so that a test of days of a server's bad behaviour takes
 * seconds: once time is driven, it stands still until ringNext() takes it to the end of the next
 * pause. What settles within some seconds has a QTimer, which no test drives: the bursts of
 * LocalChangeWatch and NetworkMonitor, the copy that AccountWorker fetches after a sending, and the
 * server that MailSending gives time for its folder of sent messages.
 */
class Alarm : public QObject
{
    Q_OBJECT

public:
    explicit Alarm(QObject *parent = nullptr);
    ~Alarm() override;

    void start(int milliseconds);
    void stop();
    bool isActive() const;
    /** Milliseconds that the last start() was given. */
    int interval() const { return m_interval; }

    /** Calls `then` when the pause is over, unless the context is gone by then. */
    static void once(int milliseconds, QObject *context, std::function<void()> then);

    /** Milliseconds of the clock that the pauses go by; it goes on while the machine sleeps. */
    static qint64 now();
    /** For tests: time stands still from now on, in this process. */
    static void drive();
    /** For tests of a whole process: every pause is divided by `divisor`. */
    static void hurry(int divisor);
    /** Whether a pause is under way; only of driven time. */
    static bool isPending();
    /** Takes driven time to the end of the next pause. */
    static void ringNext();

signals:
    void rang();

private:
    QTimer m_timer;
    qint64 m_due = 0;
    int m_interval = 0;
};

} // namespace Daemon

#endif
