// SPDX-License-Identifier: LGPL-2.1-or-later
#ifndef ACCOUNTS_COMMANDS_ADDCOMMAND_H
#define ACCOUNTS_COMMANDS_ADDCOMMAND_H

#include "accounts/commands/command.h"
#include "accounts/setup/accountdetails.h"
#include "eas/result.h"

#include <qmailid.h>
#include <QStringList>

namespace Accounts {

/** Sets an account up: asks for what is missing, finds the server, tries the login, saves. */
class AddCommand : public Command
{
public:
    Manual::Command manual() const override;
    Outcome run(const QCommandLineParser &parser, Console &console) override;

private:
    Outcome complete(const QCommandLineParser &parser, Console &console);
    Outcome askAddress(Console &console);
    Outcome setUp(const QCommandLineParser &parser, Console &console);
    Outcome findServer(const QCommandLineParser &parser, Console &console);
    Outcome searchFailure(const Eas::Result &result);
    Outcome tryLogin(const QCommandLineParser &parser, Console &console);
    bool askAgain(Console &console, const QString &setting);
    bool askPassword(Console &console);
    bool askServer(Console &console);
    QString bringMail(const QCommandLineParser &parser, Console &console, const QMailAccountId &id);
    Outcome report(const QCommandLineParser &parser, Console &console, const QMailAccountId &id);

    AccountDetails m_details;
    /** Whether there is a person who answers. */
    bool m_mayAsk = false;
    /** The search for the server ended once with a login that was refused. */
    bool m_searchRefused = false;
    /** Folders that the server told of while the login was tried. */
    QStringList m_serverFolders;
};

} // namespace Accounts

#endif
