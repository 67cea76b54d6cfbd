// SPDX-License-Identifier: LGPL-2.1-or-later
#ifndef DAEMON_SYNC_BATCHSTEP_H
#define DAEMON_SYNC_BATCHSTEP_H

#include "daemon/tasks/task.h"
#include "eas/synccommand.h"

#include <QQueue>

namespace Daemon {

/**
 * Asks for the changes of several folders in one request.
 *
 * Most of the time most folders have none, and one short answer says so. A folder that has more
 * than fits, or in which anything is out of the ordinary, is not done afterwards and is left to a
 * FolderStep.
 */
class BatchStep : public Task
{
    Q_OBJECT

public:
    BatchStep(const AccountContext &context, const QList<Eas::FolderId> &collectionIds,
              qint64 textBound, QObject *parent);

    /** Those that are up to date now. */
    const QList<Eas::FolderId> &done() const { return m_done; }
    /** The server wants the folder tree to be fetched first. */
    bool isTreeStale() const { return m_treeStale; }
    /** Whether the server brought anything that was not known here. */
    bool hasBroughtNews() const { return m_broughtNews; }

private:
    void perform() override;
    void onAnswer(const Eas::SyncCommand &command);
    void takeNext();
    void writeWindow(const Eas::SyncWindow &window);
    Eas::Result takeRefusal(const Eas::SyncWindow &window);

    const QList<Eas::FolderId> m_collectionIds;
    const qint64 m_textBound; ///< bytes
    QQueue<Eas::SyncWindow> m_windows;
    QList<Eas::FolderId> m_done;
    bool m_treeStale = false;
    bool m_broughtNews = false;
};

} // namespace Daemon

#endif
