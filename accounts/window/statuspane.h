// SPDX-License-Identifier: LGPL-2.1-or-later
#ifndef ACCOUNTS_WINDOW_STATUSPANE_H
#define ACCOUNTS_WINDOW_STATUSPANE_H

#include <QLabel>

namespace Accounts {

struct AccountView;

/** Tells how one account fares, as "orvmail-account status" does. */
class StatusPane : public QLabel
{
    Q_OBJECT

public:
    explicit StatusPane(QWidget *parent = nullptr);

    void tell(const AccountView &account);
    /** There is no account, and nothing is told. */
    void retract();
};

} // namespace Accounts

#endif
