// SPDX-License-Identifier: LGPL-2.1-or-later
#ifndef DAEMON_STORE_STOREPROBE_H
#define DAEMON_STORE_STOREPROBE_H

namespace Daemon {

/**
 * Tells whether the mail store takes a write now.
 *
 * The store itself waits for another process's transaction without end and without the event loop,
 * so it is asked before each write. Asking takes no lock: a mail program that finds the store
 * locked in the middle of a removal tries again, reports success and has removed nothing.
 */
class StoreProbe
{
public:
    /** True also where that cannot be found out: the write then shows it. */
    static bool isWritable();

private:
    StoreProbe() = delete;
};

} // namespace Daemon

#endif
