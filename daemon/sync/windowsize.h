// SPDX-License-Identifier: LGPL-2.1-or-later
#ifndef DAEMON_SYNC_WINDOWSIZE_H
#define DAEMON_SYNC_WINDOWSIZE_H

#include <QtGlobal>

namespace Daemon {

/**
 * How many items a window is asked for, so that fetching and writing it takes about a second.
 *
 * A window is not interrupted: as long as it takes, a person who wants a message meanwhile waits.
 */
class WindowSize
{
public:
    static constexpr int First = 25;
    static constexpr int Least = 5;
    static constexpr int Most = 100;
    static constexpr int TargetMs = 1000;

    int value() const { return m_value; }

    void took(int items, qint64 milliseconds)
    {
        if (items < m_value && milliseconds < TargetMs)
            return; // too few to tell
        const qint64 fitting = qint64(items) * TargetMs / qMax(qint64(1), milliseconds);
        // Growing slowly, shrinking at once.
        m_value = int(qBound(qint64(Least), qMin(fitting, qint64(2 * m_value)), qint64(Most)));
    }

private:
    int m_value = First;
};

} // namespace Daemon

#endif
