// SPDX-License-Identifier: LGPL-2.1-or-later
//
// Makes the daemon that this is linked into hurry: for tests of what it does after the pauses of a
// synchronisation. How long these are is tested in driven time.
#include "daemon/tasks/alarm.h"

namespace {

constexpr int Parts = 50;

[[maybe_unused]] const bool isHurried = [] {
    Daemon::Alarm::hurry(Parts);
    return true;
}();

} // namespace
