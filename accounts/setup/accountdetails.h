// SPDX-License-Identifier: LGPL-2.1-or-later
#ifndef ACCOUNTS_SETUP_ACCOUNTDETAILS_H
#define ACCOUNTS_SETUP_ACCOUNTDETAILS_H

#include "accounts/outcome.h"
#include "plugin/settings/accountsettings.h"

#include <qmailid.h>

namespace Accounts {

/** Everything that a person decides about one account. */
struct AccountDetails
{
    QString name;     ///< what the person calls the account; unique
    QString fullName; ///< goes with the address into the mails that are sent; may be empty
    AccountSettings settings;
    bool enabled = true;
    bool push = false;
    /** How many days back mail is kept here; 0: all of it. */
    int keepDays = 30;
    /** Tell by notifications of the desktop when the account needs the person. */
    bool notifications = true;
    /** Its server had its mail and its password removed from here. */
    bool wiped = false;

    bool operator==(const AccountDetails &other) const;
    bool operator!=(const AccountDetails &other) const { return !(*this == other); }
};

/** Whether the text can be a mail address. */
bool isMailAddress(const QString &text);

/** What to say of an account that was wiped, and what to do. */
Outcome wipedOutcome(const AccountDetails &details, const QMailAccountId &id);
/** The same of one that is not enabled. */
Outcome notEnabledOutcome(const AccountDetails &details, const QMailAccountId &id);

/** Done, or what is wrong with the settings as such; asks neither the server nor the store. */
Outcome checkDetails(const AccountDetails &details);
/** The same before the server is searched, which gets the login. */
Outcome checkSearchDetails(AccountDetails details);

} // namespace Accounts

#endif
