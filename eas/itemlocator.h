// SPDX-License-Identifier: LGPL-2.1-or-later
#ifndef EAS_ITEMLOCATOR_H
#define EAS_ITEMLOCATOR_H

#include "eas/folderid.h"

#include <QString>

namespace Eas {

/** Where a message is at the server: in a folder, or as a search has found it. */
struct ItemLocator
{
    FolderId collectionId;
    QString serverId;
    /** Of a search's result; where it is set, the other two are not needed. */
    QString longId;
};

} // namespace Eas

#endif
