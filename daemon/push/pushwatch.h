// SPDX-License-Identifier: LGPL-2.1-or-later
#ifndef DAEMON_PUSH_PUSHWATCH_H
#define DAEMON_PUSH_PUSHWATCH_H

#include "daemon/pacing/alarm.h"
#include "daemon/push/folderturns.h"
#include "daemon/push/heartbeat.h"
#include "daemon/tasks/accountcontext.h"

#include <QObject>
#include <QPointer>
#include <QStringList>

namespace Eas {
class PingCommand;
}

namespace Daemon {

/**
 * Waits at the server for news of an account's folders, while its push is on: one request that the
 * server answers when something changed or the heartbeat is over.
 *
 * Tells what changed and then rests until resume(), so that news is fetched before more is waited
 * for; true news without end is fetched at a bounded rate. Errors, and answers that lead to
 * nothing, are followed by longer and longer pauses; only a refused login ends the watch until the
 * account works again.
 */
class PushWatch : public QObject
{
    Q_OBJECT

public:
    /** The context must outlive it; each request uses the session that it has then. */
    PushWatch(const AccountContext &context, QObject *parent);
    ~PushWatch() override;

    /** A synchronisation succeeded: waits, or goes on waiting, if it does not. That ends a pause
     * after failures, but not their count: if this wait fails, too, the pause is the next longer
     * one. After noteNews() it ends one after empty news as well. */
    void resume();
    /** A synchronisation brought something, so that the server's early answers were true: they are
     * counted from 0 again. */
    void noteNews();
    /** A synchronisation failed or was stopped: after a pause another one is asked for. */
    void postpone(const Eas::Result &reason);
    /** Waits for nothing until resume() or postpone(). */
    void stop();
    /** A synchronisation begins, after which resume() or postpone() comes: cancels a request that
     * has only just gone out. Some servers keep one state of a device for all of its requests, and
     * of two that begin together the later to end overwrites what the other wrote: nothing is
     * watched then, and no answer tells so. */
    void makeWay();
    /** The network is another one: what waits now may wait in vain. */
    void networkChanged();
    /** Whether a request waits at the server. */
    bool isWaiting() const { return !m_command.isNull(); }
    bool isPausing() const { return m_pause.isActive(); }
    /** The login was refused. */
    bool isGivenUp() const { return m_givenUp; }
    /** Since when it waits without a failure, and until when it pauses; UTC seconds since 1970. */
    qint64 waitsSince() const { return m_waitsSince; }
    qint64 pausesUntil() const { return m_pausesUntil; }
    /** What has gone wrong last, until the server has answered as it should. */
    Eas::Result failure() const { return m_failure; }

signals:
    /** Decimal QMailFolderIds of the folders with news. */
    void foldersChanged(const QStringList &folders);
    /** The whole account must be synchronised before anything can be waited for. */
    void syncNeeded();
    /** What the getters say may have changed. */
    void stateChanged();

private:
    bool endsPause() const;
    void goOn();
    void wait();
    void awaitFolders();
    void onAnswer(Eas::PingCommand *command);
    bool comesTooEarly(const QList<Eas::FolderId> &changed);
    int untilNextNews();
    void tell(const QList<Eas::FolderId> &collectionIds);
    void onError(const Eas::Result &result, Eas::PingCommand *command);
    bool adapt(const Eas::Result &result, const Eas::PingCommand *command);
    int waitedMs() const { return int(Alarm::now() - m_waitingSince); }
    void pause(int milliseconds);
    QList<Eas::FolderId> folders() const;

    const AccountContext &m_context;
    QPointer<Eas::PingCommand> m_command;
    Alarm m_pause;
    QList<Eas::FolderId> m_held; ///< collections whose news is told of after the pause
    qint64 m_waitingSince = 0;
    Heartbeat m_heartbeat;
    FolderTurns m_turns;
    int m_maxFolders;
    int m_failures = 0;
    int m_graveFailures = 0;
    int m_vainSyncs = 0;      ///< synchronisations in a row after which there was nothing to watch
    int m_earlyAnswers = 0;   ///< in a row, and none of them has brought anything
    int m_networkChanges = 0; ///< in a row
    qint64 m_networkChangedAt = 0;
    qint64 m_newsUsedUp = 0;    ///< until when time is used up by early news
    bool m_isNewsEmpty = false; ///< the pause is because of early answers that brought nothing
    bool m_syncFirst = false;   ///< after the pause, before the next wait
    bool m_givenUp = false;
    qint64 m_waitsSince = 0;
    qint64 m_pausesUntil = 0;
    Eas::Result m_failure;
};

} // namespace Daemon

#endif
