// SPDX-License-Identifier: LGPL-2.1-or-later
#ifndef ACCOUNTS_WINDOW_ACCOUNTLIST_H
#define ACCOUNTS_WINDOW_ACCOUNTLIST_H

#include "accounts/status/statusview.h"

#include <QListWidget>
#include <qmailid.h>

namespace Accounts {

/** A row for a new account, and one for each that there is, with how it fares. */
class AccountList : public QListWidget
{
    Q_OBJECT

public:
    explicit AccountList(QWidget *parent = nullptr);

    /** Brings the rows up to date. What is chosen stays chosen, or becomes the new account. */
    void setAccounts(const QList<AccountView> &accounts);
    /** Marks the row without telling of it; one that is gone leaves the row of a new account. */
    void select(const QMailAccountId &id);
    /** Invalid: the new account. */
    QMailAccountId chosen() const;

private:
    QMailAccountIdList ids() const;
    void rebuild(const QList<AccountView> &accounts);
    void showState(QListWidgetItem *item, const AccountView &account);
};

} // namespace Accounts

#endif
