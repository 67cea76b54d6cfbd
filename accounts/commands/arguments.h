// SPDX-License-Identifier: LGPL-2.1-or-later
#ifndef ACCOUNTS_COMMANDS_ARGUMENTS_H
#define ACCOUNTS_COMMANDS_ARGUMENTS_H

#include "accounts/accountdetails.h"

#include <qmailid.h>

#include <QCommandLineParser>

namespace Accounts {

class Console;
class LoginCheck;
class Synchronisation;

/** Options that tell what an account is like, the same for every command that has them. */
void declareDetailOptions(QCommandLineParser &parser);
/** Writes what the options say into `details`; what they do not name stays. */
Outcome readDetailOptions(const QCommandLineParser &parser, AccountDetails *details);

/** Takes off the server's name the port that stands behind it; empty where none does. */
QString takePort(QString *server);

/** The argument that names an account. */
void declareAccountArgument(QCommandLineParser &parser);
Outcome readAccountArgument(const QCommandLineParser &parser, QMailAccountId *id);

/** The option for how long a server is waited for, and its milliseconds. */
void declareTimeOption(QCommandLineParser &parser);
Outcome readTimeOption(const QCommandLineParser &parser, int *milliseconds);

/** Tries the login, while the terminal shows that it waits and an interrupt ends it. */
Outcome runCheck(LoginCheck &check, const QCommandLineParser &parser, Console &console,
                 const AccountSettings &settings);

/** Runs it with a bar on the terminal; an interrupt cancels it. */
void runSynchronisation(Synchronisation &synchronisation, Console &console, const QString &title);

/** The password from standard input or from a prompt without echo; `wanted`: it is missing. */
Outcome readPassword(const QCommandLineParser &parser, Console &console, bool wanted,
                     QString *password);

} // namespace Accounts

#endif
