// SPDX-License-Identifier: LGPL-2.1-or-later
#ifndef TESTS_MESSAGESERVER_SERVERCLOCK_H
#define TESTS_MESSAGESERVER_SERVERCLOCK_H

#include <QTemporaryFile>

class MessageServer;
struct ClockPage;

/** The clocks of a message server, which a test sets instead of waiting. */
class ServerClock
{
public:
    /** Both clocks run as the system's. */
    ServerClock();
    ~ServerClock();
    ServerClock(const ServerClock &) = delete;
    ServerClock &operator=(const ServerClock &) = delete;

    /** Gives `server`, which is not yet started, these clocks. */
    void giveTo(MessageServer &server);

    /** Stops the time of day there, in milliseconds since the epoch, UTC. */
    void stopAt(qint64 msecsSinceEpoch);
    /** Puts the clock of timers forward; the server notices when something wakes it. */
    void advanceTimers(int msecs);

private:
    QTemporaryFile m_file;
    ClockPage *m_page;
};

#endif
