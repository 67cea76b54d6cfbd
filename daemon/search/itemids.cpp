// SPDX-License-Identifier: LGPL-2.1-or-later
#include "daemon/search/itemids.h"

#include "daemon/store/narrowing.h"
#include "daemon/store/serveruid.h"
#include "daemon/store/state/folderkeys.h"

#include <qmailmessagesortkey.h>
#include <qmailstore.h>

namespace Daemon {

namespace {

/** How many messages of a folder are looked at for an item id, which shows the form of all. */
constexpr uint Samples = 10;

/** The item id of some message that the mail store has of the folder; empty if there is none. */
QString knownItemId(const Store::FolderState &folder)
{
    // What a search has brought may have an id that was guessed.
    const QMailMessageKey key = Store::ServerUid::likelyIn(folder.folderId, folder.serverId)
        & ~Store::Narrowing::found(QMailMessageKey());
    for (const QMailMessageId &id :
         QMailStore::instance()->queryMessages(key, QMailMessageSortKey(), Samples)) {
        const Store::ServerUid uid {QMailMessageMetaData(id)};
        if (uid.isIn(folder.serverId) && uid.isItem())
            return uid.itemId();
    }
    return {};
}

} // namespace

QString ItemIds::of(const QString &longId, const QString &collection,
                    const Store::FolderState &folder)
{
    for (const QString &name : {collection, folder.serverId.text()}) {
        if (name.isEmpty() || !longId.startsWith(name))
            continue;
        const QString separator = longId.mid(name.size(), 1);
        const QString rest = longId.mid(name.size() + 1);
        if (rest.isEmpty())
            continue;
        if (separator == QLatin1String("+"))
            return rest;
        if (separator == QLatin1String(":")) {
            // Item ids with the folder's in front are of the same form at the servers that have
            // them. Which form a server's have is not guessed: the message would have an id that
            // nobody has.
            const QString known = sample(folder);
            if (known.isEmpty())
                return {};
            return known.startsWith(name + separator) ? longId : rest;
        }
    }
    return {};
}

/** An item id of the folder, which shows the form of all; empty where none is known. */
QString ItemIds::sample(const Store::FolderState &folder)
{
    auto known = m_samples.constFind(folder.serverId);
    if (known == m_samples.constEnd())
        known = m_samples.insert(folder.serverId, knownItemId(folder));
    return *known;
}

} // namespace Daemon
