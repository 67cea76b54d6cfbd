// SPDX-License-Identifier: LGPL-2.1-or-later
#ifndef DAEMON_STORE_ACCOUNTWIPE_H
#define DAEMON_STORE_ACCOUNTWIPE_H

#include "daemon/store/state/accountkeys.h"
#include "daemon/store/storejob.h"

#include <qmailid.h>

namespace Store {

/**
 * Removes all that is here of an account's mail: messages (those to be sent, too), folders, records
 * of deletions, and what is remembered of the server.
 *
 * The account itself stays, enabled and with its password, until the server was told; forget() then
 * disables it.
 */
class AccountWipe : public StoreJob
{
public:
    /** The database must outlive it. */
    AccountWipe(SyncStateDb &db, const QMailAccountId &account);

    bool step() override;
    int progress() const override { return 0; }

    /** Removes the password, disables the account, and notes in its configuration that it was
     * wiped. */
    static Eas::Result forget(const QMailAccountId &id);

private:
    Eas::Result removeTheRest();

    const QMailAccountId m_account;
    AccountKeys m_keys;
};

} // namespace Store

#endif
