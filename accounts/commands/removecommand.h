// SPDX-License-Identifier: LGPL-2.1-or-later
#ifndef ACCOUNTS_COMMANDS_REMOVECOMMAND_H
#define ACCOUNTS_COMMANDS_REMOVECOMMAND_H

#include "accounts/commands/command.h"

namespace Accounts {

/** Removes an account with its mail, its synchronisation state and its password. */
class RemoveCommand : public Command
{
public:
    QString name() const override { return QStringLiteral("remove"); }
    QString summary() const override { return QStringLiteral("remove an account with its mail"); }
    int minimumArguments() const override { return 1; }
    int maximumArguments() const override { return 1; }
    void declare(QCommandLineParser &parser) const override;
    Outcome run(const QCommandLineParser &parser, Console &console) override;
};

} // namespace Accounts

#endif
