// SPDX-License-Identifier: LGPL-2.1-or-later
#ifndef DAEMON_PACING_ADAPTIVESIZE_H
#define DAEMON_PACING_ADAPTIVESIZE_H

#include <QtGlobal>

namespace Daemon {

/** How many things to do at once, so that it takes about a given time on this machine. */
class AdaptiveSize
{
public:
    struct Range
    {
        int first;
        int minimum;
        int maximum;
        int targetMs; ///< that it is to take
    };

    explicit AdaptiveSize(const Range &range)
        : m_range(range)
        , m_value(range.first)
    {
    }

    int value() const { return m_value; }

    /** So many things were done in so long a time. */
    void adapt(int count, qint64 milliseconds)
    {
        if (count < m_value && milliseconds < m_range.targetMs)
            return; // too few to tell
        const qint64 fitting = qint64(count) * m_range.targetMs / qMax(qint64(1), milliseconds);
        // Growing slowly, shrinking at once.
        m_value = int(qBound(qint64(m_range.minimum), qMin(fitting, qint64(2 * m_value)),
                             qint64(m_range.maximum)));
    }

private:
    const Range m_range;
    int m_value;
};

} // namespace Daemon

#endif
