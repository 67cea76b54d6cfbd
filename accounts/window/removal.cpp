// SPDX-License-Identifier: LGPL-2.1-or-later
#include "accounts/window/removal.h"

#include "accounts/losses.h"
#include "accounts/status/statusview.h"

#include <QMessageBox>
#include <QPushButton>

namespace Accounts {

bool Removal::isWanted(const QMailAccountId &account, QWidget *parent)
{
    const AccountView view = AccountView::of(account);
    QMessageBox question(
        QMessageBox::Question, parent->windowTitle(),
        tr("Remove \"%1\" with all its mail from this machine?").arg(view.details.name),
        QMessageBox::Yes | QMessageBox::No, parent);
    question.setTextFormat(Qt::PlainText);
    question.setInformativeText(lossesOf(view).join(QLatin1Char('\n')));
    question.button(QMessageBox::Yes)->setText(tr("&Remove"));
    question.button(QMessageBox::No)->setText(tr("&Keep"));
    question.setDefaultButton(QMessageBox::No);
    return question.exec() == QMessageBox::Yes;
}

} // namespace Accounts
