// SPDX-License-Identifier: LGPL-2.1-or-later
#ifndef DAEMON_SEND_TAKENBACKMAILS_H
#define DAEMON_SEND_TAKENBACKMAILS_H

#include "daemon/pacing/alarm.h"

#include <QHash>
#include <qmailid.h>

namespace Daemon {

/**
 * Mails of an account whose authors took them back while they were to be sent: made them drafts
 * again, or put them into the trash.
 *
 * The message server puts a mail back into the outbox when its sending has failed, these among
 * them, from where they would go at the next synchronisation. So they are taken out again, once
 * and for a moment only: later it is the author who has put it there.
 */
class TakenBackMails
{
public:
    TakenBackMails();

    /** The sending of this mail has ended, as it was taken back. */
    void add(const QMailMessageId &id);

    /** Whether the message server sends one of them before it was taken out. */
    bool isSentAgain(const QMailMessageId &id);

private:
    struct Mail
    {
        qint64 since; ///< by Alarm::now()
        bool isBack;  ///< in the outbox, when it was looked for last
    };

    void keepOut();
    void forgetOld();

    QHash<QMailMessageId, Mail> m_mails;
    Alarm m_nextLook; ///< rings as long as there is one
};

} // namespace Daemon

#endif
