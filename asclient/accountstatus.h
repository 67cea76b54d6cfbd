// SPDX-License-Identifier: LGPL-2.1-or-later
#ifndef ASCLIENT_ACCOUNTSTATUS_H
#define ASCLIENT_ACCOUNTSTATUS_H

#include <QList>
#include <QString>
#include <QVariantMap>

namespace Activesync {

/** A message of an account that waits to be sent. */
struct WaitingMail
{
    enum State {
        Waiting,   ///< goes with the next synchronisation
        Sending,   ///< the daemon is at it
        Failed,    ///< was not sent, and is tried again
        GivenUp,   ///< was not sent, and only a person has it tried again
        Uncertain, ///< may have been sent; the server is asked before it goes again
        Doubtful   ///< may have been sent, and nobody can tell: only a person has it sent again
    };

    quint64 message = 0; ///< its QMailMessageId
    State state = Waiting;
    int code = 0;   ///< why it did not go, a result code; 0: not known, or it has not failed
    QString reason; ///< the same in the words of the log

    bool operator==(const WaitingMail &other) const;

    /** The state's name: "waiting", "sending", "failed", "given-up", "uncertain", "doubtful". */
    QString stateName() const;
    bool mayHaveBeenSent() const { return state == Uncertain || state == Doubtful; }
};

/**
 * How an account fares, as the daemon tells it on the bus.
 *
 * All times are UTC seconds since 1970, and 0 where there is none. The texts are for a person, and
 * have neither a password nor a mail address in them. In the map, what is 0, empty or false is
 * left out; docs/status.md has its keys.
 */
struct AccountStatus
{
    enum Push {
        PushOff,
        PushWaiting, ///< a request waits at the server for news
        PushBusy,    ///< what it has told of is being fetched
        PushPaused,  ///< the server is asked again later
        PushStopped  ///< the login was refused: the server is not asked any more
    };

    bool isSyncing = false;
    qint64 syncedAt = 0; ///< when the last synchronisation ended
    int syncCode = 0;    ///< how, as a result code
    QString syncText;    ///< empty where it succeeded
    qint64 succeededAt = 0;

    int errorCode = 0; ///< of the last work of any kind; 0 where it succeeded
    QString errorText;
    qint64 loginRefusedAt = 0; ///< since then no login has succeeded
    qint64 policyUnmetAt = 0;  ///< since then the server's policy has kept us out

    Push push = PushOff;
    qint64 pushSince = 0; ///< since when the watch has waited without a failure
    int pushCode = 0;     ///< why push does not work, a result code
    QString pushText;
    qint64 pushRetryAt = 0; ///< when it is tried again

    int changes = 0; ///< made here, and not known to the server yet
    QList<WaitingMail> outbox;

    bool operator==(const AccountStatus &other) const;

    QString pushName() const;

    QVariantMap toMap() const;
    static AccountStatus fromMap(const QVariantMap &map);
};

} // namespace Activesync

#endif
