// SPDX-License-Identifier: LGPL-2.1-or-later
#ifndef DAEMON_PUSHWATCH_H
#define DAEMON_PUSHWATCH_H

#include "daemon/accountcontext.h"
#include "daemon/heartbeat.h"

#include <QElapsedTimer>
#include <QObject>
#include <QPointer>
#include <QStringList>
#include <QTimer>

namespace Eas {
class PingCommand;
}

namespace Daemon {

/**
 * Waits at the server for news of an account's folders, while its push is on: one request that the
 * server answers when something changed or the heartbeat is over.
 *
 * Tells what changed and then rests until resume(), so that news is fetched before more is waited
 * for. Errors are answered by longer and longer pauses.
 */
class PushWatch : public QObject
{
    Q_OBJECT

public:
    /** The context must outlive it; its session is used anew with each request. */
    PushWatch(const AccountContext &context, QObject *parent);
    ~PushWatch() override;

    /** Waits, or goes on waiting, if it does not; after an error at the earliest when its pause is
     * over. */
    void resume();
    /** A synchronisation brought something: the server's quick answers meant something. */
    void noteNews();
    /** A synchronisation failed or was stopped: after a pause another one is asked for. */
    void postpone(const Eas::Result &reason);
    /** The network is another one: what waits now may wait in vain. */
    void networkChanged();
    /** Whether a request waits at the server. */
    bool isWaiting() const { return !m_command.isNull(); }

signals:
    /** Decimal QMailFolderIds of the folders with news. */
    void foldersChanged(const QStringList &folders);
    /** The whole account must be synchronised before anything can be waited for. */
    void syncNeeded();

private:
    void goOn();
    void wait();
    void onAnswer(Eas::PingCommand *command);
    void tell(const QStringList &collectionIds);
    void onError(const Eas::Result &result, Eas::PingCommand *command);
    void pause(int retryAfter);
    QStringList watchedCollections() const;

    const AccountContext &m_context;
    QPointer<Eas::PingCommand> m_command;
    QTimer m_pause;
    QStringList m_held; ///< collections whose news is told of after the pause
    QElapsedTimer m_waiting;
    Heartbeat m_heartbeat;
    int m_maxFolders;
    int m_failures = 0;
    int m_quickAnswers = 0;
    bool m_syncFirst = false; ///< after the pause, before the next wait
    bool m_givenUp = false;
};

} // namespace Daemon

#endif
