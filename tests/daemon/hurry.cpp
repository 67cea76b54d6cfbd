// SPDX-License-Identifier: LGPL-2.1-or-later
//
// Makes the daemon that this is linked into hurry: for tests of what it does after a pause. How
// long the pauses are is tested in driven time.
#include "tests/daemon/hurry.h"

#include "daemon/pacing/alarm.h"

namespace {

[[maybe_unused]] const bool IsHurried = [] {
    Daemon::Alarm::hurry(HurriedParts);
    return true;
}();

} // namespace
