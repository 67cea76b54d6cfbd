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
 * It is silent until an answer of it is seen, be it a late one, or its name changes hands.
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
     * What becomes finished() when the last call, which was given up, is answered after all; null
     * when it was answered in time or not made. It deletes itself then.
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
    /** The one short wait for the answer that is due was had, in this silence. */
    bool m_waitedAgain = false;
};

} // namespace Activesync

#endif
