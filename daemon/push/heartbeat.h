// SPDX-License-Identifier: LGPL-2.1-or-later
#ifndef DAEMON_PUSH_HEARTBEAT_H
#define DAEMON_PUSH_HEARTBEAT_H

namespace Daemon {

/**
 * How long a server may wait before it answers "nothing happened", in seconds.
 *
 * Longer means fewer requests, but middleboxes cut connections on which nothing happens: the
 * heartbeat grows while the network carries it and falls back when a waiting connection was cut.
 */
class Heartbeat
{
public:
    static constexpr int Minimum = 60;
    /** What common servers take at most. */
    static constexpr int Maximum = 3540;
    static constexpr int First = 480;
    static constexpr int Growth = 300;

    int seconds() const { return m_seconds; }
    /** The server waited that long and answered. */
    void carried();
    /** The connection was lost after so many seconds of waiting. */
    void cutAfter(int seconds);
    /** The server's own bound, which may be below Minimum. */
    void bound(int seconds);

private:
    int m_seconds = First;
    int m_maximum = Maximum;
};

} // namespace Daemon

#endif
