// SPDX-License-Identifier: LGPL-2.1-or-later
#include "daemon/store/messageflags.h"

#include "eas/folderchanges.h"

#include <qmailfolder.h>
#include <qmailmessage.h>

namespace Store {

quint64 messageFlags(const FolderState &folder)
{
    using Message = QMailMessageMetaData;
    switch (folder.type) {
    case Eas::SentItems:
        return Message::Outgoing | Message::Sent;
    case Eas::Drafts:
        return Message::Outgoing | Message::Draft;
    case Eas::DeletedItems:
        return Message::Incoming | Message::Trash;
    default:
        return Message::Incoming
            | (QMailFolder(folder.folderId).status() & QMailFolder::Junk ? Message::Junk : 0);
    }
}

} // namespace Store
