// SPDX-License-Identifier: LGPL-2.1-or-later
#ifndef ACCOUNTS_COMMANDS_OUTBOXCOMMAND_H
#define ACCOUNTS_COMMANDS_OUTBOXCOMMAND_H

#include "accounts/commands/command.h"

#include <qmailid.h>

namespace Accounts {

/** Shows the mails that wait to be sent, has one tried again, or puts it back among the drafts. */
class OutboxCommand : public Command
{
public:
    Manual::Command manual() const override;
    Outcome run(const QCommandLineParser &parser, Console &console) override;

private:
    static Outcome list(const QMailAccountIdList &accounts, Console &console);
    static Outcome retry(const QString &message, const QCommandLineParser &parser,
                         Console &console);
    static Outcome toDrafts(const QString &message, Console &console);
};

} // namespace Accounts

#endif
