// SPDX-License-Identifier: LGPL-2.1-or-later
#ifndef ASCLIENT_RUNTIMEDIRECTORY_H
#define ASCLIENT_RUNTIMEDIRECTORY_H

#include <QString>

namespace Activesync {

/**
 * The folder where the processes of one user meet: below XDG_RUNTIME_DIR, or below /tmp where that
 * is not set or cannot be used. Made with mode 0700 when it is missing.
 *
 * Skips a folder whose name is longer than `maxBytes`. Empty when no folder is there that belongs
 * to this user alone: another user may have made the one below /tmp.
 */
QString runtimeDirectory(int maxBytes = 4096);

} // namespace Activesync

#endif
