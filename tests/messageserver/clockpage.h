// SPDX-License-Identifier: LGPL-2.1-or-later
#ifndef TESTS_MESSAGESERVER_CLOCKPAGE_H
#define TESTS_MESSAGESERVER_CLOCKPAGE_H

#include <atomic>
#include <cstdint>

/** What a test and the process whose clocks it sets share, at the beginning of a mapped file. */
struct ClockPage
{
    static constexpr char Variable[] = "ORVMAIL_TEST_CLOCK";

    /** Where the time of day stands, in milliseconds since the epoch; 0 lets it run. */
    std::atomic<int64_t> timeOfDayMs;
    /** How far the clock of timers is ahead of the system's, in milliseconds. */
    std::atomic<int64_t> timersAheadMs;
};

static_assert(std::atomic<int64_t>::is_always_lock_free, "it is shared between processes");

#endif
