// SPDX-License-Identifier: LGPL-2.1-or-later
#ifndef DAEMON_PACING_BACKOFF_H
#define DAEMON_PACING_BACKOFF_H

namespace Daemon {

/**
 * The pauses after failures in a row: longer and longer, up to a bound, and spread, so that the
 * clients of a server that comes back do not all come at once.
 */
struct Backoff
{
    int firstMs;
    int maximumMs;

    /**
     * Milliseconds to wait after so many failures (1 or more), as `share` (0 to 1) says between
     * half of the pause for that many and the whole of it; at least `retryAfter` seconds, which the
     * server asked for.
     */
    int pauseMs(int failures, int retryAfter = 0, double share = anyShare()) const;

    /** Whether a result code is of what seldom passes by itself, but may: a network that wants a
     * login answers in the server's place. */
    static bool isGrave(int code);
    /** Whether each further attempt could lock the account at the server. */
    static bool isFinal(int code);

private:
    static double anyShare();
};

} // namespace Daemon

#endif
