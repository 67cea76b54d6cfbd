// SPDX-License-Identifier: LGPL-2.1-or-later
#ifndef DAEMON_STORE_OUTGOING_RESPONSEPLAN_H
#define DAEMON_STORE_OUTGOING_RESPONSEPLAN_H

#include "daemon/store/serveruid.h"

#include <qmailmessage.h>

namespace Store {

/**
 * Which message a reply or forward is about, and what of it the server is to do.
 *
 * The message that a mail program names may be another one: it is believed only where all that is
 * known of both speaks for it.
 */
struct ResponsePlan
{
    enum Kind { Plain, Reply, Forward };

    /** Plain where the account does not ask for more, or where the server lacks the original. */
    Kind kind = Plain;
    QMailMessageId originalId; ///< invalid where none is plausible
    ServerUid original;        ///< of a reply or forward
    /**
     * The message itself only names the original, so that the server is to put it in. In all other
     * cases it says all, and the server adds nothing to what the person has seen.
     */
    bool serverAdds = false;

    static ResponsePlan of(const QMailMessage &message);
    /** The same, for a message that goes without the server's help. */
    ResponsePlan plain() const;
};

} // namespace Store

#endif
