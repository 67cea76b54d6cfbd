// SPDX-License-Identifier: LGPL-2.1-or-later
#include "daemon/search/longid.h"

#include "daemon/store/mark.h"
#include "daemon/store/serveruid.h"
#include "daemon/store/state/folderkeys.h"

#include <qmailmessagesortkey.h>
#include <qmailstore.h>

namespace Daemon {

namespace {

/** How many messages of a folder are looked at for an item id, which shows the form of all. */
constexpr uint Samples = 10;

} // namespace

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
            // them. Which form a server's have is not guessed: the message would have an id that
            // nobody has.
            if (sample.isEmpty())
                return {};
            return sample.startsWith(collection + separator) ? longId : rest;
        }
    }
    return {};
}

QString LongId::knownItemId(const QMailAccountId &account, const Store::FolderState &folder)
{
    const QMailMessageKey key =
        Store::ServerUid::likelyIn(account, folder.serverId) & ~Store::FoundMark.key();
    for (const QMailMessageId &id :
         QMailStore::instance()->queryMessages(key, QMailMessageSortKey(), Samples)) {
        const Store::ServerUid uid {QMailMessageMetaData(id)};
        if (uid.isIn(folder.serverId) && uid.isItem())
            return uid.itemId();
    }
    return {};
}

} // namespace Daemon
