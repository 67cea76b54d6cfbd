// SPDX-License-Identifier: LGPL-2.1-or-later
#include "accounts/window/statuspane.h"

#include "accounts/status/statusview.h"

namespace Accounts {

StatusPane::StatusPane(QWidget *parent)
    : QLabel(parent)
{
    setObjectName(QStringLiteral("accountStatus"));
    setWordWrap(true);
    setTextFormat(Qt::PlainText);
    setTextInteractionFlags(Qt::TextSelectableByMouse);
    hide();
}

void StatusPane::tell(const AccountView &account)
{
    QStringList lines = account.problems();
    const QList<StatusRow> rows = rowsOf(account);
    for (const StatusRow &row : rows)
        lines += QStringLiteral("%1: %2").arg(row.label, row.value);
    setText(lines.join(QLatin1Char('\n')));
    setAccessibleName(text());
    show();
}

void StatusPane::retract()
{
    clear();
    hide();
}

} // namespace Accounts
