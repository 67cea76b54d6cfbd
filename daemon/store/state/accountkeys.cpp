// SPDX-License-Identifier: LGPL-2.1-or-later
#include "daemon/store/state/accountkeys.h"

#include "daemon/store/removalrecords.h"
#include "daemon/store/state/folderkeys.h"
#include "daemon/store/storefailure.h"

#include <QCryptographicHash>
#include <qmailstore.h>
#include <QSqlQuery>

namespace Store {

namespace {

/** Whose mailbox an account's settings name. */
QString identityOf(const AccountRecord &account)
{
    const QString user = account.userName.isEmpty() ? account.email : account.userName;
    const QStringList parts {account.server.toLower(), account.domain.toLower(), user.toLower()};
    const QByteArray text = parts.join(QLatin1Char('\n')).toUtf8();
    return QString::fromLatin1(QCryptographicHash::hash(text, QCryptographicHash::Sha256).toHex());
}

} // namespace

Eas::Result AccountKeys::open(const AccountRecord &record)
{
    return together([&] {
        const QString identity = identityOf(record);
        const Statement query =
            select(QStringLiteral("SELECT identity FROM account WHERE id = ?"), {accountNumber()});
        if (!query->isActive())
            return failure(*query);
        const bool isKnown = query->next();
        const bool isSame = isKnown && query->value(0).toString() == identity;
        query->finish();
        Eas::Result result =
            execute(isKnown ? QStringLiteral("UPDATE account SET identity = ? WHERE id = ?")
                            : QStringLiteral("INSERT INTO account (identity, id) VALUES (?, ?)"),
                    {identity, accountNumber()});
        if (result.ok() && isKnown && !isSame)
            result = reset();
        return result.ok() ? forgetVanishedFolders() : result;
    });
}

/** Another mailbox may be behind it now: all folders are to be reconciled, as where the server has
 * numbered anew (2), and what was deleted in the former one is not to be deleted by its ids there.
 */
Eas::Result AccountKeys::reset()
{
    for (const char *sql :
         {"UPDATE account SET folder_sync_key = '0', policy_key = '' WHERE id = ?",
          "DELETE FROM unconfirmed WHERE account = ?", "DELETE FROM moved WHERE account = ?",
          "DELETE FROM work_record WHERE account = ?", "DELETE FROM conversation WHERE account = ?",
          "UPDATE folder SET sync_key = '0', reconciling = 2 WHERE account = ?"}) {
        const Eas::Result result = execute(QLatin1String(sql), {accountNumber()});
        if (!result.ok())
            return result;
    }
    return RemovalRecords(m_account).forgetAll();
}

/** Forgets folders that the mail store has lost, so that they come from the server again. */
Eas::Result AccountKeys::forgetVanishedFolders()
{
    const QMailFolderIdList present =
        QMailStore::instance()->queryFolders(QMailFolderKey::parentAccountId(m_account));
    FolderKeys folders(m_db, m_account);
    bool hasVanished = false;
    for (const FolderState &folder : folders.all()) {
        if (present.contains(folder.folderId))
            continue;
        hasVanished = true;
        const Eas::Result result = folders.remove(folder.serverId);
        if (!result.ok())
            return result;
    }
    if (!hasVanished)
        return {};
    AccountState keys = state();
    keys.folderSyncKey = Eas::FirstKey;
    return save(keys);
}

Eas::Result AccountKeys::remove()
{
    return execute(QStringLiteral("DELETE FROM account WHERE id = ?"), {accountNumber()});
}

Eas::Result AccountKeys::removeVanished(SyncStateDb &db)
{
    const QMailAccountIdList present = QMailStore::instance()->queryAccounts();
    // A store that cannot be read has not lost its accounts.
    if (QMailStore::instance()->lastError() != QMailStore::NoError)
        return storeFailure(QStringLiteral("cannot read the accounts"));
    const AccountKeys all(db, {});
    const Statement query = all.select(QStringLiteral("SELECT id FROM account"));
    if (!query->isActive())
        return all.failure(*query);
    QMailAccountIdList vanished;
    while (query->next()) {
        const QMailAccountId id(query->value(0).toULongLong());
        if (!present.contains(id))
            vanished.append(id);
    }
    query->finish();
    for (const QMailAccountId &id : qAsConst(vanished)) {
        const Eas::Result result = AccountKeys(db, id).remove();
        if (!result.ok())
            return result;
    }
    return {};
}

AccountState AccountKeys::state() const
{
    AccountState state;
    const Statement query =
        select(QStringLiteral("SELECT folder_sync_key, policy_key FROM account WHERE id = ?"),
               {accountNumber()});
    if (query->next()) {
        state.folderSyncKey = query->value(0).toString();
        state.policyKey = query->value(1).toString();
    }
    return state;
}

Eas::Result AccountKeys::save(const AccountState &state)
{
    return StateTable::save(
        QStringLiteral("UPDATE account SET folder_sync_key = ?, policy_key = ? WHERE id = ?"),
        {notNull(state.folderSyncKey), notNull(state.policyKey), accountNumber()});
}

Eas::Result AccountKeys::awaitTree(bool isAwaited)
{
    return execute(isAwaited ? QStringLiteral("INSERT OR REPLACE INTO awaited_tree"
                                              " SELECT id, folder_sync_key FROM account"
                                              " WHERE id = ?")
                             : QStringLiteral("DELETE FROM awaited_tree WHERE account = ?"),
                   {accountNumber()});
}

bool AccountKeys::isTreeAwaited() const
{
    return select(QStringLiteral("SELECT 1 FROM awaited_tree JOIN account ON id = account"
                                 " AND account.folder_sync_key = awaited_tree.folder_sync_key"
                                 " WHERE id = ?"),
                  {accountNumber()})
        ->next();
}

Eas::Result AccountKeys::saveTree(const QString &folderSyncKey)
{
    AccountState keys = state();
    // Nearly always: the server's tree is as it was.
    if (keys.folderSyncKey == folderSyncKey)
        return awaitTree(false);
    return together([&] {
        keys.folderSyncKey = folderSyncKey;
        const Eas::Result result = save(keys);
        return result.ok() ? awaitTree(false) : result;
    });
}

} // namespace Store
