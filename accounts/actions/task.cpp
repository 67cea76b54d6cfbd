// SPDX-License-Identifier: LGPL-2.1-or-later
#include "accounts/actions/task.h"

#include <utility>

namespace Accounts {

void Task::end(const Outcome &outcome)
{
    if (std::exchange(m_over, true))
        return;
    m_outcome = outcome;
    // Whoever brought the end may be in the middle of telling of it.
    QMetaObject::invokeMethod(this, &Task::finished, Qt::QueuedConnection);
}

} // namespace Accounts
