// SPDX-License-Identifier: LGPL-2.1-or-later
#ifndef DAEMON_TASKS_ACCOUNTCONTEXT_H
#define DAEMON_TASKS_ACCOUNTCONTEXT_H

#include "daemon/store/accountrecord.h"
#include "eas/session.h"

namespace Store {
class AccountKeys;
class FolderKeys;
class SyncStateDb;
class UnconfirmedMessages;
}

namespace Daemon {

class WorkReport;

/** What an account's work needs of its account; the worker owns the session and outlives the work.
 */
struct AccountContext
{
    Store::AccountRecord record;
    Eas::Session *session = nullptr;
    Store::SyncStateDb *db = nullptr;
    WorkReport *report = nullptr;

    QMailAccountId id() const { return record.id; }

    /** The account's tables of the database; their users include the headers. */
    Store::AccountKeys keys() const;
    Store::FolderKeys folders() const;
    Store::UnconfirmedMessages unconfirmed() const;
};

} // namespace Daemon

#endif
