// SPDX-License-Identifier: LGPL-2.1-or-later
//
// Counts how often the programs that this library is preloaded into have something flushed to disk,
// in the one number of the file BENCH_SYNCS, which they share.
#include <atomic>
#include <cstdlib>
#include <dlfcn.h>
#include <fcntl.h>
#include <sys/mman.h>
#include <unistd.h>

namespace {

using Counter = std::atomic<long>;
static_assert(Counter::is_always_lock_free && sizeof(Counter) == sizeof(long));

Counter *counterInFile()
{
    static Counter none;
    const char *name = std::getenv("BENCH_SYNCS");
    const int file = name ? ::open(name, O_RDWR | O_CLOEXEC) : -1;
    if (file < 0)
        return &none;
    void *map = ::mmap(nullptr, sizeof(Counter), PROT_READ | PROT_WRITE, MAP_SHARED, file, 0);
    ::close(file);
    return map == MAP_FAILED ? &none : static_cast<Counter *>(map);
}

void count()
{
    static Counter *const counter = counterInFile();
    ++*counter;
}

template <typename Function>
Function real(const char *name)
{
    return reinterpret_cast<Function>(dlsym(RTLD_NEXT, name));
}

} // namespace

extern "C" {

__attribute__((visibility("default"))) int fsync(int fd)
{
    static const auto next = real<int (*)(int)>("fsync");
    count();
    return next(fd);
}

__attribute__((visibility("default"))) int fdatasync(int fildes)
{
    static const auto next = real<int (*)(int)>("fdatasync");
    count();
    return next(fildes);
}

__attribute__((visibility("default"))) void sync() noexcept
{
    static const auto next = real<void (*)()>("sync");
    count();
    next();
}

__attribute__((visibility("default"))) int syncfs(int fd) noexcept
{
    static const auto next = real<int (*)(int)>("syncfs");
    count();
    return next(fd);
}
}
