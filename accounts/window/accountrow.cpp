// SPDX-License-Identifier: LGPL-2.1-or-later
#include "accounts/window/accountrow.h"

namespace Accounts {

void AccountRow::initStyleOption(QStyleOptionViewItem *option, const QModelIndex &index) const
{
    QStyledItemDelegate::initStyleOption(option, index);
    const QString state = index.data(StateRole).toString();
    if (!state.isEmpty())
        option->text += QChar(QChar::LineSeparator) + state;
}

} // namespace Accounts
