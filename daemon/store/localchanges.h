// SPDX-License-Identifier: LGPL-2.1-or-later
#ifndef DAEMON_STORE_LOCALCHANGES_H
#define DAEMON_STORE_LOCALCHANGES_H

#include "daemon/store/syncstatedb.h"

#include <qmailmessage.h>
#include <qmailmessagekey.h>

#include <optional>

namespace Store {

/** Flags of one message that differ from what the server knows; absent: no difference. */
struct FlagChange
{
    QMailMessageId id;
    QString serverId;
    std::optional<bool> read;
    std::optional<bool> important;
    /** The server's flag stands, and is known to lose nothing if it is said again. */
    bool keepsFlag = false;
};

/** A message that was moved here to another folder of the account. */
struct Move
{
    QMailMessageId id;
    QString collectionId; ///< server id of the folder it comes from
    QString serverId;     ///< its id there
    QString destination;  ///< server id of the folder it lies in now
};

/** What the user did to the messages of one folder since the last upload. */
struct FolderLocalChanges
{
    QString collectionId;
    QList<FlagChange> flags;
    QList<Move> moves;
    QStringList deletions; ///< server ids

    bool isEmpty() const { return flags.isEmpty() && moves.isEmpty() && deletions.isEmpty(); }
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

    /**
     * Forgets deletions of what no server has ever had: each draft that is saved again is one. Does
     * so only once no other deletion is left to be carried. Those whose folder is gone go as well.
     */
    Eas::Result forgetNamelessDeletions();

    /** The server took over these flags (as they were uploaded, whatever they are now). */
    Eas::Result acknowledgeFlags(const QList<FlagChange> &changes);
    /**
     * The server moved it, and calls it by a new id now. Until the destination's synchronisation
     * has shown it there, it is among SyncStateDb::moved().
     */
    Eas::Result acknowledgeMove(const Move &move, const QString &newServerId);
    /**
     * The server does not have it where it was: it is gone, or was moved by a request whose answer
     * was lost. The next synchronisation of the destination recognises it there, or removes it.
     */
    Eas::Result awaitMoved(const Move &move);
    /** The server deleted them, or never had them. */
    Eas::Result acknowledgeDeletions(const QString &collectionId, const QStringList &serverIds);

    /** The server does not have this message any more. */
    Eas::Result dropMessage(const QMailMessageId &id);
    /** The server does not move it: it returns to the folder it came from. */
    Eas::Result revertMove(const Move &move);

private:
    using Changes = QHash<QString, FolderLocalChanges>; ///< by collection

    void collectFlags(Changes *changes) const;
    void collectMoves(Changes *changes) const;
    void collectDeletions(Changes *changes) const;
    QStringList lostDeletions() const;
    Eas::Result markBareFlags(const QMailMessageIdList &ids, bool value);
    Eas::Result mark(const QMailMessageIdList &ids, quint64 mask, bool value);
    Eas::Result deleteAt(const QString &collectionId, const QString &serverId);
    Eas::Result renameMoved(const Move &move, const QString &uid);
    QMailMessageKey doubles(const QString &uid, const QMailMessageId &original) const;
    Eas::Result removeDoubles(const QMailMessageKey &doubles);

    SyncStateDb &m_db;
    const QMailAccountId m_account;
};

} // namespace Store

#endif
