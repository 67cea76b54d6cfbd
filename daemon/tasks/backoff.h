// SPDX-License-Identifier: LGPL-2.1-or-later
#ifndef DAEMON_TASKS_BACKOFF_H
#define DAEMON_TASKS_BACKOFF_H

namespace Daemon {

/**
 * The pauses after failures in a row: longer and longer, up to a bound, and spread, so that the
 * clients of a server that comes back do not all come at once.
 */
class Backoff
{
public:
    static constexpr int FirstMs = 5000;
    static constexpr int MaximumMs = 15 * 60 * 1000;

    /**
     * Milliseconds to wait after so many failures (1 or more), between a half of the longest pause
     * and the whole of it as `share` (0 to 1) says; at least `retryAfter` seconds, which the server
     * asked for.
     */
    static int pauseMs(int failures, double share, int retryAfter);

    /** Whether a result code is of what seldom passes by itself, but may: a network that wants a
     * login answers in the server's place. */
    static bool isGrave(int code);

    static constexpr int FirstGraveMs = 15 * 60 * 1000;
    static constexpr int MaximumGraveMs = 4 * 60 * 60 * 1000;

    /** The same after failures that most often need somebody to change something. */
    static int gravePauseMs(int failures, double share, int retryAfter);

private:
    static int spread(int first, int longest, int failures, double share, int retryAfter);
};

} // namespace Daemon

#endif
