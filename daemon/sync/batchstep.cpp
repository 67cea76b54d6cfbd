// SPDX-License-Identifier: LGPL-2.1-or-later
#include "daemon/sync/batchstep.h"

#include "daemon/pacing/sizes.h"
#include "daemon/store/incoming/windowwriter.h"
#include "daemon/store/state/unconfirmedmessages.h"
#include "daemon/sync/foldersync.h"
#include "daemon/tasks/workreport.h"

namespace Daemon {

BatchStep::BatchStep(const AccountContext &context, const QList<Eas::FolderId> &collectionIds,
                     qint64 textBound, QObject *parent)
    : Task(context, parent)
    , m_collectionIds(collectionIds)
    , m_textBound(textBound)
{
}

void BatchStep::perform()
{
    QList<Eas::SyncRequest> requests;
    for (const Eas::FolderId &collectionId : m_collectionIds) {
        Eas::SyncRequest request;
        const Eas::Result prepared = FolderSync::nextWindow(
            m_context, collectionId, Sizes::BatchItems / m_collectionIds.size(), m_textBound,
            &request);
        if (prepared.ok())
            requests.append(request);
    }
    if (requests.isEmpty()) {
        end({});
        return;
    }
    auto *command = new Eas::SyncCommand(m_context.session, requests);
    run(command, [this, command] { onAnswer(*command); });
}

void BatchStep::onAnswer(const Eas::SyncCommand &command)
{
    const Eas::Result result = command.result();
    if (result.ok()) {
        for (const Eas::SyncWindow &window : command.windows())
            m_windows.enqueue(window);
        takeNext();
    } else if (result.retryAfter > 0) {
        retryOrFail(result, [this] { perform(); });
    } else {
        end(result);
    }
}

void BatchStep::takeNext()
{
    emit progressed(1000 * m_done.size() / m_collectionIds.size());
    // Of unconfirmed messages, an answer without changes says that they are gone.
    const QSet<Eas::FolderId> awaited = m_context.unconfirmed().folders();
    while (!m_windows.isEmpty()) {
        const Eas::SyncWindow window = m_windows.dequeue();
        if (!window.result.ok()) {
            const Eas::Result taken = takeRefusal(window);
            if (!taken.ok()) {
                end(taken);
                return;
            }
        } else if (window.unchanged && !awaited.contains(window.collectionId)) {
            m_done.append(window.collectionId);
        } else {
            FolderSync::logWindow(m_context, window);
            writeWindow(window);
            return;
        }
    }
    end({});
}

void BatchStep::writeWindow(const Eas::SyncWindow &window)
{
    auto job = std::make_unique<Store::WindowWriter>(*m_context.db, m_context.id(), window);
    const Store::WindowWriter *writer = job.get();
    write(std::move(job), [this, window, writer] {
        if (writer->hasChangedFolder()) {
            m_broughtNews = true;
            m_context.report->tellNews();
        }
        if (!window.moreAvailable && !window.initial)
            m_done.append(window.collectionId);
        takeNext();
    });
}

Eas::Result BatchStep::takeRefusal(const Eas::SyncWindow &window)
{
    m_treeStale = m_treeStale || window.result.outcome == Eas::Outcome::TreeStale;
    if (!FolderSync::isKeyLost(window.result))
        return {};
    return FolderSync::startReconciling(m_context, window.collectionId, window.result);
}

} // namespace Daemon
