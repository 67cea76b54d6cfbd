// SPDX-License-Identifier: LGPL-2.1-or-later
#ifndef DAEMON_PUSH_FOLDERTURNS_H
#define DAEMON_PUSH_FOLDERTURNS_H

#include "eas/folderid.h"

#include <QList>

namespace Daemon {

/**
 * Which folders are watched when a server does not take them all at once: the most important ones
 * each time, and in the places that are left, the others in turns.
 */
class FolderTurns
{
public:
    /** `folders` in the order of their importance, of which at most `maximum` fit. */
    QList<Eas::FolderId> next(const QList<Eas::FolderId> &folders, int maximum);

private:
    int m_next = 0; ///< among those that take turns
};

} // namespace Daemon

#endif
