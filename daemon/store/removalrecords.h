// SPDX-License-Identifier: LGPL-2.1-or-later
#ifndef DAEMON_STORE_REMOVALRECORDS_H
#define DAEMON_STORE_REMOVALRECORDS_H

#include "daemon/store/serveruid.h"
#include "eas/result.h"

namespace Store {

/** What the user deleted of an account and the server does not know of yet, as the mail store
 * remembers it. */
class RemovalRecords
{
public:
    explicit RemovalRecords(const QMailAccountId &account);

    QList<ServerUid> all() const;
    QList<ServerUid> in(const Eas::FolderId &collectionId) const;
    /** What lay in this folder of the mail store, wherever the server has it. */
    QList<ServerUid> from(const QMailFolderId &folder) const;
    Eas::Result forget(const QList<ServerUid> &uids);
    Eas::Result forgetAll();

private:
    QList<ServerUid> listed(const QMailFolderId &folder) const;

    const QMailAccountId m_account;
};

} // namespace Store

#endif
