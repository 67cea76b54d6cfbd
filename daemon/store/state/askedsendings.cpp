// SPDX-License-Identifier: LGPL-2.1-or-later
#include "daemon/store/state/askedsendings.h"

#include <QVariant>

namespace Store {

namespace {

AskedSending sendingOf(const QSqlQuery &row)
{
    return {QMailMessageId(row.value(0).toULongLong()), row.value(1).toULongLong()};
}

} // namespace

QList<AskedSending> AskedSendings::all() const
{
    return rows(QStringLiteral("SELECT message, status FROM asked_sending WHERE account = ?"),
                {accountNumber()}, sendingOf);
}

bool AskedSendings::contains(const QMailMessageId &messageId) const
{
    return select(QStringLiteral("SELECT 1 FROM asked_sending WHERE account = ? AND message = ?"),
                  {accountNumber(), qint64(messageId.toULongLong())})
        ->next();
}

Eas::Result AskedSendings::save(const AskedSending &sending)
{
    return StateTable::save(
        QStringLiteral("INSERT OR REPLACE INTO asked_sending (message, status, account)"
                       " SELECT ?, ?, id FROM account WHERE id = ?"),
        {qint64(sending.messageId.toULongLong()), qint64(sending.status), accountNumber()});
}

Eas::Result AskedSendings::remove(const QMailMessageId &messageId)
{
    return execute(QStringLiteral("DELETE FROM asked_sending WHERE account = ? AND message = ?"),
                   {accountNumber(), qint64(messageId.toULongLong())});
}

} // namespace Store
