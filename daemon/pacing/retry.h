// SPDX-License-Identifier: LGPL-2.1-or-later
#ifndef DAEMON_PACING_RETRY_H
#define DAEMON_PACING_RETRY_H

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
    /** Milliseconds until the next attempt; nothing when there should be none: a person is told
     * instead of waiting for long. */
    std::optional<int> nextDelay(const Eas::Result &result);
    /** After a success, the attempts are counted from 0 again. */
    void reset() { m_attempts = 0; }

private:
    int m_attempts = 0;
};

} // namespace Daemon

#endif
