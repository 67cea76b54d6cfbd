// SPDX-License-Identifier: LGPL-2.1-or-later
#ifndef DAEMON_STORE_STATE_ACCOUNTKEYS_H
#define DAEMON_STORE_STATE_ACCOUNTKEYS_H

#include "daemon/store/accountrecord.h"
#include "daemon/store/state/statetable.h"
#include "eas/synckey.h"

namespace Store {

/** What is remembered of an account between two conversations with its server. */
struct AccountState
{
    QString folderSyncKey = Eas::FirstKey;
    QString policyKey; ///< empty: none
};

/** Whether an account is remembered at all, and the keys that are the whole account's. */
class AccountKeys : public StateTable
{
public:
    using StateTable::StateTable;

    /**
     * Must come before anything is saved for the account: forgets what is remembered of it if that
     * belongs to another user or server, or to a folder that is not in the mail store any more.
     */
    Eas::Result open(const AccountRecord &record);
    /** Forgets the account, in all tables; nothing of it can be saved until it is opened again. */
    Eas::Result remove();
    /** Forgets every account that the mail store does not have. */
    static Eas::Result removeVanished(SyncStateDb &db);

    AccountState state() const;
    Eas::Result save(const AccountState &state);

    /** Notes that the folder tree was asked for with the account's key and the answer is not here
     * yet, or that none is to come. */
    Eas::Result awaitTree(bool isAwaited = true);
    /** Whether an answer to the account's present key has never been saved. */
    bool isTreeAwaited() const;
    /** The folder tree is saved as an answer told it, which came with that key. */
    Eas::Result saveTree(const QString &folderSyncKey);

private:
    Eas::Result reset();
    Eas::Result forgetVanishedFolders();
};

} // namespace Store

#endif
