// SPDX-License-Identifier: LGPL-2.1-or-later
#include "daemon/sync/syncrun.h"

#include "daemon/bus/logging.h"
#include "daemon/sync/batchstep.h"
#include "daemon/sync/folderrank.h"
#include "daemon/sync/folderstep.h"
#include "daemon/sync/foldersync.h"
#include "daemon/sync/treestep.h"
#include "daemon/sync/uploadstep.h"

#include <qmailfolder.h>
#include <qmailstore.h>
#include <QTimer>

#include <algorithm>

namespace Daemon {

namespace {

/** The step that fetches the folder tree; no collection has this id. */
const QString Tree = QStringLiteral("\n");
/** The step that carries local changes to the server, before anything is fetched. */
const QString Upload = QStringLiteral("\t");

/** Before the folders are known, the tree counts as one of so many steps. */
constexpr int AssumedSteps = 20;

/** A run that more requests join could go on for ever. */
constexpr int MaximumJoined = 8;

/** What is wrong with the account or its server and not with one folder. */
bool stopsEverything(const Eas::Result &result)
{
    switch (result.code) {
    case Eas::NotFound:
    case Eas::InvalidAnswer:
        return false;
    case Eas::ServerFailed:
        // A key may be lost by a status of HTTP; the folders then have to begin anew one by one.
        return result.status == 0 && !FolderSync::isKeyLost(result);
    default:
        return true;
    }
}

/** Whether each folder for itself may be better off than the tree, the upload or many at once. */
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

QSet<QString> toSet(const QStringList &list)
{
    return QSet<QString>(list.cbegin(), list.cend());
}

QSet<QString> translated(const QSet<QString> &names, const QHash<QString, QString> &renamed)
{
    QSet<QString> result;
    for (const QString &name : names)
        result.insert(renamed.value(name, name));
    return result;
}

} // namespace

SyncRun::SyncRun(const AccountContext &context, QObject *parent)
    : Job(parent)
    , m_context(context)
{
}

QList<Request> SyncRun::requests() const
{
    QList<Request> requests;
    for (const Waiter &waiter : m_waiters)
        requests.append(waiter.request);
    return requests;
}

bool SyncRun::join(const Request &request)
{
    if (!isSynchronisation(request.kind) || (m_started && ++m_joined > MaximumJoined))
        return false;
    Waiter waiter;
    waiter.request = request;
    const bool isUpload = request.kind == RequestKind::Upload;
    const bool isTreeWanted =
        !isUpload && (request.kind != RequestKind::SyncFolders || !isTreeKnown());
    waiter.awaitsTree = isTreeWanted && request.kind != RequestKind::FolderSync;
    if (isTreeWanted)
        waiter.steps.insert(Tree);
    else if (!isUpload)
        waiter.steps = toSet(foldersOf(request, false));
    if (request.kind != RequestKind::FolderSync)
        waiter.steps.insert(Upload);
    plan(waiter.steps, request.kind == RequestKind::SyncFolders);
    m_waiters.append(waiter);
    if (m_started)
        announce();
    return true;
}

bool SyncRun::drop(int requestId)
{
    m_waiters.erase(std::remove_if(m_waiters.begin(), m_waiters.end(),
                                   [requestId](const Waiter &waiter) {
                                       return waiter.request.id == requestId;
                                   }),
                    m_waiters.end());
    return m_waiters.isEmpty();
}

void SyncRun::plan(const QSet<QString> &steps, bool first)
{
    for (const QString &step : steps) {
        // An upload that is under way may have missed what this request is about.
        if (m_step && m_current.contains(step) && step != Upload)
            continue;
        if (first || step == Tree) {
            m_pending.removeAll(step);
            m_pending.prepend(step);
        } else if (!m_pending.contains(step)) {
            m_pending.append(step);
        }
    }
    // The tree decides which folders there are; what the user did goes before all else.
    for (const QString &step : {Tree, Upload}) {
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
    emit syncBegan();
}

void SyncRun::proceed()
{
    m_started = true;
    announce();
    if (m_step)
        m_step->proceed();
    else
        QTimer::singleShot(0, this, &SyncRun::startNext);
}

void SyncRun::startNext()
{
    finishWaiters();
    if (m_waiters.isEmpty() || m_pending.isEmpty()) {
        // Without a single folder nothing was looked at.
        finishAll(enabledFolders().isEmpty() ? m_treeFailure : Eas::Result());
        return;
    }
    const QStringList batch = takeBatch();
    if (!batch.isEmpty()) {
        startStep(new BatchStep(m_context, batch, textBound(batch.first()), this), batch);
        return;
    }
    const QString name = m_pending.takeFirst();
    if (name == Upload)
        startStep(new UploadStep(m_context, this), {name});
    else if (name == Tree)
        startStep(new TreeStep(m_context, this), {name});
    else
        startFolder(name);
}

void SyncRun::startFolder(const QString &name)
{
    auto *step = new FolderStep(m_context, name, textBound(name), this);
    if (m_hasServerFailed)
        step->trustKey();
    startStep(step, {name});
}

/** Bytes of each text in a folder: enough for everybody who wants that folder. */
qint64 SyncRun::textBound(const QString &folder) const
{
    const auto wantsText = [&folder](const Waiter &waiter) {
        return waiter.steps.contains(folder) && waiter.request.contentType != HeadersAndPreview;
    };
    const bool isWanted = m_awaitedByUpload.contains(folder)
        || std::any_of(m_waiters.cbegin(), m_waiters.cend(), wantsText);
    return isWanted ? FolderSync::TextBound : FolderSync::PreviewBound;
}

/** Takes the next folders that one request can ask for out of the pending steps. */
QStringList SyncRun::takeBatch()
{
    QStringList batch;
    for (const QString &name : qAsConst(m_pending)) {
        if (name == Tree || name == Upload || batch.size() == BatchStep::MaximumFolders)
            break;
        const auto state = m_context.db->folder(m_context.id(), name);
        const bool isAlike = batch.isEmpty() || textBound(name) == textBound(batch.first());
        if (state && isOrdinary(*state) && !m_alone.contains(name) && isAlike)
            batch.append(name);
    }
    if (batch.size() < 2)
        return {};
    for (const QString &name : qAsConst(batch))
        m_pending.removeAll(name);
    return batch;
}

/** Whether no more is to be found out about the folder than its changes. */
bool SyncRun::isOrdinary(const Store::FolderState &folder) const
{
    return !folder.reconciling && m_context.db->moved(m_context.id(), folder.serverId).isEmpty();
}

void SyncRun::startStep(Task *step, const QStringList &names)
{
    m_step = step;
    m_current = names;
    m_idsBefore = folderIds();
    connect(step, &Task::paused, this, &SyncRun::paused);
    connect(step, &Task::progressed, this, &SyncRun::onProgressed);
    connect(step, &Task::finished, this, &SyncRun::onFinished);
    step->proceed();
}

void SyncRun::onFinished(const Eas::Result &result, bool local)
{
    Task *step = m_step;
    const QStringList names = m_current;
    step->deleteLater();
    m_broughtNews = m_broughtNews || step->hasBroughtNews();
    if (const auto *folder = qobject_cast<FolderStep *>(step))
        m_hasServerFailed = m_hasServerFailed || folder->hasServerFailed();
    if (!result.ok())
        qCInfo(lcSync) << "account" << m_context.id()
                       << (names.first() == Tree ? QStringLiteral("folder tree")
                                                 : names.join(QLatin1Char(' ')))
                       << "failed with" << result.code << result.text;
    const bool isTree = names.first() == Tree;
    const bool isOneFolder = qobject_cast<FolderStep *>(step);
    const bool isFatal = isOneFolder ? isServersFault(result) : !spoilsOneThing(result);
    if (!result.ok() && (local || isFatal)) {
        m_step = nullptr;
        finishAll(result);
        return;
    }
    if (isTree)
        m_treeFailure = result;
    const QHash<QString, QString> renamed = renamings();
    if (!renamed.isEmpty())
        followRenamings(renamed);
    if (const auto *upload = qobject_cast<UploadStep *>(step))
        onUploadFinished(*upload, result, renamed);
    else if (qobject_cast<BatchStep *>(step))
        onBatchFinished(names);
    else
        onStepFinished(names.first(), result);
    finishWaiters();
    onProgressed(0);
    emit paused();
}

/** A folder has failed, from the start as well: is there hope for the others? */
bool SyncRun::isServersFault(const Eas::Result &result) const
{
    return stopsEverything(result) || (result.code == Eas::InvalidAnswer && !m_treeFailure.ok());
}

/** What the upload had to leave for their own steps gets these, and goes up after them: once. */
void SyncRun::onUploadFinished(const UploadStep &upload, const Eas::Result &result,
                               const QHash<QString, QString> &renamed)
{
    emit uploaded();
    const QHash<QString, Eas::Result> left = upload.left();
    m_uploadFailure = result.ok() && !left.isEmpty() ? *left.cbegin() : result;
    if (result.ok() && !left.isEmpty() && !m_isUploadRepeated) {
        m_isUploadRepeated = true;
        m_awaitedByUpload = translated(toSet(left.keys()), renamed);
        plan(m_awaitedByUpload, true);
    }
    onStepFinished(Upload, result);
}

void SyncRun::onBatchFinished(const QStringList &names)
{
    const auto *batch = static_cast<BatchStep *>(m_step);
    m_step = nullptr;
    QStringList left;
    for (const QString &name : names) {
        if (batch->done().contains(name)) {
            noteDone(name);
        } else {
            m_alone.insert(name);
            left.append(name);
        }
    }
    m_pending = left + m_pending;
    if (batch->isTreeStale() && !left.isEmpty()) {
        for (const QString &name : qAsConst(left))
            m_repeatedAfterTree.insert(name);
        plan({Tree}, true);
    }
}

void SyncRun::onStepFinished(const QString &name, const Eas::Result &result)
{
    m_step = nullptr;
    if (FolderSync::isTreeStale(result) && repeatAfterTree(name))
        return;
    noteFailure(name, result);
    if (name == Tree)
        awaitFolders();
    noteDone(name);
}

bool SyncRun::repeatAfterTree(const QString &name)
{
    if (m_repeatedAfterTree.contains(name))
        return false;
    m_repeatedAfterTree.insert(name);
    plan({name}, true);
    plan({Tree}, true);
    return true;
}

void SyncRun::noteDone(const QString &name)
{
    ++m_done;
    if (m_awaitedByUpload.remove(name) && m_awaitedByUpload.isEmpty())
        plan({Upload}, true);
    const bool isRepeated = name == Upload && !m_awaitedByUpload.isEmpty();
    if (isRepeated || m_pending.contains(name))
        return;
    for (Waiter &waiter : m_waiters)
        waiter.steps.remove(name);
}

void SyncRun::noteFailure(const QString &name, const Eas::Result &result)
{
    if (result.ok())
        return;
    // A folder that has gone is no failure for those who asked for whatever there is.
    const bool isFolder = name != Upload && name != Tree;
    const bool isGone = isFolder && !m_context.db->folder(m_context.id(), name);
    for (Waiter &waiter : m_waiters) {
        const bool asked = waiter.request.kind == RequestKind::SyncFolders;
        if (waiter.steps.contains(name) && waiter.failure.ok() && (asked || !isGone))
            waiter.failure = result;
    }
}

/** What was to be asked for as soon as the tree is known is asked for now. */
void SyncRun::awaitFolders()
{
    for (Waiter &waiter : m_waiters) {
        if (!waiter.awaitsTree)
            continue;
        waiter.awaitsTree = false;
        const QStringList folders = foldersOf(waiter.request, true);
        waiter.steps += toSet(folders);
        for (const QString &folder : folders)
            plan({folder}, false);
    }
}

QHash<quint64, QString> SyncRun::folderIds() const
{
    QHash<quint64, QString> ids;
    const auto folders = m_context.db->folders(m_context.id());
    for (const Store::FolderState &folder : folders)
        ids.insert(folder.folderId.toULongLong(), folder.serverId);
    return ids;
}

/** New ids of folders that the last step has learned, by the former ones. */
QHash<QString, QString> SyncRun::renamings() const
{
    QHash<QString, QString> renamed;
    const QHash<quint64, QString> now = folderIds();
    for (auto it = m_idsBefore.cbegin(); it != m_idsBefore.cend(); ++it) {
        const QString id = now.value(it.key());
        if (!id.isEmpty() && id != it.value())
            renamed.insert(it.value(), id);
    }
    return renamed;
}

/** What was to be done with folders still is where the server calls them otherwise now. */
void SyncRun::followRenamings(const QHash<QString, QString> &renamed)
{
    QStringList pending;
    for (const QString &name : qAsConst(m_pending))
        pending.append(renamed.value(name, name));
    m_pending = pending;
    for (QSet<QString> *names : {&m_alone, &m_repeatedAfterTree, &m_awaitedByUpload})
        *names = translated(*names, renamed);
    // All of them begin anew, and only what has begun is watched for news.
    const QSet<QString> all = toSet(enabledFolders());
    plan(all, false);
    for (Waiter &waiter : m_waiters) {
        waiter.steps = translated(waiter.steps, renamed);
        if (waiter.request.kind != RequestKind::FolderSync)
            waiter.steps += all;
    }
}

void SyncRun::finishWaiters()
{
    QList<Waiter> open;
    for (const Waiter &waiter : qAsConst(m_waiters)) {
        if (waiter.steps.isEmpty())
            emit requestFinished(waiter.request.id, waiter.failure);
        else
            open.append(waiter);
    }
    m_waiters = open;
}

void SyncRun::finishAll(const Eas::Result &result)
{
    for (const Waiter &waiter : qAsConst(m_waiters))
        emit requestFinished(waiter.request.id, result);
    m_waiters.clear();
    emit over(result);
}

void SyncRun::onProgressed(int progress)
{
    const bool isTreeAwaited = std::any_of(m_waiters.cbegin(), m_waiters.cend(),
                                           [](const Waiter &waiter) { return waiter.awaitsTree; });
    const int current = m_step ? m_current.size() : 0;
    int steps = m_done + current + m_pending.size();
    if (isTreeAwaited)
        steps = qMax(steps, AssumedSteps);
    if (steps > 0)
        emit syncProgressed((m_done * 1000 + current * progress) / steps);
}

QStringList SyncRun::enabledFolders() const
{
    QList<Store::FolderState> folders;
    const auto all = m_context.db->folders(m_context.id());
    for (const Store::FolderState &folder : all) {
        if (QMailFolder(folder.folderId).status() & QMailFolder::SynchronizationEnabled)
            folders.append(folder);
    }
    std::stable_sort(folders.begin(), folders.end(), [](const auto &a, const auto &b) {
        return folderRank(a.type) < folderRank(b.type);
    });
    QStringList ids;
    for (const Store::FolderState &folder : qAsConst(folders))
        ids.append(folder.serverId);
    return ids;
}

/** `isTreeNew`: it was not there when the request came. */
QStringList SyncRun::foldersOf(const Request &request, bool isTreeNew) const
{
    if (request.kind == RequestKind::Sync)
        return enabledFolders();
    const QStringList known = knownFolders(request.folders);
    // A mail program that knows no inbox yet asks for the news of no folder, which is number 0.
    const bool isInboxMeant = isTreeNew || request.folders.contains(QStringLiteral("0"));
    return known.isEmpty() && isInboxMeant ? inbox() : known;
}

QStringList SyncRun::knownFolders(const QStringList &folderIds) const
{
    QStringList known;
    for (const QString &text : folderIds) {
        bool isNumber = false;
        const QMailFolderId id(text.toULongLong(&isNumber));
        if (!isNumber || QMailFolder(id).parentAccountId() != m_context.id())
            continue;
        const auto state = m_context.db->folder(id);
        if (state && !known.contains(state->serverId))
            known.append(state->serverId);
    }
    return known;
}

QStringList SyncRun::inbox() const
{
    const auto all = m_context.db->folders(m_context.id());
    for (const Store::FolderState &folder : all) {
        if (folder.type == Eas::Inbox)
            return {folder.serverId};
    }
    return {};
}

bool SyncRun::isTreeKnown() const
{
    return m_context.db->account(m_context.id()).folderSyncKey != QLatin1String("0");
}

} // namespace Daemon
