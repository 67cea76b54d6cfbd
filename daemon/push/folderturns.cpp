// SPDX-License-Identifier: LGPL-2.1-or-later
#include "daemon/push/folderturns.h"

#include <algorithm>

namespace Daemon {

namespace {

/** One place of so many goes by turns. */
constexpr int PlacesForOneTurn = 4;

} // namespace

QList<Eas::FolderId> FolderTurns::next(const QList<Eas::FolderId> &folders, int maximum)
{
    if (folders.size() <= maximum)
        return folders;
    // Where there is one place, it is the most important folder's.
    const int turns = maximum > 1 ? std::max(1, maximum / PlacesForOneTurn) : 0;
    QList<Eas::FolderId> chosen = folders.mid(0, maximum - turns);
    const QList<Eas::FolderId> others = folders.mid(maximum - turns);
    for (int i = 0; i < turns; ++i)
        chosen.append(others.at((m_next + i) % others.size()));
    m_next = (m_next + turns) % others.size();
    return chosen;
}

} // namespace Daemon
