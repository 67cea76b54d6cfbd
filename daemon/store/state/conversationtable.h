// SPDX-License-Identifier: LGPL-2.1-or-later
#ifndef DAEMON_STORE_STATE_CONVERSATIONTABLE_H
#define DAEMON_STORE_STATE_CONVERSATIONTABLE_H

#include "daemon/store/state/statetable.h"

#include <QByteArray>
#include <qmailid.h>

namespace Store {

/** Where in the mail store a conversation of the server was seen last. */
struct ConversationRecord
{
    QByteArray digest; ///< of the server's id
    QMailThreadId thread;
    QMailMessageId first; ///< the earliest message that came, by its date
    QMailMessageId last;  ///< the latest one
    int messages = 0;     ///< how many have come into the thread
};

/**
 * The conversations of an account by which their threads are found again.
 *
 * The mail store has no index by which it could find a thread or a message by a text of ours. What
 * is remembered here can be out of date, as others change the store as well: it is a place to look
 * at, see Conversations.
 */
class ConversationTable : public StateTable
{
public:
    using StateTable::StateTable;

    /** Those that are known. */
    QList<ConversationRecord> find(const QList<QByteArray> &digests) const;
    /** All or none; now and then it forgets what find() can do without. */
    Eas::Result save(const QList<ConversationRecord> &records);

private:
    Eas::Result forgetVanished();
    qint64 lastNumber() const;
};

} // namespace Store

#endif
