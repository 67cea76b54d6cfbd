// SPDX-License-Identifier: LGPL-2.1-or-later
#include "daemon/push/heartbeat.h"

#include <algorithm>

namespace Daemon {

void Heartbeat::carried()
{
    m_seconds = std::min(m_seconds + Growth, m_most);
}

void Heartbeat::cutAfter(int seconds)
{
    // A connection that is cut at once says nothing about waiting.
    if (seconds < Least)
        return;
    m_most = std::max(Least, std::min(m_most, seconds - Least / 2));
    m_seconds = std::min(m_seconds, m_most);
}

void Heartbeat::bound(int seconds)
{
    if (seconds <= 0)
        return;
    // The server names the end of its range that was missed.
    if (seconds < m_seconds)
        m_most = seconds;
    m_seconds = seconds;
}

} // namespace Daemon
