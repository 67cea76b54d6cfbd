// SPDX-License-Identifier: LGPL-2.1-or-later
#ifndef ACCOUNTS_TYPEDNAME_H
#define ACCOUNTS_TYPEDNAME_H

#include <qmailid.h>
#include <QString>

namespace Accounts {

/** The account as one types it behind a command in a shell: its name, within quotes if need be, or
 * its number where that is still not to be typed. */
QString typedName(const QString &name, const QMailAccountId &id);

} // namespace Accounts

#endif
