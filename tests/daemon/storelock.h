// SPDX-License-Identifier: LGPL-2.1-or-later
#ifndef TESTS_DAEMON_STORELOCK_H
#define TESTS_DAEMON_STORELOCK_H

/** Holds the mail store's database locked, as another process in a long transaction does. */
class StoreLock
{
public:
    StoreLock();
    ~StoreLock();
    StoreLock(const StoreLock &) = delete;
    StoreLock &operator=(const StoreLock &) = delete;

    bool isHeld() const { return m_isHeld; }
    void release();

private:
    bool m_isHeld = false;
};

#endif
