// SPDX-License-Identifier: LGPL-2.1-or-later
#ifndef ASCLIENT_ATTACHMENTNOTIFIER_H
#define ASCLIENT_ATTACHMENTNOTIFIER_H

#include <QString>

namespace Activesync {

/**
 * The name of the local socket on which the progress of a part's download is told.
 *
 * An absolute path in the user's runtime directory (in a private directory of mode 0700 where
 * XDG_RUNTIME_DIR is not set), short enough for a socket address, and the same for the same two
 * texts in every process of the user. Empty where no such directory can be had. The spelling
 * "Dowload" is part of the interface.
 */
QString attachmentDowloadNotifierPath(const QString &messageId, const QString &location);

} // namespace Activesync

#endif
