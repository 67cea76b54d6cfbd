// SPDX-License-Identifier: LGPL-2.1-or-later
#include "daemon/syncrun.h"

#include "daemon/eas/folderchanges.h"
#include "daemon/folderstep.h"
#include "daemon/logging.h"
#include "daemon/treestep.h"

#include <qmailfolder.h>
#include <qmailstore.h>
#include <QTimer>

#include <algorithm>

namespace Daemon {

namespace {

/** The step that fetches the folder tree; no collection has this id. */
const QString Tree = QStringLiteral("\n");

/** Before the folders are known, the tree counts as one of so many steps. */
constexpr int AssumedSteps = 20;

/** A run that more requests join could go on for ever. */
constexpr int MostJoined = 8;

/** What is wrong with the account or its server and not with one folder. */
bool stopsEverything(const Eas::Result &result)
{
    switch (result.code) {
    case Eas::NotFound:
    case Eas::InvalidAnswer:
        return false;
    case Eas::ServerFailed:
        return result.status == 0;
    default:
        return true;
    }
}

/** The inbox first, then what a person looks at most. */
int rank(int folderType)
{
    static const QList<int> order = {Eas::Inbox, Eas::SentItems, Eas::Drafts, Eas::UserMailFolder};
    const int index = order.indexOf(folderType);
    return index < 0 ? order.size() : index;
}

} // namespace

SyncRun::SyncRun(const AccountContext &context, QObject *parent)
    : Operation(parent)
    , m_context(context)
{
}

QList<Request> SyncRun::requests() const
{
    QList<Request> requests;
    for (const Wish &wish : m_wishes)
        requests.append(wish.request);
    return requests;
}

bool SyncRun::join(const Request &request)
{
    if (!isSynchronisation(request.kind) || (m_started && ++m_joined > MostJoined))
        return false;
    Wish wish;
    wish.request = request;
    if (request.kind == RequestKind::SyncFolders) {
        wish.steps = knownFolders(request.folders);
    } else {
        wish.steps = {Tree};
        wish.awaitsTree = request.kind == RequestKind::Sync;
    }
    plan(wish.steps, request.kind == RequestKind::SyncFolders);
    m_wishes.append(wish);
    if (m_started)
        announce();
    return true;
}

bool SyncRun::drop(int requestId)
{
    m_wishes.erase(
        std::remove_if(m_wishes.begin(), m_wishes.end(),
                       [requestId](const Wish &wish) { return wish.request.id == requestId; }),
        m_wishes.end());
    return m_wishes.isEmpty();
}

void SyncRun::plan(const QSet<QString> &steps, bool first)
{
    for (const QString &step : steps) {
        if (m_step && m_current == step)
            continue;
        if (first || step == Tree) {
            m_pending.removeAll(step);
            m_pending.prepend(step);
        } else if (!m_pending.contains(step)) {
            m_pending.append(step);
        }
    }
    // The tree decides which folders there are.
    if (m_pending.removeAll(Tree) > 0)
        m_pending.prepend(Tree);
}

void SyncRun::announce()
{
    const bool isSync = std::any_of(m_wishes.cbegin(), m_wishes.cend(), [](const Wish &wish) {
        return wish.request.kind != RequestKind::FolderSync;
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
    finishWishes();
    if (m_wishes.isEmpty() || m_pending.isEmpty())
        finishAll({});
    else
        startStep(m_pending.takeFirst());
}

void SyncRun::startStep(const QString &name)
{
    m_current = name;
    if (name == Tree)
        m_step = new TreeStep(m_context, this);
    else
        m_step = new FolderStep(m_context, name, this);
    connect(m_step, &SyncStep::paused, this, &SyncRun::paused);
    connect(m_step, &SyncStep::progressed, this, &SyncRun::onProgressed);
    connect(m_step, &SyncStep::finished, this, &SyncRun::onFinished);
    m_step->proceed();
}

void SyncRun::onFinished(const Eas::Result &result, bool local)
{
    m_step->deleteLater();
    m_step = nullptr;
    if (!result.ok())
        qCInfo(lcSync) << "account" << m_context.id()
                       << (m_current == Tree ? "folder tree" : "folder")
                       << (m_current == Tree ? QString() : m_current) << "failed with"
                       << result.code << result.text;
    if (!result.ok() && (local || m_current == Tree || stopsEverything(result))) {
        finishAll(result);
        return;
    }
    if (!repeatAfterTree(result)) {
        ++m_done;
        noteFailure(result);
        if (m_current == Tree)
            awaitFolders();
        for (Wish &wish : m_wishes)
            wish.steps.remove(m_current);
        finishWishes();
    }
    onProgressed(0);
    emit paused();
}

bool SyncRun::repeatAfterTree(const Eas::Result &result)
{
    if (!FolderStep::isTreeStale(result) || m_repeatedAfterTree.contains(m_current))
        return false;
    m_repeatedAfterTree.insert(m_current);
    plan({m_current}, true);
    plan({Tree}, true);
    return true;
}

void SyncRun::noteFailure(const Eas::Result &result)
{
    if (result.ok())
        return;
    // A folder that has gone is no failure for those who asked for whatever there is.
    const bool isGone = !m_context.db->folder(m_context.id(), m_current);
    for (Wish &wish : m_wishes) {
        const bool asked = wish.request.kind == RequestKind::SyncFolders;
        if (wish.steps.contains(m_current) && wish.failure.ok() && (asked || !isGone))
            wish.failure = result;
    }
}

void SyncRun::awaitFolders()
{
    const QStringList enabled = enabledFolders();
    const QSet<QString> folders(enabled.cbegin(), enabled.cend());
    bool isAwaited = false;
    for (Wish &wish : m_wishes) {
        if (!wish.awaitsTree)
            continue;
        wish.awaitsTree = false;
        wish.steps += folders;
        isAwaited = true;
    }
    for (const QString &folder : enabled) {
        if (isAwaited)
            plan({folder}, false);
    }
}

void SyncRun::finishWishes()
{
    QList<Wish> open;
    for (const Wish &wish : qAsConst(m_wishes)) {
        if (wish.steps.isEmpty())
            emit requestFinished(wish.request.id, wish.failure.code);
        else
            open.append(wish);
    }
    m_wishes = open;
}

void SyncRun::finishAll(const Eas::Result &result)
{
    for (const Wish &wish : qAsConst(m_wishes))
        emit requestFinished(wish.request.id, result.code);
    m_wishes.clear();
    emit over(result);
}

void SyncRun::onProgressed(int progress)
{
    const bool isTreeAwaited = std::any_of(m_wishes.cbegin(), m_wishes.cend(),
                                           [](const Wish &wish) { return wish.awaitsTree; });
    int steps = m_done + (m_step ? 1 : 0) + m_pending.size();
    if (isTreeAwaited)
        steps = qMax(steps, AssumedSteps);
    if (steps > 0)
        emit syncProgressed((m_done * 1000 + progress) / steps);
}

QStringList SyncRun::enabledFolders() const
{
    QList<Store::FolderState> folders;
    const auto all = m_context.db->folders(m_context.id());
    for (const Store::FolderState &folder : all) {
        if (QMailFolder(folder.folderId).status() & QMailFolder::SynchronizationEnabled)
            folders.append(folder);
    }
    std::stable_sort(folders.begin(), folders.end(),
                     [](const auto &a, const auto &b) { return rank(a.type) < rank(b.type); });
    QStringList ids;
    for (const Store::FolderState &folder : qAsConst(folders))
        ids.append(folder.serverId);
    return ids;
}

QSet<QString> SyncRun::knownFolders(const QStringList &folderIds) const
{
    QSet<QString> known;
    for (const QString &text : folderIds) {
        bool isNumber = false;
        const QMailFolderId id(text.toULongLong(&isNumber));
        if (!isNumber || QMailFolder(id).parentAccountId() != m_context.id())
            continue;
        if (const auto state = m_context.db->folder(id))
            known.insert(state->serverId);
    }
    return known;
}

} // namespace Daemon
