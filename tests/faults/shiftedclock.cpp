// SPDX-License-Identifier: LGPL-2.1-or-later
//
// A clock that is set forward and back: the wall clock of the program that this library is
// preloaded into goes wrong by as many seconds as the file FAULTS_CLOCK says, at any moment. The
// monotonic clock is left alone, as it is when somebody sets a real one. With FAULTS_ASLEEP, so
// many seconds have gone by while the machine slept: the clock that goes on meanwhile tells so,
// too.
#include <cstdlib>
#include <ctime>
#include <dlfcn.h>
#include <fcntl.h>
#include <sys/mman.h>
#include <sys/time.h>
#include <unistd.h>

namespace {

/** The file's one number, which follows what others write into it. */
const volatile long *shiftInFile()
{
    static const long none = 0;
    const char *name = std::getenv("FAULTS_CLOCK");
    const int file = name ? ::open(name, O_RDONLY | O_CLOEXEC) : -1;
    if (file < 0)
        return &none;
    void *map = ::mmap(nullptr, sizeof(long), PROT_READ, MAP_SHARED, file, 0);
    ::close(file);
    return map == MAP_FAILED ? &none : static_cast<const volatile long *>(map);
}

long shift()
{
    static const volatile long *const seconds = shiftInFile();
    return *seconds;
}

bool isShifted(clockid_t id)
{
    static const bool hasSlept = std::getenv("FAULTS_ASLEEP") != nullptr;
    return id == CLOCK_REALTIME || id == CLOCK_REALTIME_COARSE
        || (hasSlept && id == CLOCK_BOOTTIME);
}

} // namespace

extern "C" {

__attribute__((visibility("default"))) int clock_gettime(clockid_t id, timespec *time) noexcept
{
    static const auto real =
        reinterpret_cast<int (*)(clockid_t, timespec *)>(dlsym(RTLD_NEXT, "clock_gettime"));
    const int result = real(id, time);
    if (result == 0 && isShifted(id))
        time->tv_sec += shift();
    return result;
}

__attribute__((visibility("default"))) int gettimeofday(timeval *time, void *zone) noexcept
{
    static const auto real =
        reinterpret_cast<int (*)(timeval *, void *)>(dlsym(RTLD_NEXT, "gettimeofday"));
    const int result = real(time, zone);
    if (result == 0)
        time->tv_sec += shift();
    return result;
}

__attribute__((visibility("default"))) time_t time(time_t *result) noexcept
{
    timespec now = {};
    clock_gettime(CLOCK_REALTIME, &now);
    if (result)
        *result = now.tv_sec;
    return now.tv_sec;
}
}
