// SPDX-License-Identifier: LGPL-2.1-or-later
#ifndef DAEMON_STORE_MOVES_H
#define DAEMON_STORE_MOVES_H

#include "daemon/store/serveruid.h"
#include "daemon/store/state/unconfirmedmessages.h"

namespace Store {

/** A message that was moved here to another folder of the account. */
struct Move
{
    QMailMessageId id;
    ServerUid from;            ///< where the server has it
    Eas::FolderId destination; ///< server id of the folder it lies in now
};

/**
 * The life of a move, from the user's hand until both sides agree. Its stages, in their order:
 *
 * 1. Wanted: the mail store tells the folder that the message was in before. UploadStep asks the
 *    server for the move, again and again where no answer comes.
 * 2. By the server's answer the move is one of these:
 *    - Acknowledged: the server has the message in its new folder and names its id there.
 *    - Unconfirmed: the server does not have it where it was. It is gone, or was moved by a request
 *      whose answer was lost.
 *    - Reverted: the server does not move it, or nothing will tell what it is called there now. It
 *      is back where it came from, and the move is over.
 * 3. Shown: the new folder's synchronisation brings the message, and the move is over. An
 *    unconfirmed one is recognised by its fingerprint, as where a folder is reconciled; if it is
 *    not shown by then, the message is removed (Reconciliation).
 * 4. Checked: whether the server still has a message whose move was acknowledged and is not shown
 *    is asked for, and the move is over (MoveCheck).
 */
class Moves
{
public:
    /** The database must outlive it. */
    Moves(SyncStateDb &db, const QMailAccountId &account);

    /** Those that the server can be told. */
    QList<Move> wanted() const;
    /** The server calls the message by a new id now; known twice does no harm. */
    Eas::Result acknowledge(const Move &move, const QString &newItemId);
    Eas::Result leaveUnconfirmed(const Move &move);
    Eas::Result revert(const Move &move);

private:
    Eas::Result leave(const Move &move, const ServerUid &uid);
    Eas::Result markRenamed(const QMailMessageId &id);
    Eas::Result rename(const Move &move, const ServerUid &uid);
    Eas::Result deleteWhereItLies(const Move &move, const ServerUid &uid);

    const QMailAccountId m_account;
    const FolderKeys m_folders;
    UnconfirmedMessages m_unconfirmed;
};

} // namespace Store

#endif
