// SPDX-License-Identifier: LGPL-2.1-or-later
#ifndef DAEMON_STORE_STATE_UNCONFIRMEDMESSAGES_H
#define DAEMON_STORE_STATE_UNCONFIRMEDMESSAGES_H

#include "daemon/store/state/folderkeys.h"

namespace Store {

/** A message of which a synchronisation has still to show that the server has it in the folder. */
struct Unconfirmed
{
    QMailMessageId messageId;
    QByteArray fingerprint;
};

/**
 * The messages of folders that the server has still to show there.
 *
 * An unconfirmed one that is not shown in time is removed. One that the server has moved there for
 * us stays, as the server need not show it: it is asked for.
 */
class UnconfirmedMessages : public StateTable
{
public:
    using StateTable::StateTable;

    /** All of the folder. */
    QList<Unconfirmed> of(const Eas::FolderId &serverId) const;
    /** Reads some of the folder, in the order of their ids: at most so many that come after one,
     * of all where that is invalid. */
    Eas::Result readSome(const Eas::FolderId &serverId, const QMailMessageId &after, int limit,
                         QList<Unconfirmed> *messages) const;
    /** Reads those of the folder that have the fingerprint, the last one first. */
    Eas::Result readAlike(const Eas::FolderId &serverId, const QByteArray &fingerprint,
                          QMailMessageIdList *messages) const;
    /** The folders that have such messages. */
    QSet<Eas::FolderId> folders() const;
    Eas::Result add(const Eas::FolderId &serverId, const QList<Unconfirmed> &messages);
    /** The message does not lie in that folder any more. */
    Eas::Result strikeOff(const Eas::FolderId &serverId, const QMailMessageId &message);
    QMailMessageIdList acknowledgedMoves(const Eas::FolderId &serverId) const;
    /** The folders that acknowledged moves lead to. */
    QSet<Eas::FolderId> destinations() const;
    Eas::Result addAcknowledgedMove(const Eas::FolderId &serverId, const QMailMessageId &message);
    /** Forgets an acknowledged move to that folder. */
    Eas::Result endAcknowledgedMove(const Eas::FolderId &serverId, const QMailMessageId &message);
    /** Strikes all of the folder off. */
    Eas::Result clear(const Eas::FolderId &serverId);
    /** Replaces all of the folder by unconfirmed ones and saves its state, both or neither. */
    Eas::Result replace(const FolderState &folder, const QList<Unconfirmed> &messages);
    /** Strikes messages off, whichever they are, and saves the folder's state, both or neither. */
    Eas::Result confirm(const FolderState &folder, const QMailMessageIdList &messages);
};

} // namespace Store

#endif
