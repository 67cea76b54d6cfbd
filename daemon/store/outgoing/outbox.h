// SPDX-License-Identifier: LGPL-2.1-or-later
#ifndef DAEMON_STORE_OUTGOING_OUTBOX_H
#define DAEMON_STORE_OUTGOING_OUTBOX_H

#include "asclient/accountstatus.h"
#include "daemon/store/accountrecord.h"
#include "daemon/store/state/askedsendings.h"
#include "daemon/store/state/outgoingtable.h"

#include <qmailfolder.h>
#include <qmailid.h>
#include <qmailmessage.h>
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
     * One that bears a client id of which nothing is remembered reads as uncertain; one that was
     * edited since it left is another message, which never left. NotFound where there is none,
     * another failure where the mail store cannot be read: nothing is made known then.
     */
    Eas::Result open(const QMailMessageId &id, Outgoing *outgoing);
    /** Durable when it returns. */
    Eas::Result save(const Outgoing &outgoing, Outgoing::State state);
    /** Where it left in what is the future now, as the clock was set back: it counts as just left,
     * now and later. */
    void keepUpWithClock(Outgoing *outgoing);

    /** Finds out whether the server has, or may have, a version that its author has edited since.
     * Fails where the mail store cannot be read, which tells nothing. */
    Eas::Result compare(const Outgoing &outgoing, bool *isEdited) const;
    /** Whether it is so, or cannot be found out: what is here is not to be taken away. */
    bool mayBeEdited(const Outgoing &outgoing) const;

    /** It waits to be sent (again); `reason` is kept in the message, to be shown. */
    Eas::Result putBack(const QMailMessageId &id, const QString &reason);
    /** Keeps the reason alone; an empty one takes back the last. */
    void noteReason(const QMailMessageId &id, const QString &reason);
    /**
     * Nobody can tell whether it was sent: keeps the message server from sending it by itself,
     * until a person does. Durable when it returns.
     */
    Eas::Result hold(const Outgoing &outgoing, const QString &reason);
    /** What a person is told of such a message. */
    static QString doubt();
    /** Whether it was held and the message server has lost that: it is not to be sent by itself. */
    bool isHeld(const Outgoing &outgoing) const;

    /**
     * Whether its author has removed it, put it into the trash or made it a draft since its sending
     * was asked for, when its status was this one.
     */
    static bool isTakenBack(const QMailMessageMetaData &message, quint64 statusAsked);
    /** Whether it is so, and in the outbox all the same. */
    static bool isBackUnwanted(const QMailMessageMetaData &message, quint64 statusAsked);
    /** Takes it out of the outbox; it stays what else it is. */
    static Eas::Result takeBack(const QMailMessageId &id);

    /** It was sent, and no request reports that any more: the server's own copy takes its place. */
    Eas::Result takeOut(const QMailMessageId &id);

    /** What a person finds in the outbox, or what is on its way out of it, and how far each has
     * got; what is known to be sent is left out, and so are those `except`. */
    QList<Activesync::WaitingMail> waiting(const QSet<QMailMessageId> &except = {}) const;
    /** The same of one mail. */
    std::optional<Activesync::WaitingMail> waiting(const QMailMessageId &id) const;

    /**
     * A person wants it sent, whatever has been tried: it may go again. Refused (NotFound) where it
     * is not any more what that person was shown, `mail`.
     */
    Eas::Result release(const Activesync::WaitingMail &mail);
    /**
     * A person does not want it sent: it is a draft, and not in the outbox, when this returns. What
     * is remembered of it stays: if it may have been sent, it is looked for when it is to go again.
     *
     * Its sending may have begun before: the caller finds that out, and then calls undoDraft(),
     * else settleDraft().
     */
    Eas::Result makeDraft(const QMailMessageId &id);
    Eas::Result settleDraft(const QMailMessageId &id);
    Eas::Result undoDraft(const QMailMessageId &id);

    /**
     * Messages that were sent or may have been, and that the message server, which does not know of
     * it, does not try to send any more.
     */
    QList<Outgoing> givenUp();
    /** One of those was sent, and is done with, even if it is to be sent again right now. */
    Eas::Result settleGivenUp(const Outgoing &outgoing);

    /**
     * Deals with the messages whose sending was interrupted, because this process or the message
     * server ended over it, and which no list shows as waiting: puts them back, or takes them out
     * if they were sent. `busy` are those that are being sent.
     */
    void recover(const QSet<QMailMessageId> &busy);

private:
    QMailMessageMetaDataList stranded() const;
    bool isStranded(const QMailMessageMetaData &message) const;
    bool isInterrupted(const QMailMessageMetaData &message) const;
    bool isPutAway(const QMailMessageMetaData &message) const;
    bool isWhereMailWaits(const QMailFolder &place) const;
    bool wasAskedFor(const QMailMessageMetaData &message) const;
    std::optional<Activesync::WaitingMail> waitingMail(const QMailMessageMetaData &message) const;
    void forgetRemoved();
    void renewHolds();
    Outgoing newOutgoing(const QMailMessageId &id, const QString &clientId) const;
    Eas::Result renew(Outgoing *outgoing);

    const AccountRecord m_account;
    OutgoingTable m_outgoing;
    AskedSendings m_asked;
};

} // namespace Store

#endif
