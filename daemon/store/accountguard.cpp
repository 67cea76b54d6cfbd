// SPDX-License-Identifier: LGPL-2.1-or-later
#include "daemon/store/accountguard.h"

#include "daemon/store/storefailure.h"
#include "translations/text.h"

#include <qmailstore.h>

namespace Store {

Eas::Result AccountGuard::check(const QMailAccountId &account)
{
    const QMailAccountKey enabled = QMailAccountKey::id(account)
        & QMailAccountKey::status(QMailAccount::Enabled, QMailDataComparator::Includes);
    if (QMailStore::instance()->countAccounts(enabled) > 0)
        return {};
    if (QMailStore::instance()->lastError() != QMailStore::NoError)
        return storeFailure(FailureText::english("cannot read the accounts"));
    return {Eas::Cancelled, FailureText::english("the account was removed or disabled")};
}

} // namespace Store
