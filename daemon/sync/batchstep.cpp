// SPDX-License-Identifier: LGPL-2.1-or-later
#include "daemon/sync/batchstep.h"

#include "daemon/store/windowwriter.h"
#include "daemon/sync/foldersync.h"

namespace Daemon {

namespace {

/** Items that all folders together may bring. */
constexpr int Items = 200;

} // namespace

BatchStep::BatchStep(const AccountContext &context, const QStringList &collectionIds,
                     qint64 textBound, QObject *parent)
    : Task(context, parent)
    , m_collectionIds(collectionIds)
    , m_textBound(textBound)
{
}

void BatchStep::proceed()
{
    QList<Eas::SyncRequest> requests;
    for (const QString &collectionId : m_collectionIds) {
        Eas::SyncRequest request;
        const int items = Items / m_collectionIds.size();
        const Eas::Result prepared =
            FolderSync::nextWindow(m_context, collectionId, items, m_textBound, &request);
        if (prepared.ok())
            requests.append(request);
    }
    if (requests.isEmpty()) {
        finishLater({});
        return;
    }
    auto *command = new Eas::SyncCommand(m_context.session, requests);
    start(command, [this, command] { onAnswer(*command); });
}

void BatchStep::onAnswer(const Eas::SyncCommand &command)
{
    const Eas::Result result = command.result();
    if (result.ok()) {
        for (const Eas::SyncWindow &window : command.windows())
            m_windows.enqueue(window);
        takeNext();
    } else if (result.retryAfter > 0) {
        retryOrFail(result, [this] { proceed(); });
    } else {
        emit finished(result, false);
    }
}

void BatchStep::takeNext()
{
    emit progressed(1000 * m_done.size() / m_collectionIds.size());
    while (!m_windows.isEmpty()) {
        const Eas::SyncWindow window = m_windows.dequeue();
        if (window.status != FolderSync::StatusOk) {
            const Eas::Result taken = takeRefusal(window);
            if (!taken.ok()) {
                emit finished(taken, true);
                return;
            }
        } else if (window.unchanged && !awaitsMessages(window.collectionId)) {
            m_done.append(window.collectionId);
        } else {
            FolderSync::logWindow(m_context, window);
            writeWindow(window);
            return;
        }
    }
    emit finished({}, false);
}

void BatchStep::writeWindow(const Eas::SyncWindow &window)
{
    auto job = std::make_unique<Store::WindowWriter>(*m_context.db, m_context.id(), window);
    const Store::WindowWriter *writer = job.get();
    write(std::move(job), [this, window, writer] {
        m_broughtNews = m_broughtNews || writer->hasChangedFolder();
        if (!window.moreAvailable && !window.initial)
            m_done.append(window.collectionId);
        takeNext();
    });
}

/** Whether an answer without changes says something: what is not brought now is gone. */
bool BatchStep::awaitsMessages(const QString &collectionId) const
{
    return !m_context.db->unconfirmed(m_context.id(), collectionId).isEmpty();
}

Eas::Result BatchStep::takeRefusal(const Eas::SyncWindow &window)
{
    Eas::Result refusal = Eas::SyncCommand::statusResult(window.status);
    refusal.status = window.status;
    m_treeStale = m_treeStale || FolderSync::isTreeStale(refusal);
    if (!FolderSync::isKeyLost(refusal))
        return {};
    return FolderSync::beginAnew(m_context, window.collectionId, refusal);
}

} // namespace Daemon
