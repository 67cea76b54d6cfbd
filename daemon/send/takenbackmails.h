// SPDX-License-Identifier: LGPL-2.1-or-later
#ifndef DAEMON_SEND_TAKENBACKMAILS_H
#define DAEMON_SEND_TAKENBACKMAILS_H

#include "daemon/pacing/alarm.h"
#include "daemon/store/state/askedsendings.h"

#include <QHash>

namespace Daemon {

/**
 * Mails of an account whose authors took them back while they were to be sent: made them drafts
 * again, or put them into the trash.
 *
 * The message server puts a mail back into the outbox when its sending has failed, these among
 * them, from where they would go at the next synchronisation. So they are taken out again, once
 * and for a moment only: later it is the author who has put it there.
 *
 * Until then it is durable what each was when its sending was asked for. So a daemon that dies over
 * it leaves to the next one to see what its author has done since. That one does not know who has
 * read the outbox meanwhile, and may ask for the mail a moment after it was taken out.
 */
class TakenBackMails
{
public:
    /** The database must outlive it. */
    TakenBackMails(Store::SyncStateDb &db, const QMailAccountId &account);

    /** Adds those whose sending ended with an earlier daemon, be they taken back by then or not. */
    void recall();

    /** The sending of this mail begins, as its author wants it now. */
    void noteAsked(const Store::AskedSending &sending);
    /** The sending of this mail has ended, and it was not taken back. */
    void noteEnd(const QMailMessageId &id);
    /** The sending of this mail has ended, as it was taken back. */
    void add(const Store::AskedSending &sending);

    /** Whether the message server sends one of them that it has read of before it was taken out.
     * That request is to be refused, and the message server puts the mail back once more. */
    bool isSentAgain(const QMailMessageId &id);

private:
    /** Where a mail was when it was looked for last. */
    enum class Place {
        Elsewhere,
        Outbox,
        TakenOut ///< of the outbox, by us
    };
    struct Mail
    {
        quint64 statusAsked; ///< what it was when its sending was asked for
        qint64 since;        ///< by Alarm::now(): the end of its sending, or when it was taken out
        Place place;
        bool isRecalled; ///< an earlier daemon was to send it
    };

    void save(const Store::AskedSending &sending);
    void keepOut();
    void look(const QMailMessageId &id);
    void takeOut(const QMailMessageId &id);
    void forgetOld();
    void forget(const QMailMessageId &id);
    void forgetAsked(const QMailMessageId &id);

    Store::AskedSendings m_asked;
    QHash<QMailMessageId, Mail> m_mails;
    Alarm m_nextLook; ///< rings as long as there is one
};

} // namespace Daemon

#endif
