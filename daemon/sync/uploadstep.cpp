// SPDX-License-Identifier: LGPL-2.1-or-later
#include "daemon/sync/uploadstep.h"

#include "daemon/bus/logging.h"
#include "daemon/store/foundmark.h"
#include "daemon/store/windowwriter.h"
#include "daemon/sync/foldersync.h"
#include "daemon/sync/treestep.h"
#include "daemon/sync/windowsize.h"
#include "eas/folderchanges.h"
#include "eas/moveitemscommand.h"
#include "eas/synccommand.h"

#include <qmailfolder.h>

#include <algorithm>

namespace Daemon {

namespace {

/** An item's status, [MS-ASCMD] 2.2.3.177.17: it is not there any more. */
constexpr int ObjectNotFound = 8;

/** A move's status, [MS-ASCMD] 2.2.3.177.10. */
enum MoveStatus { SourceGone = 1, DestinationGone = 2, Moved = 3, SameFolder = 4, Locked = 7 };

/** The parts of a folder's changes that go with one request each. */
QList<Store::FolderLocalChanges> portions(const Store::FolderLocalChanges &all)
{
    QList<Store::FolderLocalChanges> portions;
    const int most = UploadStep::MaximumChanges;
    for (int at = 0; at < qMax(all.flags.size(), all.deletions.size()); at += most) {
        Store::FolderLocalChanges portion;
        portion.collectionId = all.collectionId;
        portion.flags = all.flags.mid(at, most);
        portion.deletions = all.deletions.mid(at, most);
        portion.moves = all.moves;
        portions.append(portion);
    }
    return portions;
}

/** Whether it is to be moved yet: then it may be there already, by a request whose answer was lost.
 */
bool isMoving(const Store::FolderLocalChanges &changes, const QMailMessageId &id)
{
    return std::any_of(changes.moves.cbegin(), changes.moves.cend(),
                       [&id](const Store::Move &move) { return move.id == id; });
}

Eas::LocalChange toLocalChange(const Store::FlagChange &flags)
{
    Eas::LocalChange change;
    change.serverId = flags.serverId;
    change.read = flags.read;
    // Some servers take a change without the flag for one that takes it away.
    if (flags.keepsFlag)
        change.flag = Eas::FlagStatus::Active;
    else if (flags.important)
        change.flag = *flags.important ? Eas::FlagStatus::Active : Eas::FlagStatus::Clear;
    return change;
}

} // namespace

UploadStep::UploadStep(const AccountContext &context, QObject *parent)
    : Task(context, parent)
    , m_changes(*context.db, context.id())
{
}

void UploadStep::proceed()
{
    QList<Store::Move> moves;
    for (const Store::FolderLocalChanges &folder : m_changes.collect()) {
        for (const Store::FolderLocalChanges &portion : portions(folder))
            m_folders.enqueue(portion);
        moves += folder.moves;
    }
    for (int at = 0; at < moves.size(); at += MaximumChanges)
        m_moves.enqueue(moves.mid(at, MaximumChanges));
    next();
}

void UploadStep::next()
{
    if (!m_folders.isEmpty()) {
        const Store::FolderLocalChanges &first = m_folders.head();
        if (!first.flags.isEmpty() && !m_seen.contains(first.collectionId))
            look(first.collectionId);
        else
            upload(m_folders.dequeue());
    } else if (!m_moves.isEmpty()) {
        move(m_moves.dequeue());
    } else {
        const Eas::Result result = m_changes.forgetNamelessDeletions();
        finishLater(result, !result.ok());
    }
}

/** One small window of the folder's news: enough for what mostly happened since the last one. */
void UploadStep::look(const QString &collectionId)
{
    m_seen.insert(collectionId);
    const auto state = m_context.db->folder(m_context.id(), collectionId);
    // Where it is to reach less far back, it would lose messages with flags to go up; and what may
    // have moved there is recognised only after the moves.
    const bool isOtherRange =
        !state || state->filter != int(FolderSync::filterOf(m_context.record));
    if (isOtherRange || isDestination(collectionId)) {
        next();
        return;
    }
    Eas::SyncRequest request;
    const Eas::Result prepared = FolderSync::nextWindow(m_context, collectionId, WindowSize::First,
                                                        FolderSync::TextBound, &request);
    if (!prepared.ok() || request.syncKey == QLatin1String("0")) {
        next();
        return;
    }
    auto *command = new Eas::SyncCommand(m_context.session, {request});
    start(command, [this, command] { onLooked(*command); });
}

bool UploadStep::isDestination(const QString &collectionId) const
{
    for (const QList<Store::Move> &moves : m_moves) {
        for (const Store::Move &move : moves) {
            if (move.destination == collectionId)
                return true;
        }
    }
    return false;
}

void UploadStep::onLooked(const Eas::SyncCommand &command)
{
    const Eas::Result result = command.result();
    // What is wrong with the folder shows again when the changes go up.
    if (result.code == Eas::NotFound || result.code == Eas::InvalidAnswer
        || result.code == Eas::ServerFailed) {
        next();
        return;
    }
    if (!result.ok()) {
        finishLater(result);
        return;
    }
    Eas::SyncWindow window = command.windows().first();
    if (window.status != FolderSync::StatusOk || window.unchanged) {
        next();
        return;
    }
    // What has left the folder may have been moved by us; the move itself finds out.
    for (const QList<Store::Move> &moves : qAsConst(m_moves)) {
        for (const Store::Move &move : moves) {
            if (move.collectionId == window.collectionId)
                window.removed.removeAll(move.serverId);
        }
    }
    FolderSync::logWindow(m_context, window);
    write(std::make_unique<Store::WindowWriter>(*m_context.db, m_context.id(), window),
          [this, window] {
              collectAgain(window.collectionId);
              next();
          });
}

/** The news may have settled some of what was to go up. */
void UploadStep::collectAgain(const QString &collectionId)
{
    QQueue<Store::FolderLocalChanges> folders;
    for (const Store::FolderLocalChanges &folder : m_changes.collect()) {
        if (folder.collectionId != collectionId)
            continue;
        for (const Store::FolderLocalChanges &portion : portions(folder))
            folders.enqueue(portion);
    }
    for (const Store::FolderLocalChanges &portion : qAsConst(m_folders)) {
        if (portion.collectionId != collectionId)
            folders.enqueue(portion);
    }
    m_folders = folders;
}

/** Its own step puts the folder right; the changes stay until then. */
void UploadStep::leave(const QString &collectionId, const Eas::Result &reason)
{
    qCInfo(lcSync) << "account" << m_context.id() << "keeps changes of" << collectionId
                   << "for later:" << reason.text;
    m_left.insert(collectionId, reason);
    next();
}

void UploadStep::upload(const Store::FolderLocalChanges &changes)
{
    if (m_left.contains(changes.collectionId)) {
        next();
        return;
    }
    const auto state = m_context.db->folder(m_context.id(), changes.collectionId);
    Eas::SyncRequest request;
    const Eas::Result prepared = FolderSync::nextWindow(
        m_context, changes.collectionId, WindowSize::Most, FolderSync::TextBound, &request);
    if (!prepared.ok()) {
        endWith(prepared);
        return;
    }
    if (request.syncKey == QLatin1String("0")) {
        // Only after the folder was synchronised does the server know what we speak of.
        const bool isEnabled =
            QMailFolder(state->folderId).status() & QMailFolder::SynchronizationEnabled;
        if (isEnabled)
            leave(changes.collectionId, {Eas::ServerFailed, QStringLiteral("no key")});
        else
            next();
        return;
    }
    request.getChanges = false;
    request.deletesAsMoves = state->type != Eas::DeletedItems;
    request.deleted = changes.deletions;
    for (const Store::FlagChange &flags : changes.flags)
        request.changed.append(toLocalChange(flags));
    auto *command = new Eas::SyncCommand(m_context.session, {request});
    start(command, [this, command, changes] { onUploaded(*command, changes); });
}

void UploadStep::onUploaded(const Eas::SyncCommand &command,
                            const Store::FolderLocalChanges &changes)
{
    if (FolderSync::isKeyLost(command.result())) {
        leave(changes.collectionId, command.result());
        return;
    }
    if (!command.result().ok()) {
        retryOrFail(command.result(), [this, changes] { upload(changes); });
        return;
    }
    const Eas::SyncWindow &window = command.windows().first();
    if (window.status != FolderSync::StatusOk) {
        leave(changes.collectionId, Eas::SyncCommand::statusResult(window.status));
        return;
    }
    m_retry.reset();
    if (window.unchanged) {
        onWritten(window, changes);
        return;
    }
    write(std::make_unique<Store::WindowWriter>(*m_context.db, m_context.id(), window,
                                                Store::WindowWriter::Answers::Upload),
          [this, window, changes] { onWritten(window, changes); });
}

/** The new key is durable: what was carried is known to the server now. */
void UploadStep::onWritten(const Eas::SyncWindow &window, const Store::FolderLocalChanges &changes)
{
    QList<Store::FlagChange> taken;
    Eas::Result result;
    for (const Store::FlagChange &flags : changes.flags) {
        const int status = window.refused.value(flags.serverId, FolderSync::StatusOk);
        // What a search brought may lie outside of what the server synchronises: it is not gone.
        const bool isFound = Store::FoundMark::isSet(QMailMessageMetaData(flags.id));
        if (status == FolderSync::StatusOk || (status == ObjectNotFound && isFound))
            taken.append(flags);
        else if (status == ObjectNotFound && !isMoving(changes, flags.id) && result.ok())
            result = m_changes.dropMessage(flags.id);
    }
    QStringList deleted;
    for (const QString &serverId : changes.deletions) {
        const int status = window.refused.value(serverId, FolderSync::StatusOk);
        if (status == FolderSync::StatusOk || status == ObjectNotFound)
            deleted.append(serverId);
    }
    if (result.ok() && !taken.isEmpty())
        result = m_changes.acknowledgeFlags(taken);
    if (result.ok() && !deleted.isEmpty())
        result = m_changes.acknowledgeDeletions(changes.collectionId, deleted);
    qCInfo(lcSync) << "account" << m_context.id() << "carried" << taken.size() << "flags and"
                   << deleted.size() << "deletions of" << changes.collectionId;
    endWith(result);
}

void UploadStep::move(const QList<Store::Move> &moves)
{
    QList<Eas::MoveRequest> requests;
    for (const Store::Move &move : moves)
        requests.append({move.serverId, move.collectionId, move.destination});
    auto *command = new Eas::MoveItemsCommand(m_context.session, requests);
    start(command, [this, command, moves] { onMoved(*command, moves); });
}

void UploadStep::onMoved(const Eas::MoveItemsCommand &command, const QList<Store::Move> &moves)
{
    Eas::Result result = command.result();
    if (!result.ok()) {
        retryOrFail(result, [this, moves] { move(moves); });
        return;
    }
    QList<Refusal> gone;
    for (int i = 0; i < moves.size() && result.ok(); ++i) {
        const Eas::MoveOutcome outcome = command.outcomes().value(i);
        if (outcome.status == SourceGone || outcome.status == DestinationGone)
            gone.append({moves.at(i), outcome.status});
        else
            result = resolve(moves.at(i), outcome.status, outcome.newServerId);
    }
    if (result.ok() && !gone.isEmpty())
        checkTree(gone);
    else
        endWith(result);
}

/** A server that lost its memory misses all that it knew: that says nothing of a message. */
void UploadStep::checkTree(const QList<Refusal> &refusals)
{
    auto *tree = new TreeStep(m_context, this);
    connect(tree, &Task::finished, this,
            [this, tree, refusals](const Eas::Result &result, bool local) {
                tree->deleteLater();
                if (!result.ok())
                    finishLater(result, local);
                else if (tree->wasForgotten())
                    leaveMoves(refusals);
                else
                    resolveAll(refusals);
            });
    tree->proceed();
}

/** The folders that they come from are put right first. */
void UploadStep::leaveMoves(const QList<Refusal> &refusals)
{
    qCInfo(lcSync) << "account" << m_context.id()
                   << "keeps moves for later: the server did not know the folder tree";
    const Eas::Result reason {Eas::ServerFailed, QStringLiteral("no folder tree")};
    for (const auto &refusal : refusals)
        m_left.insert(refusal.first.collectionId, reason);
    next();
}

void UploadStep::resolveAll(const QList<Refusal> &refusals)
{
    Eas::Result result;
    for (const auto &[move, status] : refusals) {
        // What went with its folder is settled.
        const bool areFoldersHere = m_context.db->folder(m_context.id(), move.collectionId)
            && m_context.db->folder(m_context.id(), move.destination);
        if (result.ok() && areFoldersHere)
            result = resolve(move, status, QString());
    }
    endWith(result);
}

Eas::Result UploadStep::resolve(const Store::Move &move, int status, const QString &newServerId)
{
    switch (status) {
    case Moved:
        return m_changes.acknowledgeMove(move, newServerId.isEmpty() ? move.serverId : newServerId);
    case SameFolder:
        return m_changes.acknowledgeMove(move, move.serverId);
    case SourceGone:
        return m_changes.awaitMoved(move);
    case Locked:
        return {};
    default:
        return m_changes.revertMove(move);
    }
}

/** Goes on after a share was resolved; a store that failed ends the step. */
void UploadStep::endWith(const Eas::Result &result)
{
    if (result.ok() || result.code == Eas::NotFound)
        next();
    else
        finishLater(result, true);
}

} // namespace Daemon
