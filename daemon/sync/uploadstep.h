// SPDX-License-Identifier: LGPL-2.1-or-later
#ifndef DAEMON_SYNC_UPLOADSTEP_H
#define DAEMON_SYNC_UPLOADSTEP_H

#include "daemon/store/localchanges.h"
#include "daemon/tasks/task.h"

#include <QHash>
#include <QQueue>
#include <QSet>

#include <optional>

namespace Eas {
class MoveItemsCommand;
class SyncCommand;
struct MoveOutcome;
struct SyncWindow;
}

namespace Daemon {

/**
 * Carries to the server what the user did in the mail store: flags and deletions folder by folder,
 * then the moves. Before flags go up, the folder's news are asked for: some servers never tell what
 * another client did to a message that we changed, too. A move names no key: before messages are
 * moved out of a folder, the server has to take its key, for one that has lost it may call other
 * messages by their ids now. A folder that was never synchronised has no key: a message that a
 * search brought from there is moved by the id that the search has told.
 *
 * A change is acknowledged in the store after the server has taken it; what is interrupted in
 * between is carried again and does no harm. What the server refuses is resolved: a message that is
 * gone there goes here, one that it does not move comes back.
 */
class UploadStep : public Task
{
    Q_OBJECT

public:
    UploadStep(const AccountContext &context, QObject *parent);

    /** Folders whose changes wait until the folder itself was put right; each with the reason. */
    QHash<Eas::FolderId, Eas::Result> left() const { return m_left; }

private:
    void perform() override;

    /** A move that the server did not do, and what tells why. */
    using Refusal = QPair<Store::Move, Eas::MoveOutcome>;

    Eas::Result revertUnnameable();
    void next();
    void look(const Eas::FolderId &collectionId);
    bool isDestination(const Eas::FolderId &collectionId) const;
    std::optional<Eas::FolderId> nextUnproved() const;
    void prove(const Eas::FolderId &collectionId);
    void onLooked(const Eas::SyncCommand &command);
    Eas::SyncWindow withoutMoved(Eas::SyncWindow window) const;
    void collectAgain(const Eas::FolderId &collectionId);
    void upload(const Store::FolderLocalChanges &changes);
    void leave(const Eas::FolderId &collectionId, const Eas::Result &reason);
    void leaveSwitchedOff(const Eas::FolderId &collectionId, const Eas::Result &reason);
    QList<Store::Move> takeMoves();
    bool mayMoveFrom(const Eas::FolderId &collectionId);
    void onUploaded(const Eas::SyncCommand &command, const Store::FolderLocalChanges &changes);
    void onWritten(const Eas::SyncWindow &window, const Store::FolderLocalChanges &changes);
    void move(const QList<Store::Move> &moves);
    void onMoved(const Eas::MoveItemsCommand &command, const QList<Store::Move> &moves);
    void checkTree(const QList<Refusal> &refusals);
    void leaveMoves(const QList<Refusal> &refusals);
    void resolveAll(const QList<Refusal> &refusals);
    Eas::Result resolve(const Store::Move &move, const Eas::MoveOutcome &outcome);
    void goOn(const Eas::Result &result);

    Store::LocalChanges m_changes;
    QQueue<Store::FolderLocalChanges> m_folders;
    QSet<Eas::FolderId> m_seen;   ///< folders whose news were asked for before their flags go up
    QSet<Eas::FolderId> m_proved; ///< folders whose key the server has taken, or was asked to take
    QList<Store::Move> m_moves;
    QHash<Eas::FolderId, Eas::Result> m_left;
};

} // namespace Daemon

#endif
