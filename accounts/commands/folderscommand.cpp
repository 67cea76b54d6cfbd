// SPDX-License-Identifier: LGPL-2.1-or-later
#include "accounts/commands/folderscommand.h"

#include "accounts/commands/arguments.h"
#include "accounts/console.h"
#include "accounts/report.h"

namespace Accounts {

void FoldersCommand::declare(QCommandLineParser &parser) const
{
    declareAccountArgument(parser);
}

Outcome FoldersCommand::run(const QCommandLineParser &parser, Console &console)
{
    QMailAccountId id;
    const Outcome named = readAccountArgument(parser, &id);
    if (!named.ok())
        return named;
    const QList<FolderLine> folders = foldersOf(id);
    if (folders.isEmpty())
        console.say(
            QStringLiteral("There is no folder yet; \"orvmail-account sync\" brings them."));
    sayFolders(console, folders);
    console.give(folderArray(folders));
    return {};
}

} // namespace Accounts
