// SPDX-License-Identifier: LGPL-2.1-or-later
#include "daemon/accountcontext.h"

#include <qmailaccount.h>
#include <qmailstore.h>

namespace Daemon {

bool isAccountEnabled(const QMailAccountId &id)
{
    // A query, because the store's own cache may be behind another process.
    return QMailStore::instance()->countAccounts(
               QMailAccountKey::id(id)
               & QMailAccountKey::status(QMailAccount::Enabled, QMailDataComparator::Includes))
        == 1;
}

} // namespace Daemon
