// SPDX-License-Identifier: LGPL-2.1-or-later
#ifndef TESTS_MESSAGESERVER_SENDINGFIXTURE_H
#define TESTS_MESSAGESERVER_SENDINGFIXTURE_H

#include "tests/messageserver/serverfixture.h"

/** A transmission by a client, with what it was told of each message. */
class Transmission
{
public:
    Transmission();

    QMailTransmitAction action;
    ActionWatcher watcher {&action};
    QMailMessageIdList transmitted;
    QMailMessageIdList failed;
};

/** What tests of sending share: messages in the outbox, and their state in the mail store. */
class SendingFixture : public ServerFixture
{
    Q_OBJECT

protected:
    QMailMessageId addOutgoing(const QString &subject = QStringLiteral("A")) const;
    /** The account's messages named A, B, C... */
    QMailMessageIdList addOutgoing(int count) const;

    /** Has the client transmit the account's outbox; the daemon's first call for it. */
    ScriptedDaemon::Call startSending(Transmission &transmission);
    /** As many more calls of sendMail. */
    QList<ScriptedDaemon::Call> waitForSends(int count);

    /**
     * The subjects of the account's messages with their state, in the order of the alphabet:
     * "waiting" in the outbox, "accepted" by the daemon, "sent"; or "contradictory". What is sent
     * and done with is gone. A removal record shows as "recorded".
     */
    QByteArray outbox() const;
};

#endif
