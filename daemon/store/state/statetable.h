// SPDX-License-Identifier: LGPL-2.1-or-later
#ifndef DAEMON_STORE_STATE_STATETABLE_H
#define DAEMON_STORE_STATE_STATETABLE_H

#include "daemon/store/state/statementcache.h"
#include "eas/result.h"

#include <qmailid.h>
#include <QSqlQuery>
#include <QVariantList>

#include <functional>
#include <optional>

namespace Store {

class SyncStateDb;

/**
 * What the daemon remembers of one account for one purpose.
 *
 * All tables of a database share its connection. A table is cheap to make, and the database must
 * outlive it.
 */
class StateTable
{
public:
    StateTable(SyncStateDb &db, const QMailAccountId &account);

protected:
    using Statement = StatementCache::Statement;

    ~StateTable() = default;

    qint64 accountNumber() const { return qint64(m_account.toULongLong()); }
    /** Why the query of select() is not active. */
    Eas::Result failure(const QSqlQuery &query) const;
    /** Runs `work` as one transaction, which is rolled back where it fails. */
    Eas::Result together(const std::function<Eas::Result()> &work) const;
    /** What a statement finds; nothing, and not active, where it fails. */
    Statement select(const QString &sql, const QVariantList &values = {}) const;
    /** All that it finds, each row as `read` makes a value of it. */
    template <typename Read>
    auto rows(const QString &sql, const QVariantList &values, Read read) const
    {
        const Statement query = select(sql, values);
        QList<decltype(read(*query))> found;
        while (query->next())
            found.append(read(*query));
        return found;
    }
    /** As rows(), where nothing must be told from what cannot be read. */
    template <typename Value, typename Read>
    Eas::Result read(const QString &sql, const QVariantList &values, Read read,
                     QList<Value> *found) const
    {
        const Statement query = select(sql, values);
        while (query->next())
            found->append(read(*query));
        return endOf(*query);
    }
    /** The first one, or none. */
    template <typename Read>
    auto firstRow(const QString &sql, const QVariantList &values, Read read) const
    {
        const Statement query = select(sql, values);
        return query->next() ? std::make_optional(read(*query)) : std::nullopt;
    }
    Eas::Result execute(const QString &sql, const QVariantList &values) const;
    /** Executes it with one row of values after the other. */
    Eas::Result executeEach(const QString &sql, const QList<QVariantList> &rows) const;
    /** Executes a statement that saves; Cancelled where no row changed, as the account was
     * removed. */
    Eas::Result save(const QString &sql, const QVariantList &values) const;
    /** A null text, or null bytes, would be stored as NULL. */
    static QString notNull(const QString &text);
    static QByteArray notNull(const QByteArray &bytes);

    SyncStateDb &m_db;
    const QMailAccountId m_account;

private:
    /** How the reading of its rows ended. */
    Eas::Result endOf(const QSqlQuery &query) const;
    Statement prepare(const QString &sql, const QVariantList &values) const;
};

} // namespace Store

#endif
