// SPDX-License-Identifier: LGPL-2.1-or-later
#ifndef ASCLIENT_ANSWERWATCH_H
#define ASCLIENT_ANSWERWATCH_H

#include <QDBusConnection>
#include <QDBusMessage>
#include <QList>
#include <QObject>

class QDBusPendingCallWatcher;
class QDBusServiceWatcher;

namespace Activesync {

/**
 * Waits for a daemon's answers no longer than a bound, and remembers a daemon that gave none.
 *
 * The bound holds for a series of calls, too: while a daemon is silent, further calls are not made.
 * The silence ends with a late answer, with hear(), or when the daemon's name changes hands.
 */
class AnswerWatch : public QObject
{
    Q_OBJECT

public:
    AnswerWatch(const QDBusConnection &connection, const QString &service, QObject *parent);

    /** The answer to the call, or the error NoReply when there was none in `timeoutMs`. */
    QDBusMessage call(const QDBusMessage &call, int timeoutMs);
    /** Whether a call would not be made now. */
    bool isSilent();
    /**
     * The watcher of the last call's late answer; null when that call was answered in time or not
     * made. It deletes itself after finished().
     */
    QDBusPendingCallWatcher *lateAnswer() const { return m_lateAnswer; }
    /** Delivers the late answers that have come into this process already. */
    void deliverPosted();

public slots:
    /** The daemon has given a sign of life. */
    void hear();

signals:
    /** A call was given up. */
    void fellSilent();
    /** A daemon that was silent answers again. */
    void heardAgain();

private:
    static QDBusMessage giveUp();
    void endSilence(const QDBusPendingCallWatcher &late);
    void watch(QDBusPendingCallWatcher *late);
    void forget();

    QDBusConnection m_connection;
    const QString m_service;
    QDBusServiceWatcher *m_ownerWatch = nullptr;
    QList<QDBusPendingCallWatcher *> m_unanswered;
    QDBusPendingCallWatcher *m_lateAnswer = nullptr;
    bool m_silent = false;
    /** isSilent() has waited shortly for the late answer: only once in each silence. */
    bool m_waitedAgain = false;
};

} // namespace Activesync

#endif
