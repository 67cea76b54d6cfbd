// SPDX-License-Identifier: LGPL-2.1-or-later
#include "daemon/tasks/retry.h"

#include <QtGlobal>

#include <iterator>

namespace Daemon {

namespace {

constexpr int Delays[] = {1000, 4000};

/** [MS-ASCMD] 2.2.2 and 2.2.3.177: the server failed, or says "retry". */
bool isPassing(int status)
{
    switch (status) {
    case 5:
    case 6:
    case 13:
    case 16:
    case 110:
    case 111:
    case 133:
        return true;
    default:
        return false;
    }
}

} // namespace

std::optional<int> Retry::nextDelay(const Eas::Result &result)
{
    if (m_attempts >= int(std::size(Delays)))
        return std::nullopt;
    if (!isPassing(result.status) && result.retryAfter == 0)
        return std::nullopt;
    const int delay = qMax(Delays[m_attempts], qMin(result.retryAfter, 3600) * 1000);
    if (delay > MaximumDelayMs)
        return std::nullopt;
    ++m_attempts;
    return delay;
}

} // namespace Daemon
