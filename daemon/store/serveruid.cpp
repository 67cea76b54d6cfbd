// SPDX-License-Identifier: LGPL-2.1-or-later
#include "daemon/store/serveruid.h"

namespace Store {

namespace {
const QChar separator(0x1f);
}

ServerUid ServerUid::split(const QString &uid)
{
    const int at = uid.indexOf(separator);
    if (at < 0)
        return {};
    const QString collection = uid.left(at);
    const QString item = uid.mid(at + 1);
    if (!item.contains(separator))
        return {collection, item, QString()};
    const QString longId = item.startsWith(separator) ? item.mid(1) : QString();
    return {collection, QString(), longId.contains(separator) ? QString() : longId};
}

QString ServerUid::join(const QString &collectionId, const QString &itemId)
{
    return collectionId + separator + itemId;
}

QString ServerUid::joinFound(const QString &collectionId, const QString &longId)
{
    return join(collectionId, separator + longId);
}

QString ServerUid::joinUnnamed(const QString &collectionId, const QMailMessageId &message)
{
    return joinFound(collectionId, separator + QString::number(message.toULongLong()));
}

} // namespace Store
