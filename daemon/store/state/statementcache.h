// SPDX-License-Identifier: LGPL-2.1-or-later
#ifndef DAEMON_STORE_STATE_STATEMENTCACHE_H
#define DAEMON_STORE_STATE_STATEMENTCACHE_H

#include <QHash>
#include <QSqlQuery>
#include <QString>

#include <memory>

class QSqlDatabase;

namespace Store {

/**
 * The statements of a database, kept prepared: to prepare one costs more than to execute it.
 *
 * Each is lent to one user at a time; who asks for it meanwhile gets another one. It is reset when
 * it comes back, so that it holds no lock, and kept unless it has failed. It has to name its
 * columns: how many there are is looked at before SQLite sees that a table has changed.
 */
class StatementCache
{
public:
    /** Gives a statement back to the cache that lent it, which must be alive. */
    struct Return
    {
        StatementCache *cache;
        void operator()(QSqlQuery *statement) const;
    };
    using Statement = std::unique_ptr<QSqlQuery, Return>;

    /** The statement, prepared and with no values; with its lastError() where that failed. Its rows
     * can be read once, forwards. */
    Statement take(const QSqlDatabase &database, const QString &sql);
    /** Forgets all statements: to be called before their connection is closed. */
    void clear() { m_idle.clear(); }

private:
    QHash<QString, QSqlQuery> m_idle;
};

} // namespace Store

#endif
