// SPDX-License-Identifier: LGPL-2.1-or-later
#include "daemon/store/state/unconfirmedmessages.h"

#include <QVariant>

namespace Store {

namespace {

Eas::FolderId folderIdOf(const QSqlQuery &row)
{
    return Eas::FolderId(row.value(0).toString());
}

QMailMessageId messageIdOf(const QSqlQuery &row)
{
    return QMailMessageId(row.value(0).toULongLong());
}

} // namespace

QList<Unconfirmed> UnconfirmedMessages::of(const Eas::FolderId &serverId) const
{
    const int noLimit = -1;
    QList<Unconfirmed> messages;
    readSome(serverId, {}, noLimit, &messages);
    return messages;
}

Eas::Result UnconfirmedMessages::readSome(const Eas::FolderId &serverId,
                                          const QMailMessageId &after, int limit,
                                          QList<Unconfirmed> *messages) const
{
    return read(
        QStringLiteral("SELECT message, fingerprint FROM unconfirmed"
                       " WHERE account = ? AND server_id = ? AND message > ?"
                       " ORDER BY message LIMIT ?"),
        {accountNumber(), serverId.text(), qint64(after.toULongLong()), limit},
        [](const QSqlQuery &row) {
            return Unconfirmed {QMailMessageId(row.value(0).toULongLong()),
                                row.value(1).toByteArray()};
        },
        messages);
}

Eas::Result UnconfirmedMessages::readAlike(const Eas::FolderId &serverId,
                                           const QByteArray &fingerprint,
                                           QMailMessageIdList *messages) const
{
    return read(QStringLiteral("SELECT message FROM unconfirmed"
                               " WHERE account = ? AND server_id = ? AND fingerprint = ?"
                               " ORDER BY message DESC"),
                {accountNumber(), serverId.text(), fingerprint}, messageIdOf, messages);
}

QSet<Eas::FolderId> UnconfirmedMessages::folders() const
{
    // Not by the messages, which may be many.
    const QList<Eas::FolderId> ids =
        rows(QStringLiteral("SELECT server_id FROM folder WHERE account = ? AND EXISTS"
                            " (SELECT 1 FROM unconfirmed WHERE account = folder.account"
                            " AND server_id = folder.server_id)"),
             {accountNumber()}, folderIdOf);
    return {ids.cbegin(), ids.cend()};
}

Eas::Result UnconfirmedMessages::add(const Eas::FolderId &serverId,
                                     const QList<Unconfirmed> &messages)
{
    QList<QVariantList> rows;
    for (const Unconfirmed &message : messages)
        rows.append({accountNumber(), serverId.text(), qint64(message.messageId.toULongLong()),
                     message.fingerprint});
    return executeEach(QStringLiteral("INSERT OR REPLACE INTO unconfirmed"
                                      " (account, server_id, message, fingerprint)"
                                      " VALUES (?, ?, ?, ?)"),
                       rows);
}

Eas::Result UnconfirmedMessages::strikeOff(const Eas::FolderId &serverId,
                                           const QMailMessageId &message)
{
    return execute(QStringLiteral("DELETE FROM unconfirmed"
                                  " WHERE account = ? AND server_id = ? AND message = ?"),
                   {accountNumber(), serverId.text(), qint64(message.toULongLong())});
}

QMailMessageIdList UnconfirmedMessages::acknowledgedMoves(const Eas::FolderId &serverId) const
{
    return rows(QStringLiteral("SELECT message FROM moved WHERE account = ? AND server_id = ?"),
                {accountNumber(), serverId.text()}, messageIdOf);
}

QSet<Eas::FolderId> UnconfirmedMessages::destinations() const
{
    const QList<Eas::FolderId> ids =
        rows(QStringLiteral("SELECT DISTINCT server_id FROM moved WHERE account = ?"),
             {accountNumber()}, folderIdOf);
    return {ids.cbegin(), ids.cend()};
}

Eas::Result UnconfirmedMessages::addAcknowledgedMove(const Eas::FolderId &serverId,
                                                     const QMailMessageId &message)
{
    return execute(QStringLiteral("INSERT OR REPLACE INTO moved (account, server_id, message)"
                                  " VALUES (?, ?, ?)"),
                   {accountNumber(), serverId.text(), qint64(message.toULongLong())});
}

Eas::Result UnconfirmedMessages::endAcknowledgedMove(const Eas::FolderId &serverId,
                                                     const QMailMessageId &message)
{
    return execute(
        QStringLiteral("DELETE FROM moved WHERE account = ? AND server_id = ? AND message = ?"),
        {accountNumber(), serverId.text(), qint64(message.toULongLong())});
}

Eas::Result UnconfirmedMessages::clear(const Eas::FolderId &serverId)
{
    Eas::Result result;
    for (const char *sql : {"DELETE FROM unconfirmed WHERE account = ? AND server_id = ?",
                            "DELETE FROM moved WHERE account = ? AND server_id = ?"}) {
        if (result.ok())
            result = execute(QLatin1String(sql), {accountNumber(), serverId.text()});
    }
    return result;
}

Eas::Result UnconfirmedMessages::replace(const FolderState &folder,
                                         const QList<Unconfirmed> &messages)
{
    return together([&] {
        Eas::Result result = FolderKeys(m_db, m_account).save(folder);
        if (result.ok())
            result = clear(folder.serverId);
        return result.ok() ? add(folder.serverId, messages) : result;
    });
}

Eas::Result UnconfirmedMessages::confirm(const FolderState &folder,
                                         const QMailMessageIdList &messages)
{
    return together([&] {
        QList<QVariantList> rows;
        for (const QMailMessageId &message : messages)
            rows.append({accountNumber(), folder.serverId.text(), qint64(message.toULongLong())});
        Eas::Result result = FolderKeys(m_db, m_account).save(folder);
        for (const char *sql :
             {"DELETE FROM unconfirmed WHERE account = ? AND server_id = ? AND message = ?",
              "DELETE FROM moved WHERE account = ? AND server_id = ? AND message = ?"}) {
            if (result.ok())
                result = executeEach(QLatin1String(sql), rows);
        }
        return result;
    });
}

} // namespace Store
