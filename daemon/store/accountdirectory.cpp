// SPDX-License-Identifier: LGPL-2.1-or-later
#include "daemon/store/accountdirectory.h"

#include <qmailstore.h>

namespace Store {

AccountDirectory::AccountDirectory(QObject *parent)
    : QObject(parent)
{
    QMailStore *store = QMailStore::instance();
    connect(store, &QMailStore::accountsAdded, this, &AccountDirectory::rescan);
    connect(store, &QMailStore::accountsUpdated, this, &AccountDirectory::rescan);
    connect(store, &QMailStore::accountsRemoved, this, &AccountDirectory::forget);
    rescan();
}

std::optional<AccountRecord> AccountDirectory::account(const QMailAccountId &id) const
{
    const auto found = m_accounts.constFind(id);
    return found == m_accounts.constEnd() ? std::nullopt : std::make_optional(*found);
}

/** All of them: a process that ends at once after a change may lose the notification of it. */
void AccountDirectory::rescan()
{
    const QMailAccountIdList present = QMailStore::instance()->queryAccounts();
    // A store that cannot be read just now has not lost its accounts.
    if (QMailStore::instance()->lastError() != QMailStore::NoError)
        return;
    for (const QMailAccountId &id : m_accounts.keys()) {
        if (!present.contains(id))
            drop(id);
    }
    for (const QMailAccountId &id : present)
        refresh(id);
}

void AccountDirectory::refresh(const QMailAccountId &id)
{
    const std::optional<AccountRecord> read = AccountRecord::tryRead(id);
    if (!read)
        return;
    const AccountRecord record = *read;
    const std::optional<AccountRecord> before = account(id);
    if (!record.id.isValid()) {
        if (m_accounts.remove(id))
            emit removed(id);
        return;
    }
    m_accounts.insert(id, record);
    if (!before)
        emit added(record);
    else if (*before != record)
        emit changed(record);
}

void AccountDirectory::forget(const QMailAccountIdList &ids)
{
    for (const QMailAccountId &id : ids)
        drop(id);
    rescan();
}

void AccountDirectory::drop(const QMailAccountId &id)
{
    if (m_accounts.remove(id))
        emit removed(id);
    emit deleted(id);
}

} // namespace Store
