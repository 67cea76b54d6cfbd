// SPDX-License-Identifier: LGPL-2.1-or-later
#ifndef DAEMON_STORE_BATCHSIZE_H
#define DAEMON_STORE_BATCHSIZE_H

#include <QtGlobal>

namespace Store {

/** Keeps steps near a given duration: a message costs more in a bigger store and a slower machine.
 */
class BatchSize
{
public:
    int value() const { return m_value; }

    void took(int count, qint64 milliseconds)
    {
        if (count < m_value && milliseconds < Target)
            return; // too few to tell
        const qint64 fitting = qint64(count) * Target / qMax(qint64(1), milliseconds);
        // Growing slowly, shrinking at once.
        m_value = int(qBound(qint64(Least), qMin(fitting, qint64(2 * m_value)), qint64(Most)));
    }

private:
    static constexpr int Target = 50; ///< milliseconds
    static constexpr int Least = 4;
    static constexpr int Most = 128;

    int m_value = 24;
};

} // namespace Store

#endif
