// SPDX-License-Identifier: LGPL-2.1-or-later
#ifndef DAEMON_STORE_STATE_NOTICETABLE_H
#define DAEMON_STORE_STATE_NOTICETABLE_H

#include "daemon/store/state/statetable.h"

#include <QSet>

namespace Store {

/** What a person was told of an account, for one cause. */
struct Notice
{
    /** The numbers lie in the table. */
    enum Cause { LoginRefused = 1, PolicyUnmet = 2, MailNotSent = 3 };

    Cause cause = LoginRefused;
    /** The mails that it was told of, by their QMailMessageId; 0 stands for the account itself. */
    QSet<quint64> subjects;
    QString shown; ///< the notification that told it, as Daemon::NotificationService names it
};

/** What a person was told of an account, so that it is told once. */
class NoticeTable : public StateTable
{
public:
    using StateTable::StateTable;

    /** What was told for the cause; without subjects where nothing was. */
    Notice find(Notice::Cause cause) const;
    /** Remembers it in the place of what was told for its cause; forgets one without subjects. */
    Eas::Result save(const Notice &notice);
};

} // namespace Store

#endif
