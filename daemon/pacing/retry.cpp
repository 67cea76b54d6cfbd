// SPDX-License-Identifier: LGPL-2.1-or-later
#include "daemon/pacing/retry.h"

#include "daemon/pacing/pauses.h"
#include "eas/limits.h"

#include <iterator>

namespace Daemon {

namespace {

/** The server failed, or says "retry". */
bool isPassing(Eas::Outcome outcome)
{
    return outcome == Eas::Outcome::TryLater || outcome == Eas::Outcome::Uncertain;
}

} // namespace

std::optional<int> Retry::nextDelay(const Eas::Result &result)
{
    if (m_attempts >= int(std::size(Pauses::Retries)))
        return std::nullopt;
    if (!isPassing(result.outcome) && result.retryAfter == 0)
        return std::nullopt;
    const int delay = qMax(Pauses::Retries[m_attempts], result.retryAfter * 1000);
    if (delay > Eas::Limits::AwaitedRetryAfter)
        return std::nullopt;
    ++m_attempts;
    return delay;
}

} // namespace Daemon
