// SPDX-License-Identifier: LGPL-2.1-or-later
#ifndef ACCOUNTS_COMMANDS_ARGUMENTS_H
#define ACCOUNTS_COMMANDS_ARGUMENTS_H

#include "accounts/setup/accountdetails.h"
#include "manual/manual.h"

#include <QCommandLineParser>
#include <qmailid.h>

namespace Accounts {

class Console;
class LoginCheck;
class Synchronisation;

/** Options that tell what an account is like, the same for every command that has them. */
QList<Manual::Option> detailOptions();
/** Writes what the options say into `details`; what they do not name stays. */
Outcome readDetailOptions(const QCommandLineParser &parser, AccountDetails *details);

/** Takes off the server's name the port that stands behind it; empty where none does. */
QString takePort(QString *server);

/** The account of that name or number, or that there is none. */
Outcome findAccount(const QString &nameOrId, QMailAccountId *id);

/** The option for how long a server is waited for, and its milliseconds. */
Manual::Option timeOption();
Outcome readTimeOption(const QCommandLineParser &parser, int *milliseconds);

/** Tries the login, while the terminal shows that it waits and an interrupt ends it. */
Outcome runCheck(LoginCheck &check, const QCommandLineParser &parser, Console &console,
                 const AccountSettings &settings);

/** Runs it with a bar on the terminal; an interrupt cancels it. */
void runSynchronisation(Synchronisation &synchronisation, Console &console, const QString &title);

/** The password from standard input, from a command or from a prompt without echo; `wanted`: it is
 * missing. */
Outcome readPassword(const QCommandLineParser &parser, Console &console, bool wanted,
                     QString *password);

} // namespace Accounts

#endif
