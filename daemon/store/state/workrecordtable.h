// SPDX-License-Identifier: LGPL-2.1-or-later
#ifndef DAEMON_STORE_STATE_WORKRECORDTABLE_H
#define DAEMON_STORE_STATE_WORKRECORDTABLE_H

#include "asclient/accountstatus.h"
#include "daemon/store/state/statetable.h"

namespace Store {

/** How an account's work has ended last, so that a person can be told when no daemon runs. */
class WorkRecordTable : public StateTable
{
public:
    using StateTable::StateTable;

    /** Puts what is remembered into the status; the rest of that stays. */
    void read(Activesync::AccountStatus *status) const;
    /** Remembers the ends of the work, and nothing else of the status. */
    Eas::Result save(const Activesync::AccountStatus &status);
};

} // namespace Store

#endif
