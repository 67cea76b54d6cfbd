// SPDX-License-Identifier: LGPL-2.1-or-later
#include "daemon/sync/syncrun.h"

#include "asclient/asdbusinterface.h"
#include "daemon/log/logging.h"
#include "daemon/pacing/sizes.h"
#include "daemon/store/state/accountkeys.h"
#include "daemon/store/state/unconfirmedmessages.h"
#include "daemon/sync/batchstep.h"
#include "daemon/sync/folderstep.h"
#include "daemon/sync/foldersync.h"
#include "daemon/sync/treestep.h"
#include "daemon/sync/uploadstep.h"
#include "daemon/tasks/workreport.h"

#include <qmailfolder.h>
#include <qmailstore.h>

#include <algorithm>
#include <utility>

namespace Daemon {

namespace {

/** Before the folders are known, the tree counts as one of so many steps. */
constexpr int AssumedSteps = 20;

/** How many requests may join a run, which could otherwise go on for ever. */
constexpr int MaximumJoined = 8;

/** What is wrong with the account or its server and not with one folder. */
bool stopsEverything(const Eas::Result &result)
{
    switch (result.code) {
    case Eas::NotFound:
    case Eas::InvalidAnswer:
        return false;
    case Eas::ServerFailed:
        // A key may be lost by a status of HTTP; the folders are then reconciled one by one.
        return !result.isStatus() && !FolderSync::isKeyLost(result);
    default:
        return true;
    }
}

/** Whether the run goes on with each folder by itself after the tree, the upload or a batch
 * failed. */
bool spoilsOneThing(const Eas::Result &result)
{
    switch (result.code) {
    case Eas::NotFound:
    case Eas::InvalidAnswer:
        return true;
    case Eas::ServerFailed:
        return result.retryAfter == 0;
    default:
        return false;
    }
}

QList<SyncStep> stepsFor(const QList<Eas::FolderId> &collectionIds)
{
    QList<SyncStep> steps;
    for (const Eas::FolderId &collectionId : collectionIds)
        steps.append(SyncStep(collectionId));
    return steps;
}

QSet<SyncStep> toSet(const QList<Eas::FolderId> &collectionIds)
{
    const QList<SyncStep> steps = stepsFor(collectionIds);
    return {steps.cbegin(), steps.cend()};
}

QSet<SyncStep> translated(const QSet<SyncStep> &steps, const QHash<SyncStep, SyncStep> &renamed)
{
    QSet<SyncStep> result;
    for (const SyncStep &step : steps)
        result.insert(renamed.value(step, step));
    return result;
}

} // namespace

SyncRun::~SyncRun()
{
    endSync();
}

bool SyncRun::mayJoin(const Request &request) const
{
    return isSynchronisation(request.kind) && m_joined < MaximumJoined;
}

void SyncRun::add(const Request &request)
{
    Waiter waiter {request};
    const bool isUpload = request.kind == RequestKind::Upload;
    const bool isTreeWanted =
        !isUpload && (request.kind != RequestKind::SyncFolders || !isTreeKnown());
    waiter.awaitsTree = isTreeWanted && request.kind != RequestKind::FolderSync;
    if (isTreeWanted)
        waiter.steps.insert(SyncStep::Tree);
    else if (!isUpload)
        waiter.steps = toSet(foldersOf(request, false));
    if (request.kind != RequestKind::FolderSync)
        waiter.steps.insert(SyncStep::Upload);
    plan(waiter.steps, request.kind == RequestKind::SyncFolders);
    m_waiters.append(waiter);
    if (m_started) {
        ++m_joined;
        announce();
    }
}

void SyncRun::plan(const QSet<SyncStep> &steps, bool first)
{
    for (const SyncStep &step : steps) {
        // An upload that is under way may have missed what this request is about.
        if (m_current.contains(step) && step != SyncStep::Upload)
            continue;
        if (first || step == SyncStep::Tree) {
            m_pending.removeAll(step);
            m_pending.prepend(step);
        } else if (!m_pending.contains(step)) {
            m_pending.append(step);
        }
    }
    // The tree decides which folders there are; what the user did goes before all else.
    for (const SyncStep &step : {SyncStep::Tree, SyncStep::Upload}) {
        if (m_pending.removeAll(step) > 0)
            m_pending.prepend(step);
    }
}

void SyncRun::announce()
{
    // An upload alone is none: shown as an action, it would hold up the person's next one, which
    // may be to take back what goes up.
    const bool isSync = std::any_of(m_waiters.cbegin(), m_waiters.cend(), [](const Waiter &waiter) {
        return waiter.request.kind == RequestKind::Sync
            || waiter.request.kind == RequestKind::SyncFolders;
    });
    if (m_announced || !isSync)
        return;
    m_announced = true;
    emit m_context.report->syncBegan(m_context.id().toULongLong());
}

void SyncRun::endSync()
{
    if (std::exchange(m_announced, false))
        m_context.report->endSync(m_context.id().toULongLong());
}

void SyncRun::proceed()
{
    m_started = true;
    announce();
    Job::proceed();
}

void SyncRun::perform()
{
    answerReady();
    if (m_waiters.isEmpty() || m_pending.isEmpty()) {
        // Without a folder, nothing but the tree was asked for.
        end(enabledFolders().isEmpty() ? m_treeFailure : Eas::Result());
        return;
    }
    const QList<Eas::FolderId> batch = takeBatch();
    if (!batch.isEmpty()) {
        const QList<SyncStep> steps = stepsFor(batch);
        startStep(new BatchStep(m_context, batch, textBound(steps.first()), this), steps);
        return;
    }
    const SyncStep step = m_pending.takeFirst();
    if (step.isFolder())
        startFolder(step);
    else if (step == SyncStep::Tree)
        startStep(new TreeStep(m_context, this), {step});
    else
        startStep(new UploadStep(m_context, this), {step});
}

void SyncRun::startFolder(const SyncStep &step)
{
    auto *task = new FolderStep(m_context, step.collectionId(), textBound(step), this);
    if (m_hasServerFailed)
        task->trustKey();
    startStep(task, {step});
}

/** Bytes of each text in a folder: enough for everybody who wants that folder. */
qint64 SyncRun::textBound(const SyncStep &folder) const
{
    const auto wantsText = [&folder](const Waiter &waiter) {
        return waiter.steps.contains(folder)
            && waiter.request.contentType != Activesync::AsDBusInterface::MessageLists;
    };
    const bool isWanted = m_awaitedByUpload.contains(folder)
        || std::any_of(m_waiters.cbegin(), m_waiters.cend(), wantsText);
    return isWanted ? FolderSync::TextBound : FolderSync::PreviewBound;
}

/** Takes the next folders that one request can ask for out of the pending steps. */
QList<Eas::FolderId> SyncRun::takeBatch()
{
    if (m_pending.size() < 2 || !m_pending.first().isFolder())
        return {};
    QList<Eas::FolderId> batch;
    const QSet<Eas::FolderId> ordinary = ordinaryFolders();
    for (const SyncStep &step : qAsConst(m_pending)) {
        if (!step.isFolder() || batch.size() == Sizes::BatchFolders)
            break;
        const bool isAlike =
            batch.isEmpty() || textBound(step) == textBound(SyncStep(batch.first()));
        if (ordinary.contains(step.collectionId()) && !m_alone.contains(step) && isAlike)
            batch.append(step.collectionId());
    }
    if (batch.size() < 2)
        return {};
    for (const SyncStep &step : stepsFor(batch))
        m_pending.removeAll(step);
    return batch;
}

/** Those of which only changes are to be fetched: no reconciliation, and no move to be checked. */
QSet<Eas::FolderId> SyncRun::ordinaryFolders() const
{
    const QSet<Eas::FolderId> destinations = m_context.unconfirmed().destinations();
    QSet<Eas::FolderId> ids;
    const auto folders = m_context.folders().all();
    for (const Store::FolderState &folder : folders) {
        if (!folder.reconciling && !destinations.contains(folder.serverId))
            ids.insert(folder.serverId);
    }
    return ids;
}

void SyncRun::startStep(Task *task, const QList<SyncStep> &steps)
{
    m_current = steps;
    m_hasAskedForNews = m_hasAskedForNews || !steps.contains(SyncStep::Upload);
    const bool mayRename = steps.contains(SyncStep::Tree) || steps.contains(SyncStep::Upload);
    m_idsBefore = mayRename ? folderIds() : QHash<quint64, Eas::FolderId>();
    connect(task, &Task::progressed, this, &SyncRun::onProgressed);
    run(task, [this, task](const Eas::Result &result) { onFinished(task, result); });
}

void SyncRun::onFinished(Task *task, const Eas::Result &result)
{
    const QList<SyncStep> steps = std::exchange(m_current, {});
    const auto *folder = qobject_cast<FolderStep *>(task);
    const auto *batch = qobject_cast<BatchStep *>(task);
    m_broughtNews =
        m_broughtNews || (folder && folder->hasBroughtNews()) || (batch && batch->hasBroughtNews());
    m_hasServerFailed = m_hasServerFailed || (folder && folder->hasServerFailed());
    const bool isTree = steps.first() == SyncStep::Tree;
    for (const SyncStep &step : result.ok() ? QList<SyncStep>() : steps)
        qCInfo(lcSync) << "account" << m_context.id() << step.name() << "failed with" << result.code
                       << result.text;
    const bool isFatal = result.cause == Eas::Cause::Here
        || (folder ? isServersFault(result) : !spoilsOneThing(result));
    if (!result.ok() && isFatal) {
        end(result);
        return;
    }
    if (isTree)
        m_treeFailure = result;
    const QHash<SyncStep, SyncStep> renamed = renamings();
    if (!renamed.isEmpty())
        followRenamings(renamed);
    if (const auto *upload = qobject_cast<UploadStep *>(task))
        onUploadFinished(*upload, result, renamed);
    else if (batch)
        onBatchFinished(*batch, steps);
    else
        onStepFinished(steps.first(), result);
    answerReady();
    onProgressed(0);
    emit paused();
}

/** Whether a folder has failed so that the others would, too. */
bool SyncRun::isServersFault(const Eas::Result &result) const
{
    return stopsEverything(result) || (result.code == Eas::InvalidAnswer && !m_treeFailure.ok());
}

/** Plans the steps of folders that the upload had to leave, and the upload after them: once. */
void SyncRun::onUploadFinished(const UploadStep &upload, const Eas::Result &result,
                               const QHash<SyncStep, SyncStep> &renamed)
{
    emit uploaded();
    const QHash<Eas::FolderId, Eas::Result> left = upload.left();
    m_uploadFailure = result.ok() && !left.isEmpty() ? *left.cbegin() : result;
    if (result.ok() && !left.isEmpty() && !m_isUploadRepeated) {
        m_isUploadRepeated = true;
        m_awaitedByUpload = translated(toSet(left.keys()), renamed);
        plan(m_awaitedByUpload, true);
    }
    onStepFinished(SyncStep::Upload, result);
}

void SyncRun::onBatchFinished(const BatchStep &batch, const QList<SyncStep> &steps)
{
    QList<SyncStep> left;
    for (const SyncStep &step : steps) {
        if (batch.done().contains(step.collectionId())) {
            noteDone(step);
        } else {
            m_alone.insert(step);
            left.append(step);
        }
    }
    m_pending = left + m_pending;
    if (batch.isTreeStale() && !left.isEmpty()) {
        for (const SyncStep &step : qAsConst(left))
            m_repeatedAfterTree.insert(step);
        plan({SyncStep::Tree}, true);
    }
}

void SyncRun::onStepFinished(const SyncStep &step, const Eas::Result &result)
{
    if (result.outcome == Eas::Outcome::TreeStale && repeatAfterTree(step))
        return;
    noteFailure(step, result);
    if (step == SyncStep::Tree)
        awaitFolders();
    noteDone(step);
}

bool SyncRun::repeatAfterTree(const SyncStep &step)
{
    if (m_repeatedAfterTree.contains(step))
        return false;
    m_repeatedAfterTree.insert(step);
    plan({step}, true);
    plan({SyncStep::Tree}, true);
    return true;
}

void SyncRun::noteDone(const SyncStep &step)
{
    ++m_done;
    if (m_awaitedByUpload.remove(step) && m_awaitedByUpload.isEmpty())
        plan({SyncStep::Upload}, true);
    const bool isRepeated = step == SyncStep::Upload && !m_awaitedByUpload.isEmpty();
    if (isRepeated || m_pending.contains(step))
        return;
    for (Waiter &waiter : m_waiters)
        waiter.steps.remove(step);
}

void SyncRun::noteFailure(const SyncStep &step, const Eas::Result &result)
{
    if (result.ok())
        return;
    // A folder that has gone is no failure for those who asked for whatever there is.
    const bool isGone = step.isFolder() && !m_context.folders().find(step.collectionId());
    for (Waiter &waiter : m_waiters) {
        const bool asked = waiter.request.kind == RequestKind::SyncFolders;
        if (waiter.steps.contains(step) && waiter.failure.ok() && (asked || !isGone))
            waiter.failure = result;
    }
}

/** Plans the folders that requests wanted as soon as the tree is known. */
void SyncRun::awaitFolders()
{
    for (Waiter &waiter : m_waiters) {
        if (!waiter.awaitsTree)
            continue;
        waiter.awaitsTree = false;
        const QList<SyncStep> folders = stepsFor(foldersOf(waiter.request, true));
        for (const SyncStep &folder : folders) {
            waiter.steps.insert(folder);
            plan({folder}, false);
        }
    }
}

QHash<quint64, Eas::FolderId> SyncRun::folderIds() const
{
    QHash<quint64, Eas::FolderId> ids;
    const auto folders = m_context.folders().all();
    for (const Store::FolderState &folder : folders)
        ids.insert(folder.folderId.toULongLong(), folder.serverId);
    return ids;
}

/** New ids of folders that the last step has learned, by the former ones. */
QHash<SyncStep, SyncStep> SyncRun::renamings() const
{
    QHash<SyncStep, SyncStep> renamed;
    if (m_idsBefore.isEmpty())
        return renamed;
    const QHash<quint64, Eas::FolderId> now = folderIds();
    for (auto it = m_idsBefore.cbegin(); it != m_idsBefore.cend(); ++it) {
        const Eas::FolderId id = now.value(it.key());
        if (!id.isEmpty() && id != it.value())
            renamed.insert(SyncStep(it.value()), SyncStep(id));
    }
    return renamed;
}

/** Replaces the former ids of folders in all that is planned. */
void SyncRun::followRenamings(const QHash<SyncStep, SyncStep> &renamed)
{
    for (SyncStep &step : m_pending)
        step = renamed.value(step, step);
    for (QSet<SyncStep> *steps : {&m_alone, &m_repeatedAfterTree, &m_awaitedByUpload})
        *steps = translated(*steps, renamed);
    // Renamed folders are to be reconciled, and only what has begun with that is watched for news.
    const QSet<SyncStep> all = toSet(enabledFolders());
    plan(all, false);
    for (Waiter &waiter : m_waiters) {
        waiter.steps = translated(waiter.steps, renamed);
        if (waiter.request.kind != RequestKind::FolderSync)
            waiter.steps += all;
    }
}

void SyncRun::end(const Eas::Result &result)
{
    // With nothing to carry, an upload alone says nothing about the server.
    if (m_announced && (m_hasAskedForNews || !result.ok()))
        m_context.report->noteSync(m_context, result);
    answerAll(result);
    endSync();
    Job::end(result);
}

void SyncRun::onProgressed(int progress)
{
    const bool isTreeAwaited = std::any_of(m_waiters.cbegin(), m_waiters.cend(),
                                           [](const Waiter &waiter) { return waiter.awaitsTree; });
    const int current = m_current.size();
    int steps = m_done + current + m_pending.size();
    if (isTreeAwaited)
        steps = qMax(steps, AssumedSteps);
    if (steps > 0 && m_announced)
        emit m_context.report->syncProgressed(m_context.id().toULongLong(),
                                              (m_done * 1000 + current * progress) / steps);
}

QList<Eas::FolderId> SyncRun::enabledFolders() const
{
    QList<Eas::FolderId> ids;
    for (const Store::FolderState &folder : m_context.folders().enabled())
        ids.append(folder.serverId);
    return ids;
}

/** `isTreeNew`: it was not there when the request came. */
QList<Eas::FolderId> SyncRun::foldersOf(const Request &request, bool isTreeNew) const
{
    if (request.kind == RequestKind::Sync)
        return enabledFolders();
    const QList<Eas::FolderId> known = knownFolders(request.folders);
    // A mail program that knows no inbox yet asks for the news of no folder, which is number 0.
    const bool isInboxMeant = isTreeNew || request.folders.contains(QStringLiteral("0"));
    const auto inbox = m_context.folders().find(Eas::Inbox);
    return known.isEmpty() && isInboxMeant && inbox ? QList<Eas::FolderId> {inbox->serverId}
                                                    : known;
}

QList<Eas::FolderId> SyncRun::knownFolders(const QStringList &folderIds) const
{
    QList<Eas::FolderId> known;
    for (const QString &text : folderIds) {
        bool isNumber = false;
        const QMailFolderId id(text.toULongLong(&isNumber));
        if (!isNumber || QMailFolder(id).parentAccountId() != m_context.id())
            continue;
        const auto state = m_context.folders().find(id);
        if (state && !known.contains(state->serverId))
            known.append(state->serverId);
    }
    return known;
}

bool SyncRun::isTreeKnown() const
{
    return m_context.keys().state().folderSyncKey != Eas::FirstKey;
}

} // namespace Daemon
