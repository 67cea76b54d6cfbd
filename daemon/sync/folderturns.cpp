// SPDX-License-Identifier: LGPL-2.1-or-later
#include "daemon/sync/folderturns.h"

#include <algorithm>

namespace Daemon {

namespace {

/** One place of so many goes by turns. */
constexpr int PlacesForOneTurn = 4;

} // namespace

QStringList FolderTurns::next(const QStringList &folders, int most)
{
    if (folders.size() <= most)
        return folders;
    // Where there is one place, it is the most important folder's.
    const int turns = most > 1 ? std::max(1, most / PlacesForOneTurn) : 0;
    QStringList chosen = folders.mid(0, most - turns);
    const QStringList others = folders.mid(most - turns);
    for (int i = 0; i < turns; ++i)
        chosen.append(others.at((m_next + i) % others.size()));
    m_next = (m_next + turns) % others.size();
    return chosen;
}

} // namespace Daemon
