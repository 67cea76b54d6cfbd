// SPDX-License-Identifier: LGPL-2.1-or-later
#ifndef EAS_FOLDERCHANGES_H
#define EAS_FOLDERCHANGES_H

#include "eas/folderid.h"

#include <QList>
#include <QString>

namespace Eas {

/** A folder's type, [MS-ASCMD] 2.2.3.186.3 (those that matter to mail). */
enum FolderType {
    UserFolderGeneric = 1,
    Inbox = 2,
    Drafts = 3,
    DeletedItems = 4,
    SentItems = 5,
    Outbox = 6,
    UserMailFolder = 12
};

/** One folder as the server describes it; its parent is FolderId::Root at the top. */
struct FolderRecord
{
    FolderId serverId;
    FolderId parentId;
    QString displayName;
    int type = UserFolderGeneric;

    /** Whether it holds mail. */
    bool isMail() const { return (type >= Inbox && type <= Outbox) || type == UserMailFolder; }
};

/** The answer to FolderSync, [MS-ASCMD] 2.2.1.5. */
struct FolderChanges
{
    /** The key to send next time. */
    QString syncKey;
    /** The answer to key 0: what is not among `added` does not exist. */
    bool complete = false;
    QList<FolderRecord> added;
    QList<FolderRecord> updated;
    QList<FolderId> removed;

    bool isEmpty() const { return added.isEmpty() && updated.isEmpty() && removed.isEmpty(); }
};

} // namespace Eas

#endif
