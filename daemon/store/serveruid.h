// SPDX-License-Identifier: LGPL-2.1-or-later
#ifndef STORE_SERVERUID_H
#define STORE_SERVERUID_H

#include <QString>

namespace Store {

/**
 * The server id of a message in the mail store: COLLECTION US ITEM.
 *
 * The mail store wants it unique within the account, and the protocol's item ids are unique within
 * their collection alone, so it holds both, joined by the unit separator (U+001F), which the
 * server's ids cannot contain: they are XML text.
 */
struct ServerUid
{
    QString collectionId;
    QString itemId;

    /** Of one of ours; both parts are empty for any other text. */
    static ServerUid split(const QString &uid);
    static QString join(const QString &collectionId, const QString &itemId);
};

} // namespace Store

#endif
