// SPDX-License-Identifier: LGPL-2.1-or-later
#include "daemon/backoff.h"

#include <algorithm>

namespace Daemon {

namespace {

/** A server may ask for more, but not for ever. */
constexpr int MostRetryAfter = 24 * 3600;

} // namespace

int Backoff::pauseMs(int failures, double share, int retryAfter)
{
    const int doublings = std::clamp(failures - 1, 0, 10);
    const int longest = std::min(FirstMs << doublings, LongestMs);
    const int spread = longest / 2 + int(longest / 2 * share);
    return std::max(spread, std::min(retryAfter, MostRetryAfter) * 1000);
}

} // namespace Daemon
