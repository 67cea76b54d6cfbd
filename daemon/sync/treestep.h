// SPDX-License-Identifier: LGPL-2.1-or-later
#ifndef DAEMON_SYNC_TREESTEP_H
#define DAEMON_SYNC_TREESTEP_H

#include "daemon/tasks/task.h"

namespace Eas {
class FolderSyncCommand;
}

namespace Daemon {

/**
 * Brings the account's folder tree up to date. After a refused key it fetches the whole tree, by
 * key "0".
 *
 * So it does after a lost answer, where asking again brings nothing: there are servers that compare
 * no keys and tell each change once. That an answer is awaited is remembered on disk.
 */
class TreeStep : public Task
{
    Q_OBJECT

public:
    using Task::Task;

    /** Whether the server refused the key, or no key was known here. */
    bool isKeyUnknown() const { return m_isKeyUnknown; }

private:
    void perform() override;
    void ask(const QString &key);
    void onAnswer(const Eas::FolderSyncCommand &command, const QString &key);
    void noteAsked();
    void onFailure(const Eas::FolderSyncCommand &command, const QString &key);
    void jobProgressed(int progress) override;

    bool m_isAnswerMissing = false; ///< one to the key that is known here
    bool m_isNoted = false;
    bool m_isKeyUnknown = false;
};

} // namespace Daemon

#endif
