// SPDX-License-Identifier: LGPL-2.1-or-later
#include "daemon/store/accountdirectory.h"

#include <qmailstore.h>

namespace Store {

AccountDirectory::AccountDirectory(QObject *parent)
    : QObject(parent)
{
    QMailStore *store = QMailStore::instance();
    connect(store, &QMailStore::accountsAdded, this, &AccountDirectory::refresh);
    connect(store, &QMailStore::accountsUpdated, this, &AccountDirectory::refresh);
    connect(store, &QMailStore::accountsRemoved, this, &AccountDirectory::forget);
    refresh(store->queryAccounts());
}

std::optional<AccountRecord> AccountDirectory::account(const QMailAccountId &id) const
{
    const auto found = m_accounts.constFind(id);
    return found == m_accounts.constEnd() ? std::nullopt : std::make_optional(*found);
}

void AccountDirectory::refresh(const QMailAccountIdList &ids)
{
    for (const QMailAccountId &id : ids) {
        const AccountRecord record = AccountRecord::read(id);
        const std::optional<AccountRecord> before = account(id);
        if (!record.id.isValid()) {
            if (m_accounts.remove(id))
                emit removed(id);
            continue;
        }
        m_accounts.insert(id, record);
        if (!before)
            emit added(record);
        else if (*before != record)
            emit changed(record);
    }
}

void AccountDirectory::forget(const QMailAccountIdList &ids)
{
    for (const QMailAccountId &id : ids) {
        if (m_accounts.remove(id))
            emit removed(id);
        emit deleted(id);
    }
}

} // namespace Store
