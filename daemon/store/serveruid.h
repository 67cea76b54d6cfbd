// SPDX-License-Identifier: LGPL-2.1-or-later
#ifndef DAEMON_STORE_SERVERUID_H
#define DAEMON_STORE_SERVERUID_H

#include "eas/itemlocator.h"

#include <qmailid.h>
#include <QString>

namespace Store {

/**
 * The server id of a message in the mail store: COLLECTION US ITEM.
 *
 * The mail store wants it unique within the account, and the protocol's item ids are unique within
 * their collection alone, so it holds both, joined by the unit separator (U+001F), which the
 * server's ids cannot contain: they are XML text.
 *
 * Of some messages the item id is not known. What a search has found has the LongId in its place,
 * behind one more separator; what the server may have moved or renamed, and has not shown since,
 * its number here, behind two. Only what the server itself has said is ever read as one of its ids.
 */
struct ServerUid
{
    QString collectionId;
    QString itemId; ///< empty: not known
    QString longId; ///< of a search's result whose item id is not known

    /** Whether the server can be told of the message. */
    bool isKnownThere() const { return !itemId.isEmpty() || !longId.isEmpty(); }
    Eas::ItemLocator locator() const { return {collectionId, itemId, longId}; }

    /** Of one of ours; all parts are empty for any other text. */
    static ServerUid split(const QString &uid);
    static QString join(const QString &collectionId, const QString &itemId);
    /** Of what a search has found under the LongId. */
    static QString joinFound(const QString &collectionId, const QString &longId);
    /** Of what the server calls by a name that it has not told yet. */
    static QString joinUnnamed(const QString &collectionId, const QMailMessageId &message);
};

} // namespace Store

#endif
