// SPDX-License-Identifier: LGPL-2.1-or-later
#ifndef DAEMON_NOTIFY_NOTIFICATION_H
#define DAEMON_NOTIFY_NOTIFICATION_H

#include "daemon/store/accountrecord.h"
#include "daemon/store/state/noticetable.h"

#include <QString>

namespace Daemon {

/** What a notification says. The body is without anything that could be read as markup. */
struct Notification
{
    QString summary;
    QString body;

    /**
     * What is wrong with the account, and what to do. `mails`: how many have not gone, where it is
     * about mails.
     *
     * Notifications are shown on locked screens, too: they name neither the server nor the user,
     * and nothing of a mail.
     */
    static Notification about(Store::Notice::Cause cause, const Store::AccountRecord &account,
                              int mails);
};

} // namespace Daemon

#endif
