// SPDX-License-Identifier: LGPL-2.1-or-later
#ifndef ACCOUNTS_COMMANDS_TESTCOMMAND_H
#define ACCOUNTS_COMMANDS_TESTCOMMAND_H

#include "accounts/commands/accountcommand.h"

#include <qmailid.h>

namespace Accounts {

/** Tries the stored settings at the server; nothing changes here or there. */
class TestCommand : public AccountCommand
{
public:
    Manual::Command manual() const override;

private:
    Outcome runFor(const QMailAccountId &id, const QCommandLineParser &parser,
                   Console &console) override;
    static QString problemHere(const QMailAccountId &id, Console &console);
};

} // namespace Accounts

#endif
