// SPDX-License-Identifier: LGPL-2.1-or-later
#ifndef DAEMON_SYNC_FOLDERSTEP_H
#define DAEMON_SYNC_FOLDERSTEP_H

#include "daemon/sync/windowsize.h"
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
 * fails over again and again, leads to a fresh synchronisation that keeps the messages which the
 * server still has. After the last window the server is asked about messages that were moved here
 * and that no window has shown.
 */
class FolderStep : public Task
{
    Q_OBJECT

public:
    /** `textBound`: bytes of each text. */
    FolderStep(const AccountContext &context, const QString &collectionId, qint64 textBound,
               QObject *parent);

    void proceed() override;

    /** Another folder has shown that the server fails whatever the key: bad answers are no key's
     * fault, and are not waited over once more. */
    void trustKey() { m_isKeyTrusted = true; }
    /** After the end: whether the server has failed over every key that it was asked with. */
    bool hasServerFailed() const { return m_hasServerFailed; }

private:
    void ask();
    void onAnswer(const Eas::SyncCommand &command);
    void onBadAnswer(const Eas::Result &result);
    void tryFromStart(const Eas::Result &reason);
    void onStartTried(const Eas::SyncCommand &command, const Eas::Result &reason);
    void takeWindow(const Eas::SyncWindow &window);
    void beginAnew(const Eas::Result &reason);
    void windowWritten(const Eas::SyncWindow &window);
    void checkMoved();
    bool isLooping(const Eas::SyncWindow &window);
    bool namesNewItems(const Eas::SyncWindow &window);
    void jobProgressed(int progress) override;

    const QString m_collectionId;
    const qint64 m_textBound;
    WindowSize m_windowSize;
    QElapsedTimer m_asked;
    QString m_key;        ///< sent last
    int m_badAnswers = 0; ///< to the same key, one after the other
    bool m_isKeyTrusted = false;
    bool m_hasServerFailed = false;
    bool m_begunAnew = false;
    QSet<uint> m_named; ///< hashes of the ids that came so far, and of those that went
    int m_idleWindows = 0;
    int m_progress = 0;
};

} // namespace Daemon

#endif
