// SPDX-License-Identifier: LGPL-2.1-or-later
#ifndef DAEMON_STORE_STATE_ASKEDSENDINGS_H
#define DAEMON_STORE_STATE_ASKEDSENDINGS_H

#include "daemon/store/state/statetable.h"

namespace Store {

/** A mail whose sending was asked for, and whose end is not known to all yet. */
struct AskedSending
{
    QMailMessageId messageId;
    quint64 status = 0; ///< the message's status when it was asked for
};

/** The account's mails of that kind: what was done to one since then is its author's will. */
class AskedSendings : public StateTable
{
public:
    using StateTable::StateTable;

    QList<AskedSending> all() const;
    bool contains(const QMailMessageId &messageId) const;
    /** Takes the place of an earlier one of the same message. */
    Eas::Result save(const AskedSending &sending);
    Eas::Result remove(const QMailMessageId &messageId);
};

} // namespace Store

#endif
