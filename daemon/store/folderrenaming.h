// SPDX-License-Identifier: LGPL-2.1-or-later
#ifndef DAEMON_STORE_FOLDERRENAMING_H
#define DAEMON_STORE_FOLDERRENAMING_H

#include "daemon/store/state/folderkeys.h"

#include <qmailmessage.h>

namespace Store {

/**
 * Keeps a folder and its messages when the server calls it by another id than before.
 *
 * What the server calls the messages now is not known until the folder is reconciled: an old
 * item id may be another message's. So they have none meanwhile, what the user does with them
 * waits, and the folder is to be reconciled. Deletions that were not carried yet are
 * forgotten, for nothing is left here by which the message could be known again: it comes back.
 * What a search brought from beyond the folder's range goes: the next search brings it again.
 */
class FolderRenaming
{
public:
    FolderRenaming(const FolderState &folder, const Eas::FolderId &newId);

    /** Does a share of it; `isDone` tells whether nothing is left. After a failure, or if it is
     * never ended, the next complete folder tree finds the folder as it was. */
    Eas::Result step(FolderKeys folders, const QMailAccountId &account, bool *isDone);

private:
    Eas::Result list();
    bool isOurs(const FolderKeys &folders, const QMailMessageMetaData &message) const;
    Eas::Result forgetNames(const FolderKeys &folders);

    FolderState m_folder;
    Eas::FolderId m_newId;
    bool m_isListed = false;
    QMailMessageIdList m_messages; ///< to be looked at
};

} // namespace Store

#endif
