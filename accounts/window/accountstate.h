// SPDX-License-Identifier: LGPL-2.1-or-later
#ifndef ACCOUNTS_WINDOW_ACCOUNTSTATE_H
#define ACCOUNTS_WINDOW_ACCOUNTSTATE_H

#include <QCoreApplication>
#include <QString>

namespace Accounts {

struct AccountView;

/** How an account fares, in the few words that fit into a list. */
struct AccountState
{
    Q_DECLARE_TR_FUNCTIONS(Accounts::AccountState)

public:
    enum Kind { Good, Busy, Trouble, Off };

    Kind kind = Good;
    QString text;

    static AccountState of(const AccountView &account);
};

} // namespace Accounts

#endif
