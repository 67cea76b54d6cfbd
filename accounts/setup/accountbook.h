// SPDX-License-Identifier: LGPL-2.1-or-later
#ifndef ACCOUNTS_SETUP_ACCOUNTBOOK_H
#define ACCOUNTS_SETUP_ACCOUNTBOOK_H

#include "accounts/setup/accountdetails.h"

#include <qmailid.h>

namespace Accounts {

/** The ActiveSync accounts of the mail store: read, added, changed and removed. */
class AccountBook
{
public:
    /**
     * Opens the mail store, and makes one that does not exist for its owner alone.
     *
     * Must have succeeded before anything else here is used.
     */
    static Outcome open();

    /** All of our accounts, in the order in which they were added. */
    static QMailAccountIdList accounts();
    /** The account of that name or, where there is none, of that number; invalid: no such one. */
    static QMailAccountId find(const QString &nameOrId);
    /** Whether an account of any service but `except` has that name. */
    static bool isNameTaken(const QString &name, const QMailAccountId &except = QMailAccountId());

    /** Whether an account uses the same mailbox. */
    static bool hasMailbox(const AccountSettings &settings);

    static AccountDetails details(const QMailAccountId &id);
    /** Whether no other program has changed the account since it was as `details` say. */
    static bool isStill(const QMailAccountId &id, const AccountDetails &details);
    /** Saves a new account, whole or not at all, and sets `id`. */
    static Outcome add(const AccountDetails &details, QMailAccountId *id);
    /** Saves what is different from details(id), whole or not at all. */
    static Outcome update(const QMailAccountId &id, const AccountDetails &details);
    /** Removes the account with its mail and its settings. */
    static Outcome remove(const QMailAccountId &id);

    /**
     * Returns once the other processes are told of all changes; to be called before this one ends.
     *
     * QMF holds the news of some changes back for a second, and what Qt has still to write to the
     * bus is lost with the process. A message server that was not told goes on with the old
     * settings.
     */
    static void announce();

private:
    static Outcome refuseName(const AccountDetails &details, const QMailAccountId &except);
};

} // namespace Accounts

#endif
