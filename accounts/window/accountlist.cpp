// SPDX-License-Identifier: LGPL-2.1-or-later
#include "accounts/window/accountlist.h"

#include "accounts/window/accountrow.h"
#include "accounts/window/accountstate.h"

#include <QStyle>

namespace Accounts {

namespace {

constexpr int IdRole = Qt::UserRole;

QMailAccountId idOf(const QListWidgetItem *item)
{
    return item ? QMailAccountId(item->data(IdRole).toULongLong()) : QMailAccountId();
}

QStyle::StandardPixmap symbolOf(AccountState::Kind kind)
{
    switch (kind) {
    case AccountState::Good:
        return QStyle::SP_DialogApplyButton;
    case AccountState::Busy:
        return QStyle::SP_BrowserReload;
    case AccountState::Trouble:
        return QStyle::SP_MessageBoxWarning;
    default:
        return QStyle::SP_MessageBoxInformation;
    }
}

} // namespace

AccountList::AccountList(QWidget *parent)
    : QListWidget(parent)
{
    setObjectName(QStringLiteral("accounts"));
    setAccessibleName(tr("Accounts"));
    setItemDelegate(new AccountRow(this));
    setHorizontalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
    rebuild({});
}

QMailAccountId AccountList::chosen() const
{
    return idOf(currentItem());
}

QMailAccountIdList AccountList::ids() const
{
    QMailAccountIdList ids;
    for (int row = 1; row < count(); ++row)
        ids.append(idOf(item(row)));
    return ids;
}

void AccountList::setAccounts(const QList<AccountView> &accounts)
{
    const QSignalBlocker quiet(this);
    QMailAccountIdList wanted;
    for (const AccountView &account : accounts)
        wanted.append(account.id);
    // Rows that stay are left in place: a screen reader may be reading one.
    if (wanted != ids()) {
        const QMailAccountId before = chosen();
        rebuild(accounts);
        select(before);
    }
    for (int i = 0; i < accounts.size(); ++i)
        showState(item(i + 1), accounts.at(i));
}

void AccountList::rebuild(const QList<AccountView> &accounts)
{
    clear();
    // Always one is chosen: a list without takes its first row when it gets the keyboard's focus.
    new QListWidgetItem(tr("(new account)"), this);
    for (const AccountView &account : accounts)
        (new QListWidgetItem(this))->setData(IdRole, account.id.toULongLong());
    setCurrentRow(0);
}

void AccountList::showState(QListWidgetItem *item, const AccountView &account)
{
    const AccountState state = AccountState::of(account);
    item->setText(account.details.name);
    item->setData(AccountRow::StateRole, state.text);
    item->setIcon(style()->standardIcon(symbolOf(state.kind)));
    item->setData(Qt::AccessibleTextRole,
                  QStringLiteral("%1: %2").arg(account.details.name, state.text));
    item->setToolTip(account.details.name);
}

void AccountList::select(const QMailAccountId &id)
{
    const QSignalBlocker quiet(this);
    setCurrentRow(id.isValid() ? ids().indexOf(id) + 1 : 0);
}

} // namespace Accounts
