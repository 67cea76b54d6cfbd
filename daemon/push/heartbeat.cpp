// SPDX-License-Identifier: LGPL-2.1-or-later
#include "daemon/push/heartbeat.h"

#include <algorithm>

namespace Daemon {

void Heartbeat::carried()
{
    m_seconds = std::min(m_seconds + Growth, m_maximum);
}

void Heartbeat::cutAfter(int seconds)
{
    // A connection that is cut at once says nothing about waiting.
    if (seconds < Minimum)
        return;
    m_maximum = std::max(Minimum, std::min(m_maximum, seconds - Minimum / 2));
    m_seconds = std::min(m_seconds, m_maximum);
}

void Heartbeat::bound(int seconds)
{
    if (seconds <= 0)
        return;
    // The server names the end of its range that was missed.
    if (seconds < m_seconds)
        m_maximum = seconds;
    m_seconds = seconds;
}

} // namespace Daemon
