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
    return {uid.left(at), uid.mid(at + 1)};
}

QString ServerUid::join(const QString &collectionId, const QString &itemId)
{
    return collectionId + separator + itemId;
}

} // namespace Store
