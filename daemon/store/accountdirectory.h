// SPDX-License-Identifier: LGPL-2.1-or-later
#ifndef DAEMON_STORE_ACCOUNTDIRECTORY_H
#define DAEMON_STORE_ACCOUNTDIRECTORY_H

#include "daemon/store/accountrecord.h"

#include <QList>
#include <QMap>
#include <QObject>

#include <optional>

namespace Store {

/**
 * The enabled accounts of the mail store that have a service configuration "orvmail".
 *
 * Follows what this and other processes do to the accounts in the store; a change that leaves
 * the record equal is not reported.
 */
class AccountDirectory : public QObject
{
    Q_OBJECT
public:
    explicit AccountDirectory(QObject *parent = nullptr);

    QList<AccountRecord> accounts() const { return m_accounts.values(); }
    std::optional<AccountRecord> account(const QMailAccountId &id) const;

signals:
    void added(const Store::AccountRecord &account);
    void changed(const Store::AccountRecord &account);
    /** Not to be served any more: removed from the store, disabled, or of another service now. */
    void removed(const QMailAccountId &id);
    /** Gone from the mail store altogether; comes after removed(). */
    void deleted(const QMailAccountId &id);

private:
    void rescan();
    void refresh(const QMailAccountId &id);
    void forget(const QMailAccountIdList &ids);
    void drop(const QMailAccountId &id);

    QMap<QMailAccountId, AccountRecord> m_accounts;
};

} // namespace Store

#endif
