// SPDX-License-Identifier: LGPL-2.1-or-later
#ifndef ACCOUNTS_STATUS_PARTVERSIONS_H
#define ACCOUNTS_STATUS_PARTVERSIONS_H

#include <QStringList>

namespace Accounts {

/** The versions of all that has to do with the mail of this system's accounts, a line each. */
QStringList partVersions();

} // namespace Accounts

#endif
