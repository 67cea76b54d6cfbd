// SPDX-License-Identifier: LGPL-2.1-or-later
#include "daemon/store/state/statetable.h"

#include "daemon/store/state/syncstatedb.h"
#include "translations/text.h"

#include <QSqlError>
#include <QSqlQuery>

namespace Store {

StateTable::StateTable(SyncStateDb &db, const QMailAccountId &account)
    : m_db(db)
    , m_account(account)
{
}

Eas::Result StateTable::failure(const QSqlQuery &query) const
{
    return m_db.failure(query.lastError());
}

Eas::Result StateTable::endOf(const QSqlQuery &query) const
{
    return query.lastError().isValid() ? failure(query) : Eas::Result();
}

Eas::Result StateTable::together(const std::function<Eas::Result()> &work) const
{
    return m_db.together(work);
}

StateTable::Statement StateTable::prepare(const QString &sql, const QVariantList &values) const
{
    Statement query = m_db.m_statements.take(m_db.m_database, sql);
    for (const QVariant &value : values)
        query->addBindValue(value);
    return query;
}

StateTable::Statement StateTable::select(const QString &sql, const QVariantList &values) const
{
    Statement query = prepare(sql, values);
    m_db.run(*query);
    return query;
}

Eas::Result StateTable::execute(const QString &sql, const QVariantList &values) const
{
    const Statement query = prepare(sql, values);
    return m_db.run(*query);
}

Eas::Result StateTable::executeEach(const QString &sql, const QList<QVariantList> &rows) const
{
    const Statement query = prepare(sql, {});
    Eas::Result result;
    for (const QVariantList &row : rows) {
        for (const QVariant &value : row)
            query->addBindValue(value);
        result = m_db.run(*query);
        if (!result.ok())
            break;
    }
    return result;
}

Eas::Result StateTable::save(const QString &sql, const QVariantList &values) const
{
    const Statement query = prepare(sql, values);
    const Eas::Result result = m_db.run(*query);
    if (result.ok() && query->numRowsAffected() == 0)
        return {Eas::Cancelled, FailureText::english("the account was removed")};
    return result;
}

QString StateTable::notNull(const QString &text)
{
    return text.isNull() ? QStringLiteral("") : text;
}

QByteArray StateTable::notNull(const QByteArray &bytes)
{
    return bytes.isNull() ? QByteArrayLiteral("") : bytes;
}

} // namespace Store
