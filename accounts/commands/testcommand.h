// SPDX-License-Identifier: LGPL-2.1-or-later
#ifndef ACCOUNTS_COMMANDS_TESTCOMMAND_H
#define ACCOUNTS_COMMANDS_TESTCOMMAND_H

#include "accounts/commands/command.h"

#include <qmailid.h>

namespace Accounts {

/** Tries the stored settings at the server; nothing changes here or there. */
class TestCommand : public Command
{
public:
    QString name() const override { return QStringLiteral("test"); }
    QString summary() const override { return QStringLiteral("try the login at the server"); }
    int minimumArguments() const override { return 1; }
    int maximumArguments() const override { return 1; }
    void declare(QCommandLineParser &parser) const override;
    Outcome run(const QCommandLineParser &parser, Console &console) override;

private:
    static QString problemHere(const QMailAccountId &id, Console &console);
};

} // namespace Accounts

#endif
