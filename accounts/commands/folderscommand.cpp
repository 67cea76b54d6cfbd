// SPDX-License-Identifier: LGPL-2.1-or-later
#include "accounts/commands/folderscommand.h"

#include "accounts/accountoutput.h"
#include "accounts/console.h"
#include "translations/text.h"

namespace Accounts {

Manual::Command FoldersCommand::manual() const
{
    Manual::Command manual = accountManual("folders", Text::tr("show the folders of an account"));
    manual.paragraphs = {Text::tr("Each with how many messages are in it and how many of "
                                  "them are unread, as they are on this machine.")};
    return manual;
}

Outcome FoldersCommand::runFor(const QMailAccountId &id, const QCommandLineParser &,
                               Console &console)
{
    const QList<FolderLine> folders = foldersOf(id);
    if (folders.isEmpty())
        console.say(Text::tr("There is no folder yet; \"orvmail-account sync\" brings them."));
    sayFolders(console, folders);
    console.give(folderArray(folders));
    return {};
}

} // namespace Accounts
