// SPDX-License-Identifier: LGPL-2.1-or-later
#ifndef ACCOUNTS_COMMANDS_SYNCCOMMAND_H
#define ACCOUNTS_COMMANDS_SYNCCOMMAND_H

#include "accounts/commands/command.h"

namespace Accounts {

/** Lets the message server synchronise an account and tells what has changed. */
class SyncCommand : public Command
{
public:
    QString name() const override { return QStringLiteral("sync"); }
    QString summary() const override { return QStringLiteral("synchronise an account"); }
    int minimumArguments() const override { return 1; }
    int maximumArguments() const override { return 1; }
    void declare(QCommandLineParser &parser) const override;
    Outcome run(const QCommandLineParser &parser, Console &console) override;
};

} // namespace Accounts

#endif
