// SPDX-License-Identifier: LGPL-2.1-or-later
#include "daemon/store/removalrecords.h"

#include "daemon/store/storefailure.h"

#include <qmailstore.h>

namespace Store {

namespace {

Eas::Result resultOf(bool isForgotten)
{
    return isForgotten ? Eas::Result()
                       : storeFailure(QStringLiteral("cannot forget deleted messages"));
}

} // namespace

RemovalRecords::RemovalRecords(const QMailAccountId &account)
    : m_account(account)
{
}

QList<ServerUid> RemovalRecords::all() const
{
    return listed(QMailFolderId());
}

QList<ServerUid> RemovalRecords::in(const Eas::FolderId &collectionId) const
{
    QList<ServerUid> uids;
    for (const ServerUid &uid : all()) {
        if (uid.isIn(collectionId))
            uids.append(uid);
    }
    return uids;
}

QList<ServerUid> RemovalRecords::from(const QMailFolderId &folder) const
{
    return folder.isValid() ? listed(folder) : QList<ServerUid>();
}

/** Without a folder, the mail store tells all of them. */
QList<ServerUid> RemovalRecords::listed(const QMailFolderId &folder) const
{
    QList<ServerUid> uids;
    for (const auto &record : QMailStore::instance()->messageRemovalRecords(m_account, folder))
        uids.append(ServerUid(record.serverUid()));
    return uids;
}

Eas::Result RemovalRecords::forget(const QList<ServerUid> &uids)
{
    QStringList texts;
    for (const ServerUid &uid : uids)
        texts.append(uid.m_text);
    // With an empty list, the mail store would purge all of them.
    return texts.isEmpty()
        ? Eas::Result()
        : resultOf(QMailStore::instance()->purgeMessageRemovalRecords(m_account, texts));
}

Eas::Result RemovalRecords::forgetAll()
{
    return resultOf(QMailStore::instance()->purgeMessageRemovalRecords(m_account));
}

} // namespace Store
