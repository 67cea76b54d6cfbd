// SPDX-License-Identifier: LGPL-2.1-or-later
//
// Loaded before the libraries of a program whose clocks a test sets: its time of day and its clock
// of timers are what the page in the file that ORVMAIL_TEST_CLOCK names makes of the system's.

#include "tests/messageserver/clockpage.h"

#include <fcntl.h>
#include <stdlib.h>
#include <sys/mman.h>
#include <sys/syscall.h>
#include <sys/time.h>
#include <time.h>
#include <unistd.h>

namespace {

const ClockPage *page = nullptr;

__attribute__((constructor)) void mapPage()
{
    const char *path = getenv(ClockPage::Variable);
    const int file = path ? open(path, O_RDONLY | O_CLOEXEC) : -1;
    if (file < 0)
        return;
    void *memory = mmap(nullptr, sizeof(ClockPage), PROT_READ, MAP_SHARED, file, 0);
    close(file);
    if (memory != MAP_FAILED)
        page = static_cast<const ClockPage *>(memory);
}

void putForward(timespec &time, int64_t ms)
{
    const int64_t ns = time.tv_nsec + ms % 1000 * 1000000;
    time.tv_sec += ms / 1000 + ns / 1000000000;
    time.tv_nsec = ns % 1000000000;
}

} // namespace

#define EXPORTED extern "C" __attribute__((visibility("default")))

EXPORTED int clock_gettime(clockid_t clock, timespec *time) noexcept
{
    // The system call itself: this may be asked before any library is ready.
    const long result = syscall(SYS_clock_gettime, clock, time);
    if (result != 0 || !page)
        return int(result);
    const int64_t timeOfDay = page->timeOfDayMs.load();
    if (clock == CLOCK_REALTIME && timeOfDay != 0)
        *time = {time_t(timeOfDay / 1000), long(timeOfDay % 1000 * 1000000)};
    else if (clock == CLOCK_MONOTONIC)
        putForward(*time, page->timersAheadMs.load());
    return 0;
}

EXPORTED int gettimeofday(timeval *time, void *) noexcept
{
    timespec now;
    const int result = clock_gettime(CLOCK_REALTIME, &now);
    *time = {now.tv_sec, now.tv_nsec / 1000};
    return result;
}
