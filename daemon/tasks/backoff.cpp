// SPDX-License-Identifier: LGPL-2.1-or-later
#include "daemon/tasks/backoff.h"

#include "eas/result.h"

#include <QtGlobal>

#include <algorithm>

namespace Daemon {

namespace {

/** A server may ask for more, but not for ever. */
constexpr int MaximumRetryAfter = 24 * 3600;

} // namespace

int Backoff::pauseMs(int failures, double share, int retryAfter)
{
    return spread(FirstMs, MaximumMs, failures, share, retryAfter);
}

bool Backoff::isGrave(int code)
{
    return code == Eas::BadConfiguration || code == Eas::Forbidden || code == Eas::NotActiveSync
        || code == Eas::PolicyDemanded;
}

int Backoff::gravePauseMs(int failures, double share, int retryAfter)
{
    return spread(FirstGraveMs, MaximumGraveMs, failures, share, retryAfter);
}

int Backoff::spread(int first, int longest, int failures, double share, int retryAfter)
{
    const int doublings = std::clamp(failures - 1, 0, 10);
    const int pause = int(std::min(qint64(first) << doublings, qint64(longest)));
    const int spread = pause / 2 + int(pause / 2 * share);
    return std::max(spread, std::min(retryAfter, MaximumRetryAfter) * 1000);
}

} // namespace Daemon
