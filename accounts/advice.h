// SPDX-License-Identifier: LGPL-2.1-or-later
#ifndef ACCOUNTS_ADVICE_H
#define ACCOUNTS_ADVICE_H

#include "accounts/outcome.h"
#include "eas/result.h"
#include "plugin/settings/accountsettings.h"

#include <qmailserviceaction.h>

namespace Accounts {

/** What the server's answer means for the person who has entered these settings. */
Outcome adviceFor(const Eas::Result &result, const AccountSettings &settings);

/** What the daemon tells of an account's last work that failed. */
Outcome adviceForLastError(const Eas::Result &error, const AccountSettings &settings);

/** What the end of an action of the message server means. */
Outcome adviceFor(const QMailServiceAction::Status &status, const AccountSettings &settings);

} // namespace Accounts

#endif
