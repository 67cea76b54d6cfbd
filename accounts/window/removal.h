// SPDX-License-Identifier: LGPL-2.1-or-later
#ifndef ACCOUNTS_WINDOW_REMOVAL_H
#define ACCOUNTS_WINDOW_REMOVAL_H

#include <QCoreApplication>
#include <qmailid.h>

class QWidget;

namespace Accounts {

/** The removal of an account, of which a person is told what it takes along. */
class Removal
{
    Q_DECLARE_TR_FUNCTIONS(Accounts::Removal)

public:
    /** Whether the person who was told all that wants it; asks above the parent. */
    static bool isWanted(const QMailAccountId &account, QWidget *parent);
};

} // namespace Accounts

#endif
