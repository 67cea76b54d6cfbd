// SPDX-License-Identifier: LGPL-2.1-or-later
#include "daemon/sync/uploadstep.h"

#include "daemon/log/logging.h"
#include "daemon/pacing/sizes.h"
#include "daemon/store/incoming/reconciliation.h"
#include "daemon/store/incoming/windowwriter.h"
#include "daemon/store/mark.h"
#include "daemon/store/state/folderkeys.h"
#include "daemon/sync/foldersync.h"
#include "daemon/sync/treestep.h"
#include "eas/folderchanges.h"
#include "eas/moveitemscommand.h"
#include "eas/synccommand.h"
#include "eas/synckey.h"

#include <qmailstore.h>

#include <algorithm>

namespace Daemon {

namespace {

/** The parts of a folder's changes that go with one request each. */
QList<Store::FolderLocalChanges> portions(const Store::FolderLocalChanges &all)
{
    QList<Store::FolderLocalChanges> portions;
    const int most = Sizes::UploadChanges;
    Store::FolderLocalChanges portion;
    portion.collectionId = all.collectionId;
    portion.moves = all.moves;
    for (int at = 0; at < qMax(all.flags.size(), all.deletions.size()); at += most) {
        portion.flags = all.flags.mid(at, most);
        portion.deletions = all.deletions.mid(at, most);
        portions.append(portion);
    }
    portion.flags.clear();
    portion.deletions.clear();
    // A request says for all that it deletes whether it goes to the trash.
    for (int at = 0; at < all.erasures.size(); at += most) {
        portion.erasures = all.erasures.mid(at, most);
        portions.append(portion);
    }
    return portions;
}

/** Whether the message is still to be moved: a request whose answer was lost may have done so. */
bool isMoving(const Store::FolderLocalChanges &changes, const QMailMessageId &id)
{
    return std::any_of(changes.moves.cbegin(), changes.moves.cend(),
                       [&id](const Store::Move &move) { return move.id == id; });
}

/** Whether the server may know the folder's messages by other ids than are known here: the folder
 * is synchronised before its changes go up. */
bool isInDoubt(const Store::FolderState &folder)
{
    return folder.reconciling || folder.syncKey == Eas::FirstKey;
}

Eas::Result doubt()
{
    return {Eas::ServerFailed, QStringLiteral("it is to be reconciled")};
}

Eas::LocalChange toLocalChange(const Store::FlagChange &flags)
{
    Eas::LocalChange change;
    change.serverId = flags.uid.itemId();
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

void UploadStep::perform()
{
    for (const Store::FolderLocalChanges &folder : m_changes.collect()) {
        for (const Store::FolderLocalChanges &portion : portions(folder))
            m_folders.enqueue(portion);
        m_moves += folder.moves;
    }
    const Eas::Result reverted = revertUnnameable();
    if (reverted.ok())
        next();
    else
        end(reverted);
}

/**
 * Puts back what was moved out of a folder that is to be reconciled and is not synchronised:
 * nothing will tell what the server calls it now, so that the move would wait for ever without a
 * word.
 */
Eas::Result UploadStep::revertUnnameable()
{
    Store::Moves moves(*m_context.db, m_context.id());
    QList<Store::Move> left;
    Eas::Result result;
    for (const Store::Move &move : qAsConst(m_moves)) {
        const auto folder = m_context.folders().find(move.from.collectionId());
        if (!folder || folder->isEnabled() || !folder->reconciling)
            left.append(move);
        else if (result.ok())
            result = moves.revert(move);
    }
    if (left.size() < m_moves.size())
        qCInfo(lcSync) << "account" << m_context.id() << "takes back"
                       << m_moves.size() - left.size()
                       << "moves: their folders are not synchronised, and may have other ids";
    m_moves = left;
    return result;
}

void UploadStep::next()
{
    if (!m_folders.isEmpty()) {
        const Store::FolderLocalChanges &first = m_folders.head();
        if (!first.flags.isEmpty() && !m_seen.contains(first.collectionId))
            look(first.collectionId);
        else
            upload(m_folders.dequeue());
    } else if (const auto source = nextUnproved()) {
        prove(*source);
    } else if (!m_moves.isEmpty()) {
        const QList<Store::Move> moves = takeMoves();
        if (moves.isEmpty())
            next();
        else
            move(moves);
    } else {
        end(m_changes.forgetNamelessDeletions());
    }
}

/** Fetches one small window of the folder's news, which mostly is all of it. */
void UploadStep::look(const Eas::FolderId &collectionId)
{
    m_seen.insert(collectionId);
    const auto state = m_context.folders().find(collectionId);
    // Not where the range is another: a shorter one would remove messages with flags to go up. Nor
    // where messages are moved to: these are recognised only after the moves.
    const bool isOtherRange =
        !state || state->filter != int(FolderSync::filterOf(m_context.record));
    if (isOtherRange || isInDoubt(*state) || isDestination(collectionId)) {
        next();
        return;
    }
    Eas::SyncRequest request;
    const Eas::Result prepared = FolderSync::nextWindow(
        m_context, collectionId, Sizes::Window.first, FolderSync::TextBound, &request);
    if (!prepared.ok()) {
        next();
        return;
    }
    auto *command = new Eas::SyncCommand(m_context.session, {request});
    run(command, [this, command] { onLooked(*command); });
}

bool UploadStep::isDestination(const Eas::FolderId &collectionId) const
{
    return std::any_of(m_moves.cbegin(), m_moves.cend(),
                       [&](const Store::Move &move) { return move.destination == collectionId; });
}

/** A folder that messages are moved from, and of which nothing tells yet that the server knows it
 * by the ids that are known here. */
std::optional<Eas::FolderId> UploadStep::nextUnproved() const
{
    for (const Store::Move &move : m_moves) {
        const Eas::FolderId source = move.from.collectionId();
        if (!m_proved.contains(source) && !m_left.contains(source))
            return source;
    }
    return std::nullopt;
}

/** Asks for nothing but whether the server takes the folder's key. Not for news: of a message that
 * is to be moved, these may be explained by the move alone. */
void UploadStep::prove(const Eas::FolderId &collectionId)
{
    m_proved.insert(collectionId);
    Store::FolderLocalChanges nothing;
    nothing.collectionId = collectionId;
    upload(nothing);
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
        end(result);
        return;
    }
    const Eas::SyncWindow window = withoutMoved(command.windows().first());
    if (window.result.ok())
        m_proved.insert(window.collectionId);
    if (!window.result.ok() || window.unchanged) {
        next();
        return;
    }
    FolderSync::logWindow(m_context, window);
    write(std::make_unique<Store::WindowWriter>(*m_context.db, m_context.id(), window),
          [this, window] {
              collectAgain(window.collectionId);
              next();
          });
}

/** What has left the folder may have been moved by us; the move itself finds out. What has only
 * left the range is moved all the same. */
Eas::SyncWindow UploadStep::withoutMoved(Eas::SyncWindow window) const
{
    for (const Store::Move &move : m_moves) {
        if (!move.from.isIn(window.collectionId))
            continue;
        window.removed.removeAll(move.from.itemId());
        window.outOfRange.removeAll(move.from.itemId());
    }
    return window;
}

/** The news may have settled some of what was to go up. */
void UploadStep::collectAgain(const Eas::FolderId &collectionId)
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

/** Leaves the changes until the folder's own step has put it right. */
void UploadStep::leave(const Eas::FolderId &collectionId, const Eas::Result &reason)
{
    const auto state = m_context.folders().find(collectionId);
    // A folder that cannot be read is not switched off.
    const bool isOff =
        state && !state->isEnabled() && QMailStore::instance()->lastError() == QMailStore::NoError;
    if (FolderSync::isKeyLost(reason) && isOff) {
        leaveSwitchedOff(collectionId, reason);
        return;
    }
    qCInfo(lcSync) << "account" << m_context.id() << "keeps changes of" << collectionId
                   << "for later:" << reason.text;
    m_left.insert(collectionId, reason);
    next();
}

/**
 * Leaves the changes of a folder whose key is lost until the user switches it on. To put it right
 * before would fetch all of what is switched off, and remove here what is older than the account
 * keeps.
 */
void UploadStep::leaveSwitchedOff(const Eas::FolderId &collectionId, const Eas::Result &reason)
{
    qCInfo(lcSync) << "account" << m_context.id() << "keeps changes of" << collectionId
                   << "until it is switched on:" << reason.text;
    Eas::Result result = Store::startReconciling(*m_context.db, m_context.id(), collectionId);
    if (result.ok())
        result = revertUnnameable();
    goOn(result);
}

void UploadStep::upload(const Store::FolderLocalChanges &changes)
{
    if (m_left.contains(changes.collectionId)) {
        next();
        return;
    }
    const auto state = m_context.folders().find(changes.collectionId);
    if (state && isInDoubt(*state)) {
        if (state->isEnabled())
            leave(changes.collectionId, doubt());
        else
            next();
        return;
    }
    Eas::SyncRequest request;
    const Eas::Result prepared = FolderSync::nextWindow(
        m_context, changes.collectionId, Sizes::Window.maximum, FolderSync::TextBound, &request);
    if (!prepared.ok()) {
        goOn(prepared);
        return;
    }
    request.getChanges = false;
    request.deletesAsMoves = changes.erasures.isEmpty() && state->type != Eas::DeletedItems;
    for (const Store::ServerUid &uid : changes.deletions + changes.erasures)
        request.deleted.append(uid.itemId());
    for (const Store::FlagChange &flags : changes.flags)
        request.changed.append(toLocalChange(flags));
    auto *command = new Eas::SyncCommand(m_context.session, {request});
    run(command, [this, command, changes] { onUploaded(*command, changes); });
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
    const Eas::SyncWindow window = withoutMoved(command.windows().first());
    if (!window.result.ok()) {
        leave(changes.collectionId, window.result);
        return;
    }
    m_retry.reset();
    m_proved.insert(changes.collectionId);
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
        const auto answer = window.refused.value(flags.uid.itemId(), Eas::ItemAnswer::Taken);
        const bool isGone = answer == Eas::ItemAnswer::Gone;
        // What a search brought may lie outside of what the server synchronises: it is not gone.
        const bool isFound = Store::FoundMark.isSet(QMailMessageMetaData(flags.id));
        if (answer == Eas::ItemAnswer::Taken || (isGone && isFound))
            taken.append(flags);
        else if (isGone && !isMoving(changes, flags.id) && result.ok())
            result = m_changes.dropMessage(flags.id);
    }
    QList<Store::ServerUid> deleted;
    for (const Store::ServerUid &uid : changes.deletions + changes.erasures) {
        if (window.refused.value(uid.itemId(), Eas::ItemAnswer::Taken) != Eas::ItemAnswer::Refused)
            deleted.append(uid);
    }
    if (result.ok() && !taken.isEmpty())
        result = m_changes.acknowledgeFlags(taken);
    if (result.ok() && !deleted.isEmpty())
        result = m_changes.acknowledgeDeletions(deleted);
    if (!changes.isEmpty())
        qCInfo(lcSync) << "account" << m_context.id() << "carried" << taken.size() << "flags and"
                       << deleted.size() << "deletions of" << changes.collectionId;
    goOn(result);
}

/** The next moves that go with one request; those that have to wait for their folder are left. */
QList<Store::Move> UploadStep::takeMoves()
{
    QList<Store::Move> moves;
    while (!m_moves.isEmpty() && moves.size() < Sizes::UploadChanges) {
        const Store::Move move = m_moves.takeFirst();
        if (mayMoveFrom(move.from.collectionId()))
            moves.append(move);
    }
    return moves;
}

bool UploadStep::mayMoveFrom(const Eas::FolderId &collectionId)
{
    if (m_left.contains(collectionId))
        return false;
    const auto state = m_context.folders().find(collectionId);
    if (!state || !isInDoubt(*state))
        return true;
    if (state->isEnabled())
        m_left.insert(collectionId, doubt());
    // In a folder that was never synchronised, messages have the ids that a search has told.
    return !state->isEnabled() && !state->reconciling;
}

void UploadStep::move(const QList<Store::Move> &moves)
{
    QList<Eas::MoveRequest> requests;
    for (const Store::Move &move : moves)
        requests.append({move.from.itemId(), move.from.collectionId(), move.destination});
    auto *command = new Eas::MoveItemsCommand(m_context.session, requests);
    run(command, [this, command, moves] { onMoved(*command, moves); });
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
        const bool isGone = outcome.kind == Eas::MoveOutcome::SourceGone
            || outcome.kind == Eas::MoveOutcome::DestinationGone;
        if (isGone)
            gone.append({moves.at(i), outcome});
        else
            result = resolve(moves.at(i), outcome);
    }
    if (result.ok() && !gone.isEmpty())
        checkTree(gone);
    else
        goOn(result);
}

/** A server that lost its database knows no message: the folder tree shows whether that is so. */
void UploadStep::checkTree(const QList<Refusal> &refusals)
{
    auto *tree = new TreeStep(m_context, this);
    run(tree, [this, tree, refusals](const Eas::Result &result) {
        if (!result.ok())
            end(result);
        else if (tree->isKeyUnknown())
            leaveMoves(refusals);
        else
            resolveAll(refusals);
    });
}

/** Leaves the moves until the folders that they come from are put right. */
void UploadStep::leaveMoves(const QList<Refusal> &refusals)
{
    qCInfo(lcSync) << "account" << m_context.id()
                   << "keeps moves for later: the server did not know the folder tree";
    const Eas::Result reason {Eas::ServerFailed, QStringLiteral("no folder tree")};
    for (const auto &refusal : refusals)
        m_left.insert(refusal.first.from.collectionId(), reason);
    next();
}

void UploadStep::resolveAll(const QList<Refusal> &refusals)
{
    Eas::Result result;
    for (const auto &[move, outcome] : refusals) {
        // A move from or to a folder that is gone is settled.
        const bool areFoldersHere = m_context.folders().find(move.from.collectionId())
            && m_context.folders().find(move.destination);
        if (result.ok() && areFoldersHere)
            result = resolve(move, outcome);
    }
    goOn(result);
}

Eas::Result UploadStep::resolve(const Store::Move &move, const Eas::MoveOutcome &outcome)
{
    Store::Moves moves(*m_context.db, m_context.id());
    switch (outcome.kind) {
    case Eas::MoveOutcome::Moved:
        return moves.acknowledge(
            move, outcome.newServerId.isEmpty() ? move.from.itemId() : outcome.newServerId);
    case Eas::MoveOutcome::SameFolder:
        return moves.acknowledge(move, move.from.itemId());
    case Eas::MoveOutcome::SourceGone:
        return moves.leaveUnconfirmed(move);
    case Eas::MoveOutcome::Locked:
        return {};
    default:
        return moves.revert(move);
    }
}

/** Goes on after a share was resolved; a store that failed ends the task. */
void UploadStep::goOn(const Eas::Result &result)
{
    if (result.ok() || result.code == Eas::NotFound)
        next();
    else
        end(result);
}

} // namespace Daemon
