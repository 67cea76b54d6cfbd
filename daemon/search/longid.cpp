// SPDX-License-Identifier: LGPL-2.1-or-later
#include "daemon/search/longid.h"

#include "daemon/store/foundmark.h"
#include "daemon/store/serveruid.h"

#include <qmailmessagesortkey.h>
#include <qmailstore.h>

namespace Daemon {

QString LongId::itemIdOf(const QString &longId, const QStringList &collections,
                         const QString &sample)
{
    for (const QString &collection : collections) {
        if (collection.isEmpty() || !longId.startsWith(collection))
            continue;
        const QString separator = longId.mid(collection.size(), 1);
        const QString rest = longId.mid(collection.size() + 1);
        if (rest.isEmpty())
            continue;
        if (separator == QLatin1String("+"))
            return rest;
        if (separator == QLatin1String(":")) {
            // Item ids with the folder's in front are of the same form at the servers that have
            // them.
            const bool isPlain = !sample.isEmpty() && !sample.startsWith(collection + separator);
            return isPlain ? rest : longId;
        }
    }
    return {};
}

QString LongId::knownItemId(const QMailAccountId &account, const QString &collectionId)
{
    const QMailMessageKey key = QMailMessageKey::parentAccountId(account)
        & QMailMessageKey::serverUid(Store::ServerUid::join(collectionId, QString()),
                                     QMailDataComparator::Includes)
        & ~Store::FoundMark::key();
    const QMailMessageIdList ids =
        QMailStore::instance()->queryMessages(key, QMailMessageSortKey(), 1);
    if (ids.isEmpty())
        return {};
    return Store::ServerUid::split(QMailMessageMetaData(ids.first()).serverUid()).itemId;
}

} // namespace Daemon
