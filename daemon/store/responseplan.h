// SPDX-License-Identifier: LGPL-2.1-or-later
#ifndef STORE_RESPONSEPLAN_H
#define STORE_RESPONSEPLAN_H

#include "daemon/store/serveruid.h"

#include <qmailmessage.h>

namespace Store {

/** Whether a reply or forward leaves the message it is about to the server, and what of it. */
struct ResponsePlan
{
    enum Kind { Plain, Reply, Forward };

    Kind kind = Plain;
    ServerUid original; ///< of a reply or forward
    /** It holds the original's text or attachments itself, so the server is to add nothing. */
    bool saysAll = false;

    /** Plain, too, where the account does not wish it or the original is not at the server. */
    static ResponsePlan of(const QMailMessage &message);
};

} // namespace Store

#endif
