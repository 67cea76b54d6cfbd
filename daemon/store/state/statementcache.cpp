// SPDX-License-Identifier: LGPL-2.1-or-later
#include "daemon/store/state/statementcache.h"

#include <QSqlDatabase>
#include <QSqlError>

namespace Store {

StatementCache::Statement StatementCache::take(const QSqlDatabase &database, const QString &sql)
{
    const auto idle = m_idle.find(sql);
    if (idle != m_idle.end()) {
        Statement statement(new QSqlQuery(*idle), Return {this});
        m_idle.erase(idle);
        return statement;
    }
    Statement statement(new QSqlQuery(database), Return {this});
    statement->setForwardOnly(true);
    statement->prepare(sql);
    return statement;
}

void StatementCache::Return::operator()(QSqlQuery *statement) const
{
    const std::unique_ptr<QSqlQuery> owned(statement);
    // Asked before finish(), which clears it.
    if (statement->lastError().isValid())
        return;
    statement->finish();
    cache->m_idle.insert(statement->lastQuery(), *statement);
}

} // namespace Store
