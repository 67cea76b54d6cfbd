// SPDX-License-Identifier: LGPL-2.1-or-later
#ifndef DAEMON_SEARCH_LONGID_H
#define DAEMON_SEARCH_LONGID_H

#include <qmailid.h>
#include <QStringList>

namespace Store {
struct FolderState;
}

namespace Daemon {

/** What a search calls a message, [MS-ASCMD] 2.2.3.100: opaque, but of a known form at many
 * servers.
 */
namespace LongId {

/**
 * The item id that a synchronisation of the folder knows the message by, or empty where the LongId
 * does not tell it.
 *
 * `collections`: what the folder is called; `sample`: the item id of some other message of the
 * folder, which shows the form of the server's ids; may be empty, and then a LongId with a colon
 * does not tell it.
 */
QString itemIdOf(const QString &longId, const QStringList &collections, const QString &sample);

/** The item id of some message that the mail store has of the folder; empty if there is none. */
QString knownItemId(const QMailAccountId &account, const Store::FolderState &folder);

} // namespace LongId

} // namespace Daemon

#endif
