// SPDX-License-Identifier: LGPL-2.1-or-later
#ifndef DAEMON_STORE_STOREJOB_H
#define DAEMON_STORE_STOREJOB_H

#include "eas/result.h"

namespace Store {

/**
 * Work on the mail store in steps that are short enough for an event loop (below 100 ms).
 *
 * The owner calls step() from its event loop until it returns false, and then reads result().
 * A job may be dropped between two steps at any time: what it wrote until then is harmless, and
 * the same work can be done again from the start.
 */
class StoreJob
{
public:
    virtual ~StoreJob() = default;

    /** Does a share of the work; true while there is more to do. */
    virtual bool step() = 0;

    /** How it ended; meaningless before step() returned false. */
    Eas::Result result() const { return m_result; }

    /** Done of the work, 0 to 1000. */
    virtual int progress() const = 0;

    /** All steps at once, for those who may block. */
    Eas::Result run()
    {
        while (step()) { }
        return m_result;
    }

protected:
    Eas::Result m_result;
};

} // namespace Store

#endif
