// SPDX-License-Identifier: LGPL-2.1-or-later
#include "daemon/store/state/workrecordtable.h"

#include <QSqlQuery>
#include <QVariant>

namespace Store {

void WorkRecordTable::read(Activesync::AccountStatus *status) const
{
    const Statement query =
        select(QStringLiteral("SELECT synced_at, sync_code, sync_text, succeeded_at, error_code,"
                              " error_text, login_refused_at, policy_unmet_at"
                              " FROM work_record WHERE account = ?"),
               {accountNumber()});
    if (!query->next())
        return;
    status->syncedAt = query->value(0).toLongLong();
    status->syncCode = query->value(1).toInt();
    status->syncText = query->value(2).toString();
    status->succeededAt = query->value(3).toLongLong();
    status->errorCode = query->value(4).toInt();
    status->errorText = query->value(5).toString();
    status->loginRefusedAt = query->value(6).toLongLong();
    status->policyUnmetAt = query->value(7).toLongLong();
}

Eas::Result WorkRecordTable::save(const Activesync::AccountStatus &status)
{
    return StateTable::save(
        QStringLiteral("INSERT OR REPLACE INTO work_record"
                       " (synced_at, sync_code, sync_text, succeeded_at, error_code, error_text,"
                       " login_refused_at, policy_unmet_at, account)"
                       " SELECT ?, ?, ?, ?, ?, ?, ?, ?, id FROM account WHERE id = ?"),
        {status.syncedAt, status.syncCode, notNull(status.syncText), status.succeededAt,
         status.errorCode, notNull(status.errorText), status.loginRefusedAt, status.policyUnmetAt,
         accountNumber()});
}

} // namespace Store
