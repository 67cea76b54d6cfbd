// SPDX-License-Identifier: LGPL-2.1-or-later
#include "daemon/store/state/folderkeys.h"

#include "daemon/store/state/unconfirmedmessages.h"
#include "eas/filtertype.h"

#include <qmailfolder.h>
#include <QVariant>

#include <algorithm>

namespace Store {

namespace {

const QString Columns = QStringLiteral(
    "SELECT server_id, folder, parent_id, type, sync_key, filter, reconciling FROM folder ");

/** In the column "reconciling", of which older daemons see only that it is not 0. */
enum Reconciling { No = 0, Begun = 1, Renumbered = 2 };

int reconcilingOf(const FolderState &state)
{
    return !state.reconciling ? No : state.renumbered ? Renumbered : Begun;
}

FolderState stateOf(const QSqlQuery &row)
{
    FolderState state;
    state.serverId = Eas::FolderId(row.value(0).toString());
    state.folderId = QMailFolderId(row.value(1).toULongLong());
    state.parentId = Eas::FolderId(row.value(2).toString());
    state.type = row.value(3).toInt();
    state.syncKey = row.value(4).toString();
    state.filter = row.value(5).toInt();
    state.reconciling = row.value(6).toInt() != No;
    state.renumbered = row.value(6).toInt() == Renumbered;
    return state;
}

} // namespace

QMailMessageKey FolderState::messages() const
{
    // An invalid id would match the former folder of each message that was never moved.
    return folderId.isValid() ? QMailMessageKey::parentFolderId(folderId)
            | QMailMessageKey::previousParentFolderId(folderId)
                              : QMailMessageKey::nonMatchingKey();
}

bool FolderState::isEnabled() const
{
    return QMailFolder(folderId).status() & QMailFolder::SynchronizationEnabled;
}

bool FolderState::isWhole() const
{
    return filter == int(Eas::FilterType::Everything);
}

bool FolderState::isLimited() const
{
    return filter > int(Eas::FilterType::Everything);
}

QList<FolderState> FolderKeys::all() const
{
    return rows(Columns + QStringLiteral("WHERE account = ? ORDER BY server_id"), {accountNumber()},
                stateOf);
}

QList<FolderState> FolderKeys::enabled() const
{
    static const QList<int> order {Eas::Inbox, Eas::SentItems, Eas::Drafts, Eas::UserMailFolder};
    const auto rank = [](const FolderState &folder) {
        return order.contains(folder.type) ? order.indexOf(folder.type) : order.size();
    };
    QList<FolderState> found = all();
    found.erase(std::remove_if(found.begin(), found.end(),
                               [](const FolderState &folder) { return !folder.isEnabled(); }),
                found.end());
    std::stable_sort(found.begin(), found.end(),
                     [&](const auto &a, const auto &b) { return rank(a) < rank(b); });
    return found;
}

std::optional<FolderState> FolderKeys::find(const Eas::FolderId &serverId) const
{
    return firstRow(Columns + QStringLiteral("WHERE account = ? AND server_id = ?"),
                    {accountNumber(), serverId.text()}, stateOf);
}

std::optional<FolderState> FolderKeys::find(const QMailFolderId &folderId) const
{
    return firstRow(Columns + QStringLiteral("WHERE folder = ?"), {qint64(folderId.toULongLong())},
                    stateOf);
}

std::optional<FolderState> FolderKeys::find(Eas::FolderType type) const
{
    return firstRow(Columns + QStringLiteral("WHERE account = ? AND type = ? ORDER BY server_id"),
                    {accountNumber(), type}, stateOf);
}

Eas::Result FolderKeys::save(const FolderState &state)
{
    // Not INSERT OR REPLACE: that would delete the row, and the unconfirmed messages with it.
    return StateTable::save(
        QStringLiteral(
            "INSERT INTO folder (folder, parent_id, type, sync_key, filter, reconciling,"
            " server_id, account) SELECT ?, ?, ?, ?, ?, ?, ?, id FROM account WHERE id = ?"
            " ON CONFLICT (account, server_id) DO UPDATE SET folder = excluded.folder,"
            " parent_id = excluded.parent_id, type = excluded.type, sync_key = excluded.sync_key,"
            " filter = excluded.filter, reconciling = excluded.reconciling"),
        {qint64(state.folderId.toULongLong()), notNull(state.parentId.text()), state.type,
         state.syncKey.isEmpty() ? Eas::FirstKey : state.syncKey, state.filter,
         reconcilingOf(state), state.serverId.text(), accountNumber()});
}

Eas::Result FolderKeys::remove(const Eas::FolderId &serverId)
{
    return execute(QStringLiteral("DELETE FROM folder WHERE account = ? AND server_id = ?"),
                   {accountNumber(), serverId.text()});
}

Eas::Result FolderKeys::rename(const Eas::FolderId &serverId, const Eas::FolderId &newId)
{
    return together([&] {
        // What is left of a folder that had the id before is gone from the mail store.
        Eas::Result result = remove(newId);
        if (result.ok())
            result = UnconfirmedMessages(m_db, m_account).clear(serverId);
        return !result.ok()
            ? result
            : StateTable::save(
                  QStringLiteral("UPDATE folder SET sync_key = '0', reconciling = 0, server_id = ?"
                                 " WHERE account = ? AND server_id = ?"),
                  {newId.text(), accountNumber(), serverId.text()});
    });
}

} // namespace Store
