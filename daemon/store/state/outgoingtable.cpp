// SPDX-License-Identifier: LGPL-2.1-or-later
#include "daemon/store/state/outgoingtable.h"

#include <QVariant>

namespace Store {

namespace {

const QString Columns =
    QStringLiteral("SELECT client_id, message, rfc_id, created, state, left_at, print, earlier_ids"
                   " FROM outgoing ");

Outgoing outgoingOf(const QSqlQuery &row)
{
    Outgoing outgoing;
    outgoing.clientId = row.value(0).toString();
    outgoing.messageId = QMailMessageId(row.value(1).toULongLong());
    outgoing.rfcId = row.value(2).toByteArray();
    outgoing.created = row.value(3).toLongLong();
    outgoing.state = Outgoing::State(row.value(4).toInt());
    outgoing.leftAt = row.value(5).toLongLong();
    outgoing.print = row.value(6).toByteArray();
    const QByteArray earlier = row.value(7).toByteArray();
    if (!earlier.isEmpty())
        outgoing.earlierIds = earlier.split('\n');
    return outgoing;
}

} // namespace

QList<Outgoing> OutgoingTable::all() const
{
    return rows(Columns + QStringLiteral("WHERE account = ?"), {accountNumber()}, outgoingOf);
}

std::optional<Outgoing> OutgoingTable::find(const QString &clientId) const
{
    return firstRow(Columns + QStringLiteral("WHERE account = ? AND client_id = ?"),
                    {accountNumber(), clientId}, outgoingOf);
}

std::optional<Outgoing> OutgoingTable::find(const QMailMessageId &messageId) const
{
    return firstRow(Columns + QStringLiteral("WHERE account = ? AND message = ?"),
                    {accountNumber(), qint64(messageId.toULongLong())}, outgoingOf);
}

Eas::Result OutgoingTable::save(const Outgoing &outgoing)
{
    return StateTable::save(
        QStringLiteral(
            "INSERT INTO outgoing"
            " (message, rfc_id, created, state, left_at, print, earlier_ids, client_id, account)"
            " SELECT ?, ?, ?, ?, ?, ?, ?, ?, id FROM account WHERE id = ?"
            " ON CONFLICT (account, client_id) DO UPDATE SET message = excluded.message,"
            " rfc_id = excluded.rfc_id, created = excluded.created, state = excluded.state,"
            " left_at = excluded.left_at, print = excluded.print,"
            " earlier_ids = excluded.earlier_ids"),
        {qint64(outgoing.messageId.toULongLong()), outgoing.rfcId, outgoing.created,
         int(outgoing.state), outgoing.leftAt, notNull(outgoing.print),
         notNull(outgoing.earlierIds.join('\n')), outgoing.clientId, accountNumber()});
}

Eas::Result OutgoingTable::replace(const QString &clientId, const Outgoing &outgoing)
{
    return together([&] {
        const Eas::Result result = remove(clientId);
        return result.ok() ? save(outgoing) : result;
    });
}

Eas::Result OutgoingTable::remove(const QString &clientId)
{
    return execute(QStringLiteral("DELETE FROM outgoing WHERE account = ? AND client_id = ?"),
                   {accountNumber(), clientId});
}

} // namespace Store
