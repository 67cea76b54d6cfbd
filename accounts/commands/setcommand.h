// SPDX-License-Identifier: LGPL-2.1-or-later
#ifndef ACCOUNTS_COMMANDS_SETCOMMAND_H
#define ACCOUNTS_COMMANDS_SETCOMMAND_H

#include "accounts/commands/accountcommand.h"
#include "accounts/setup/accountdetails.h"

#include <QList>
#include <qmailid.h>
#include <QPair>

namespace Accounts {

/** Changes settings; what is not named stays as it is. */
class SetCommand : public AccountCommand
{
public:
    Manual::Command manual() const override;
    Outcome run(const QCommandLineParser &parser, Console &console) override;

private:
    Outcome runFor(const QMailAccountId &id, const QCommandLineParser &parser,
                   Console &console) override;
    /** Folders, and whether each is to be a favourite. */
    using FavouriteChanges = QList<QPair<QMailFolderId, bool>>;

    static Outcome readFavourites(const QCommandLineParser &parser, const QMailAccountId &account,
                                  FavouriteChanges *changes);
    static Outcome setFavourites(const FavouriteChanges &changes);
};

} // namespace Accounts

#endif
