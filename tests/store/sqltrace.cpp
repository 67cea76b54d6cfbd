// SPDX-License-Identifier: LGPL-2.1-or-later
#include "tests/store/sqltrace.h"

#include "tests/store/sqlite.h"

#include <qmailnamespace.h>
#include <QSqlDatabase>
#include <QSqlQuery>
#include <QVariant>

#include <utility>

SqlTrace::SqlTrace(std::function<void(const QString &)> heard)
    : m_heard(std::move(heard))
{
    Sqlite::trace(QMail::createDatabase(), Sqlite::StatementBegins, hear, this);
}

SqlTrace::~SqlTrace()
{
    Sqlite::trace(QMail::createDatabase(), Sqlite::Nothing, nullptr, nullptr);
}

int SqlTrace::hear(unsigned, void *self, void *statement, void *)
{
    char *text = Sqlite::function<char *(*)(void *)>("sqlite3_expanded_sql")(statement);
    const QString heard = QString::fromUtf8(text);
    Sqlite::function<void (*)(void *)>("sqlite3_free")(text);
    auto *trace = static_cast<SqlTrace *>(self);
    trace->m_statements.insert(heard);
    if (trace->m_heard)
        trace->m_heard(heard);
    return 0;
}

QString SqlTrace::planOf(const QString &statement)
{
    QStringList lines;
    QSqlQuery query(QMail::createDatabase());
    query.exec(QStringLiteral("EXPLAIN QUERY PLAN ") + statement);
    while (query.next())
        lines.append(query.value(QStringLiteral("detail")).toString());
    return lines.join(QLatin1Char('\n'));
}
