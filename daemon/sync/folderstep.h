// SPDX-License-Identifier: LGPL-2.1-or-later
#ifndef DAEMON_SYNC_FOLDERSTEP_H
#define DAEMON_SYNC_FOLDERSTEP_H

#include "daemon/pacing/sizes.h"
#include "daemon/tasks/task.h"
#include "eas/synccommand.h"

#include <QElapsedTimer>
#include <QSet>

namespace Daemon {

/**
 * Brings one folder's messages up to date, a window at a time.
 *
 * The next window is asked for only after the previous one was written, so that the key that is
 * remembered is never more than one behind the server's. A refused key, or one that the server
 * fails over again and again, has the folder reconciled, which keeps the messages that the server
 * still has. After the last window the server is asked about messages that were moved here
 * and that no window has shown.
 */
class FolderStep : public Task
{
    Q_OBJECT

public:
    /** `textBound`: bytes of each text. */
    FolderStep(const AccountContext &context, const Eas::FolderId &collectionId, qint64 textBound,
               QObject *parent);

    /** Another folder has shown that the server fails over any key: bad answers do not make this
     * one suspect, and are not waited over again. */
    void trustKey() { m_isKeyTrusted = true; }
    /** Whether the server brought anything that was not known here. */
    bool hasBroughtNews() const { return m_broughtNews; }
    /** After the end: whether the server has failed over every key that it was asked with. */
    bool hasServerFailed() const { return m_hasServerFailed; }

private:
    using Answered = std::function<void(const Eas::SyncCommand &)>;

    void perform() override { ask(); }
    void ask();
    void request(bool isFromStart, const Answered &then);
    void onAnswer(const Eas::SyncCommand &command);
    void onBadAnswer(const Eas::Result &result);
    void onStartTried(const Eas::SyncCommand &command, const Eas::Result &reason);
    void takeWindow(const Eas::SyncWindow &window);
    void reconcile(const Eas::Result &reason, const std::function<void()> &then);
    void startAnew();
    void windowWritten(const Eas::SyncWindow &window);
    void checkMoves();
    bool isLooping(const Eas::SyncWindow &window);
    bool namesNewItems(const Eas::SyncWindow &window);
    void jobProgressed(int progress) override;

    const Eas::FolderId m_collectionId;
    const qint64 m_textBound;
    AdaptiveSize m_windowSize {Sizes::Window};
    QElapsedTimer m_asked;
    QString m_key;        ///< sent last
    int m_badAnswers = 0; ///< to the same key, one after the other
    bool m_isKeyTrusted = false;
    bool m_hasServerFailed = false;
    bool m_isReconciling = false;
    bool m_broughtNews = false;
    QSet<uint> m_named; ///< hashes of the ids that came so far, and of those that went
    int m_idleWindows = 0;
    int m_progress = 0;
};

} // namespace Daemon

#endif
