// SPDX-License-Identifier: LGPL-2.1-or-later
#ifndef DAEMON_SYNC_FOLDERRANK_H
#define DAEMON_SYNC_FOLDERRANK_H

#include "eas/folderchanges.h"

#include <QList>

namespace Daemon {

/** The order of importance of an Eas::FolderType: the inbox first (0), then what a person looks at
 * most. */
inline int folderRank(int folderType)
{
    static const QList<int> order = {Eas::Inbox, Eas::SentItems, Eas::Drafts, Eas::UserMailFolder};
    const int index = order.indexOf(folderType);
    return index < 0 ? order.size() : index;
}

} // namespace Daemon

#endif
