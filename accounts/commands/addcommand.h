// SPDX-License-Identifier: LGPL-2.1-or-later
#ifndef ACCOUNTS_ADDCOMMAND_H
#define ACCOUNTS_ADDCOMMAND_H

#include "accounts/commands/command.h"

#include "accounts/accountdetails.h"

#include <qmailid.h>

#include <QStringList>

namespace Accounts {

/** Sets an account up: asks for what is missing, finds the server, tries the login, saves. */
class AddCommand : public Command
{
public:
    QString name() const override { return QStringLiteral("add"); }
    QString summary() const override { return QStringLiteral("set an account up"); }
    int maximumArguments() const override { return 1; }
    void declare(QCommandLineParser &parser) const override;
    Outcome run(const QCommandLineParser &parser, Console &console) override;

private:
    Outcome complete(const QCommandLineParser &parser, Console &console);
    Outcome findServer(const QCommandLineParser &parser, Console &console);
    Outcome askServer(Console &console);
    Outcome tryLogin(Console &console);
    Outcome report(Console &console, const QMailAccountId &id) const;

    AccountDetails m_details;
    /** Folders that the server told of while the login was tried. */
    QStringList m_serverFolders;
};

} // namespace Accounts

#endif
