// SPDX-License-Identifier: LGPL-2.1-or-later
#ifndef DAEMON_STORE_STATE_OUTGOINGTABLE_H
#define DAEMON_STORE_STATE_OUTGOINGTABLE_H

#include "daemon/store/state/statetable.h"

#include <optional>

namespace Store {

/** What is remembered of a message that was to be sent from here. */
struct Outgoing
{
    /** How far it got, as far as is known here. */
    enum State {
        Ready = 0,     ///< the server does not have it
        Uncertain = 1, ///< the server may have it
        Sent = 2,      ///< the server has it
        Doubtful = 3   ///< that cannot be found out: only a person has it sent again
    };

    QString clientId; ///< by which the server knows it again
    QMailMessageId messageId;
    QByteArray rfcId;   ///< its Message-ID, with the brackets
    qint64 created = 0; ///< UTC seconds since 1970; the message's Date if it has none of its own
    /** UTC milliseconds since 1970, when it last began to leave, or the last of it left. */
    qint64 leftAt = 0;
    QByteArray print;             ///< OutgoingPrint of what left last; empty: not known
    QList<QByteArray> earlierIds; ///< Message-IDs with which its earlier versions may have gone
    State state = Ready;
};

/** The messages of the account that were to be sent from here. */
class OutgoingTable : public StateTable
{
public:
    using StateTable::StateTable;

    QList<Outgoing> all() const;
    std::optional<Outgoing> find(const QString &clientId) const;
    std::optional<Outgoing> find(const QMailMessageId &messageId) const;
    Eas::Result save(const Outgoing &outgoing);
    /** Forgets the one with that client id and saves the other, both or neither. */
    Eas::Result replace(const QString &clientId, const Outgoing &outgoing);
    Eas::Result remove(const QString &clientId);
};

} // namespace Store

#endif
