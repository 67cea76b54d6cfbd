// SPDX-License-Identifier: LGPL-2.1-or-later
#ifndef ACCOUNTS_COMMANDS_SYNCCOMMAND_H
#define ACCOUNTS_COMMANDS_SYNCCOMMAND_H

#include "accounts/commands/command.h"
#include "accounts/mailsnapshot.h"

namespace Accounts {

/** Lets the message server synchronise one account or all, and tells what has changed. */
class SyncCommand : public Command
{
public:
    Manual::Command manual() const override;
    Outcome run(const QCommandLineParser &parser, Console &console) override;

private:
    /** How it went for one account. */
    struct Run
    {
        Outcome outcome;
        QList<FolderDifference> differences = {};
        bool isInterrupted = false; ///< by the person who called the program
    };

    static Run synchronise(const QMailAccountId &id, Console &console);
    static Outcome runForAll(Console &console);
};

} // namespace Accounts

#endif
