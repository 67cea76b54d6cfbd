// SPDX-License-Identifier: LGPL-2.1-or-later
#ifndef DAEMON_PUSH_PUSHWATCH_H
#define DAEMON_PUSH_PUSHWATCH_H

#include "daemon/push/heartbeat.h"
#include "daemon/sync/folderturns.h"
#include "daemon/tasks/accountcontext.h"
#include "daemon/tasks/alarm.h"

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
    /** The context must outlive it; its session is used anew with each request. */
    PushWatch(const AccountContext &context, QObject *parent);
    ~PushWatch() override;

    /** A synchronisation succeeded: waits, or goes on waiting, if it does not. That ends a pause
     * after failures, but not their count: if this wait fails, too, the pause is the next longer
     * one. After noteNews() it ends one after empty news as well. */
    void resume();
    /** A synchronisation brought something: the server's quick answers meant something. Those after
     * it count anew. */
    void noteNews();
    /** A synchronisation failed or was stopped: after a pause another one is asked for. */
    void postpone(const Eas::Result &reason);
    /** Waits for nothing until resume() or postpone(). */
    void rest();
    /** A synchronisation begins, after which resume() or postpone() comes: a request that has only
     * just gone out is taken back until then. Some servers keep one state of a device for all of
     * its requests, and of two that begin together the later to end undoes what the other wrote
     * there: nothing is watched then, and no answer tells so. */
    void makeWay();
    /** The network is another one: what waits now may wait in vain. */
    void networkChanged();
    /** Whether a request waits at the server. */
    bool isWaiting() const { return !m_command.isNull(); }

signals:
    /** Decimal QMailFolderIds of the folders with news. */
    void foldersChanged(const QStringList &folders);
    /** The whole account must be synchronised before anything can be waited for. */
    void syncNeeded();
    /** The server cannot be watched, for this reason; or can again, with Success. */
    void troubled(const Eas::Result &result);

private:
    bool isPauseInVain() const;
    void goOn();
    void wait();
    void awaitFolders();
    void onAnswer(Eas::PingCommand *command);
    bool comesTooEarly(const QStringList &changed);
    int untilNextNews();
    void tell(const QStringList &collectionIds);
    void onError(const Eas::Result &result, Eas::PingCommand *command);
    bool adapt(const Eas::Result &result, const Eas::PingCommand *command);
    int waitedMs() const { return int(Alarm::now() - m_waitingSince); }
    void pause(int milliseconds);
    QStringList folders() const;

    const AccountContext &m_context;
    QPointer<Eas::PingCommand> m_command;
    Alarm m_pause;
    QStringList m_held; ///< collections whose news is told of after the pause
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
};

} // namespace Daemon

#endif
