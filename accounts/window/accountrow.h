// SPDX-License-Identifier: LGPL-2.1-or-later
#ifndef ACCOUNTS_WINDOW_ACCOUNTROW_H
#define ACCOUNTS_WINDOW_ACCOUNTROW_H

#include <QStyledItemDelegate>

namespace Accounts {

/** Draws an account in the list: its name, and beneath it how it fares. */
class AccountRow : public QStyledItemDelegate
{
    Q_OBJECT

public:
    /** How the account fares; empty where there is none. */
    static constexpr int StateRole = Qt::UserRole + 1;

    using QStyledItemDelegate::QStyledItemDelegate;

protected:
    void initStyleOption(QStyleOptionViewItem *option, const QModelIndex &index) const override;
};

} // namespace Accounts

#endif
