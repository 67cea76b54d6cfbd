// SPDX-License-Identifier: LGPL-2.1-or-later
#ifndef ACCOUNTS_STOREFILES_H
#define ACCOUNTS_STOREFILES_H

#include "accounts/outcome.h"

namespace Accounts {

/**
 * Makes the mail store's folder if it is not there, and lets nobody but its owner into it: the
 * passwords in it are only encoded, not encrypted.
 *
 * From then on, everything that this process makes is its owner's alone.
 */
Outcome prepareStoreFolder(const QString &folder);

/**
 * Overwrites in the mail store's files what was deleted from it, a password for one.
 *
 * SQLite does so once its journal is merged into the database, which the message server's own
 * connection may put off for as long as it runs. Where another process is busy with the store, it
 * is put off again.
 */
void eraseDeletedRows();

} // namespace Accounts

#endif
