// SPDX-License-Identifier: LGPL-2.1-or-later
#ifndef ACCOUNTS_COMMANDS_SETCOMMAND_H
#define ACCOUNTS_COMMANDS_SETCOMMAND_H

#include "accounts/commands/command.h"

#include "accounts/accountdetails.h"

#include <qmailid.h>

#include <QList>
#include <QPair>

namespace Accounts {

/** Changes settings; what is not named stays as it is. */
class SetCommand : public Command
{
public:
    QString name() const override { return QStringLiteral("set"); }
    QString summary() const override { return QStringLiteral("change the settings of an account"); }
    int minimumArguments() const override { return 1; }
    int maximumArguments() const override { return 1; }
    void declare(QCommandLineParser &parser) const override;
    Outcome run(const QCommandLineParser &parser, Console &console) override;

private:
    /** Folders, and whether each is to be a favourite. */
    using FolderWishes = QList<QPair<QMailFolderId, bool>>;

    static Outcome readFavourites(const QCommandLineParser &parser, const QMailAccountId &account,
                                  FolderWishes *wishes);
    static Outcome setFavourites(const FolderWishes &wishes);
};

} // namespace Accounts

#endif
