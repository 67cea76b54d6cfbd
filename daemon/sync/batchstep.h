// SPDX-License-Identifier: LGPL-2.1-or-later
#ifndef DAEMON_SYNC_BATCHSTEP_H
#define DAEMON_SYNC_BATCHSTEP_H

#include "daemon/tasks/task.h"
#include "eas/synccommand.h"

#include <QQueue>
#include <QStringList>

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
    /** A batch has so many folders at most. */
    static constexpr int MaximumFolders = 20;

    BatchStep(const AccountContext &context, const QStringList &collectionIds, qint64 textBound,
              QObject *parent);

    void proceed() override;

    /** Those that are up to date now. */
    const QStringList &done() const { return m_done; }
    /** The server wants the folder tree to be fetched first. */
    bool isTreeStale() const { return m_treeStale; }

private:
    void onAnswer(const Eas::SyncCommand &command);
    void takeNext();
    void writeWindow(const Eas::SyncWindow &window);
    bool awaitsMessages(const QString &collectionId) const;
    Eas::Result takeRefusal(const Eas::SyncWindow &window);

    const QStringList m_collectionIds;
    const qint64 m_textBound; ///< bytes
    QQueue<Eas::SyncWindow> m_windows;
    QStringList m_done;
    bool m_treeStale = false;
};

} // namespace Daemon

#endif
