// SPDX-License-Identifier: LGPL-2.1-or-later
#ifndef DAEMON_SYNC_TREESTEP_H
#define DAEMON_SYNC_TREESTEP_H

#include "daemon/tasks/task.h"

namespace Eas {
class FolderSyncCommand;
}

namespace Daemon {

/**
 * Brings the account's folder tree up to date. A refused key leads to the whole tree anew.
 *
 * So does an answer that was lost, where asking again brings nothing: there are servers that
 * compare no keys and tell each change once, heard or not. That an answer is awaited is remembered
 * on disk.
 */
class TreeStep : public Task
{
    Q_OBJECT

public:
    TreeStep(const AccountContext &context, QObject *parent);

    void proceed() override;
    /** Whether one of both sides had forgotten the tree. */
    bool wasForgotten() const { return m_wasForgotten; }

private:
    void ask(const QString &key);
    void onAnswer(const Eas::FolderSyncCommand &command, const QString &key);
    void noteAsked();
    void onFailure(const Eas::FolderSyncCommand &command, const QString &key);
    void jobProgressed(int progress) override;

    bool m_isAnswerMissing = false; ///< one to the key that is known here
    bool m_isNoted = false;
    bool m_wasForgotten = false;
};

} // namespace Daemon

#endif
