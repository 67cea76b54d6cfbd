// SPDX-License-Identifier: LGPL-2.1-or-later
#ifndef DAEMON_TASKS_STOREPROBE_H
#define DAEMON_TASKS_STOREPROBE_H

namespace Daemon {

/**
 * Tells whether the mail store takes a write now.
 *
 * The store itself waits for another process's transaction without end and without the event loop,
 * so it is asked before each write. In the main thread only.
 */
class StoreProbe
{
public:
    /** True also where the store's database cannot be asked: the write then tells. */
    static bool isWritable();

private:
    StoreProbe() = delete;
};

} // namespace Daemon

#endif
