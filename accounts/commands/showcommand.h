// SPDX-License-Identifier: LGPL-2.1-or-later
#ifndef ACCOUNTS_COMMANDS_SHOWCOMMAND_H
#define ACCOUNTS_COMMANDS_SHOWCOMMAND_H

#include "accounts/commands/command.h"

namespace Accounts {

/** Shows an account's settings; the password is never among them. */
class ShowCommand : public Command
{
public:
    QString name() const override { return QStringLiteral("show"); }
    QString summary() const override { return QStringLiteral("show the settings of an account"); }
    int minimumArguments() const override { return 1; }
    int maximumArguments() const override { return 1; }
    void declare(QCommandLineParser &parser) const override;
    Outcome run(const QCommandLineParser &parser, Console &console) override;
};

} // namespace Accounts

#endif
