// SPDX-License-Identifier: LGPL-2.1-or-later
#ifndef DAEMON_SEARCH_ITEMIDS_H
#define DAEMON_SEARCH_ITEMIDS_H

#include "eas/folderid.h"

#include <QHash>
#include <QString>

namespace Store {
struct FolderState;
}

namespace Daemon {

/**
 * The item ids of messages that a search has found.
 *
 * A search calls them by LongIds, [MS-ASCMD] 2.2.3.100: opaque, but of a known form at many
 * servers. Where one has a colon, the form depends on that of the item ids, which the mail store's
 * messages of the folder show; where there are none, it does not tell the item id. The store is
 * asked for that once for each folder, as a search has many results.
 */
class ItemIds
{
public:
    /**
     * By which a synchronisation of the folder knows the message, or empty where the LongId does
     * not tell it. `collection`: what the search calls the folder; may be empty.
     */
    QString of(const QString &longId, const QString &collection, const Store::FolderState &folder);

private:
    QString sample(const Store::FolderState &folder);

    QHash<Eas::FolderId, QString> m_samples;
};

} // namespace Daemon

#endif
