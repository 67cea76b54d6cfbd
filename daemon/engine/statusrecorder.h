// SPDX-License-Identifier: LGPL-2.1-or-later
#ifndef DAEMON_ENGINE_STATUSRECORDER_H
#define DAEMON_ENGINE_STATUSRECORDER_H

#include "asclient/accountstatus.h"
#include "daemon/tasks/accountcontext.h"

#include <QObject>
#include <QSet>

namespace Daemon {

class PushWatch;

/**
 * How an account fares: gathered from those who do its work, and told to the front. The ends of the
 * work are also saved, for the time when no daemon runs.
 *
 * It is told of everything and asks for nothing, so that nothing is done for it while the account
 * is idle.
 */
class StatusRecorder : public QObject
{
    Q_OBJECT

public:
    /** The context, and what it names, must outlive it; the account's memory is open. */
    explicit StatusRecorder(const AccountContext &context, QObject *parent = nullptr);

    /** Reports the status again, for a front that did not hear it before. */
    void tellAgain();
    /** Some work has ended so; words for a person, none for a success. */
    void noteWork(int code, const QString &words);
    /** A synchronisation has ended so. */
    void noteSync(int code, const QString &words);
    /** The account has new settings: forgets the failures of the last ones. */
    void noteNewSettings();
    /** Null: the account's push is off. */
    void setPush(const PushWatch *push);
    /** Messages that the daemon has taken for sending and is not done with. */
    void setSending(const QSet<QMailMessageId> &ids);
    /** How many changes are to be carried; reads the outbox again, too. */
    void setChanges(int count);

signals:
    void changed(quint64 accountId, const QVariantMap &status);

private:
    void readOutbox();
    void setOutbox();
    void keep();
    void tell();

    const AccountContext &m_context;
    int m_answers = 0; ///< those of the session up to the last end of some work
    QSet<QMailMessageId> m_sending;
    QList<Activesync::WaitingMail> m_waiting; ///< as the mail store knows them
    Activesync::AccountStatus m_status;
    Activesync::AccountStatus m_told;
};

} // namespace Daemon

#endif
