// SPDX-License-Identifier: LGPL-2.1-or-later
#ifndef DAEMON_STORE_OUTBOX_H
#define DAEMON_STORE_OUTBOX_H

#include "daemon/store/syncstatedb.h"

#include <qmailid.h>
#include <QSet>

namespace Store {

/**
 * The messages of an account that are to be sent, and how far each has got.
 *
 * Each is known by a client id, which is durable in the database. It lies in the message, too: one
 * that bears an id of which the database knows nothing may have been sent.
 */
class Outbox
{
public:
    /** The database must outlive it. */
    Outbox(SyncStateDb &db, const AccountRecord &account);

    /**
     * What is known of a message that is to be sent; makes it known where it is not.
     *
     * One that bears a client id of which nothing is remembered reads as uncertain. NotFound where
     * there is no such message.
     */
    Eas::Result open(const QMailMessageId &id, Outgoing *outgoing);
    /** Durable when it returns. */
    Eas::Result save(const Outgoing &outgoing, Outgoing::State state);

    /** It waits to be sent (again); `reason` is kept in the message, for who wants to tell it. */
    Eas::Result putBack(const QMailMessageId &id, const QString &reason);
    /** Keeps the reason alone; an empty one takes back the last. */
    void noteReason(const QMailMessageId &id, const QString &reason);
    /**
     * Nobody can tell whether it was sent: keeps the message server from sending it by itself,
     * until a person does. It is durable that it is so when it returns.
     */
    Eas::Result hold(const Outgoing &outgoing, const QString &reason);
    /** What a person is told of such a message. */
    static QString doubt();
    /** Whether it is held, and it is the message server that asks for it all the same. */
    bool isHeld(const Outgoing &outgoing) const;

    /** It was sent, and whoever asked for it has gone: the server's own copy takes its place. */
    Eas::Result takeOut(const QMailMessageId &id);

    /**
     * Messages that were sent or may have been, and that the message server, which does not know of
     * it, does not try to send any more.
     */
    QList<Outgoing> givenUp() const;
    /** One of those was sent, and is done with, even if it is to be sent again right now. */
    Eas::Result settleGivenUp(const Outgoing &outgoing);

    /**
     * Deals with the messages whose sending nobody pursues any more, because this process or the
     * message server ended over it, and which no list shows as waiting: puts them back, or takes
     * them out if they were sent. `busy` are those that are being sent.
     */
    void recover(const QSet<QMailMessageId> &busy);

private:
    void forgetRemoved();
    void renewHolds();
    Outgoing newOutgoing(const QMailMessageId &id, const QString &clientId) const;

    SyncStateDb &m_db;
    const AccountRecord m_account;
};

} // namespace Store

#endif
