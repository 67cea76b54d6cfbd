// SPDX-License-Identifier: LGPL-2.1-or-later
#ifndef DAEMON_TASKS_RETRY_H
#define DAEMON_TASKS_RETRY_H

#include "eas/result.h"

#include <optional>

namespace Daemon {

/**
 * How often, and after how long, a request is repeated that the server could not serve just now.
 *
 * Only what the server itself calls passing is repeated; a failed login, a broken connection or a
 * server that asks for a long pause are not.
 */
class Retry
{
public:
    /** A longer pause is not waited for: a person is told instead. */
    static constexpr int MaximumDelayMs = 10000;

    /** Milliseconds until the next attempt; nothing when there should be none. */
    std::optional<int> nextDelay(const Eas::Result &result);
    /** The server has answered well: count anew. */
    void reset() { m_attempts = 0; }

private:
    int m_attempts = 0;
};

} // namespace Daemon

#endif
