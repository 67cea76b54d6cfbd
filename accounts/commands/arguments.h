// SPDX-License-Identifier: LGPL-2.1-or-later
#ifndef ACCOUNTS_ARGUMENTS_H
#define ACCOUNTS_ARGUMENTS_H

#include "accounts/accountdetails.h"

#include <qmailid.h>

#include <QCommandLineParser>

namespace Accounts {

class Console;

/** Options that tell what an account is like, the same for every command that has them. */
void declareDetailOptions(QCommandLineParser &parser);
/** Writes what the options say into `details`; what they do not name stays. */
Outcome readDetailOptions(const QCommandLineParser &parser, AccountDetails *details);

/** The argument that names an account. */
void declareAccountArgument(QCommandLineParser &parser);
Outcome readAccountArgument(const QCommandLineParser &parser, QMailAccountId *id);

/** The password from standard input or from a prompt without echo; `wanted`: it is missing. */
Outcome readPassword(const QCommandLineParser &parser, Console &console, bool wanted,
                     QString *password);

} // namespace Accounts

#endif
