// SPDX-License-Identifier: LGPL-2.1-or-later
#include "daemon/pacing/backoff.h"

#include "eas/result.h"

#include <QRandomGenerator>

#include <algorithm>

namespace Daemon {

int Backoff::pauseMs(int failures, int retryAfter, double share) const
{
    const int doublings = std::clamp(failures - 1, 0, 10);
    const int pause = int(std::min(qint64(firstMs) << doublings, qint64(maximumMs)));
    const int spread = pause / 2 + int(pause / 2 * share);
    return std::max(spread, retryAfter * 1000);
}

bool Backoff::isGrave(int code)
{
    return code == Eas::BadConfiguration || code == Eas::Forbidden || code == Eas::NotActiveSync
        || code == Eas::PolicyDemanded;
}

bool Backoff::isFinal(int code)
{
    return code == Eas::LoginRefused;
}

double Backoff::anyShare()
{
    return QRandomGenerator::global()->generateDouble();
}

} // namespace Daemon
