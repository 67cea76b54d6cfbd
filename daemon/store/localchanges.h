// SPDX-License-Identifier: LGPL-2.1-or-later
#ifndef DAEMON_STORE_LOCALCHANGES_H
#define DAEMON_STORE_LOCALCHANGES_H

#include "daemon/store/moves.h"
#include "daemon/store/state/accountkeys.h"

#include <qmailmessage.h>

#include <optional>

namespace Store {

/** Flags of one message that differ from what the server knows; absent: no difference. */
struct FlagChange
{
    QMailMessageId id;
    ServerUid uid;
    std::optional<bool> read;
    std::optional<bool> important;
    /** The flag is set at the server, and setting it again is known to lose nothing there. */
    bool keepsFlag = false;
};

/** What the user did to the messages of one folder since the last upload. */
struct FolderLocalChanges
{
    Eas::FolderId collectionId;
    QList<FlagChange> flags;
    QList<Move> moves;
    QList<ServerUid> deletions;
    /** Deleted from the trash here, though the server has not heard yet that they went there. */
    QList<ServerUid> erasures;

    bool isEmpty() const
    {
        return flags.isEmpty() && moves.isEmpty() && deletions.isEmpty() && erasures.isEmpty();
    }
};

/**
 * The changes that are to be carried to the server, and their acknowledgement.
 *
 * Once a change was acknowledged, the mail store takes it as known to the server, and "undo" no
 * longer rolls it back. What the user changed again meanwhile stays a change. Everything can be
 * acknowledged twice without harm.
 */
class LocalChanges
{
public:
    /** The database must outlive it. */
    LocalChanges(SyncStateDb &db, const QMailAccountId &account);

    /** Of every folder that has some; what no server can be told (it has no id there) is left out.
     */
    QList<FolderLocalChanges> collect() const;
    /** How many there are in all of them. */
    int count() const;

    /**
     * Forgets deletions of what no server has ever had: each draft that is saved again is one. Does
     * so only once no other deletion is left to be carried. Those that no server can be told go as
     * well: the folder is gone, or the item's id was never known, as of a search result that has
     * its LongId alone. Such a message comes back with the next search that finds it.
     */
    Eas::Result forgetNamelessDeletions();

    /** The server took over these flags (as they were uploaded, whatever they are now). */
    Eas::Result acknowledgeFlags(const QList<FlagChange> &changes);
    /** The server deleted them, or never had them. */
    Eas::Result acknowledgeDeletions(const QList<ServerUid> &uids);

    /** The server does not have this message any more. */
    Eas::Result dropMessage(const QMailMessageId &id);

private:
    using Changes = QMap<Eas::FolderId, FolderLocalChanges>; ///< by collection

    void collectFlags(Changes *changes) const;
    void collectMoves(Changes *changes) const;
    void collectDeletions(Changes *changes) const;
    QList<ServerUid> lostDeletions() const;
    Eas::Result markBareFlags(const QMailMessageIdList &ids, bool value);
    Eas::Result mark(const QMailMessageIdList &ids, quint64 mask, bool value);

    const QMailAccountId m_account;
    const AccountKeys m_keys;
    const FolderKeys m_folders;
    const Moves m_moves;
};

} // namespace Store

#endif
