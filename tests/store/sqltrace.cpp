// SPDX-License-Identifier: LGPL-2.1-or-later
#include "tests/store/sqltrace.h"

#include <qmailnamespace.h>
#include <QSqlDatabase>
#include <QSqlDriver>
#include <QSqlQuery>
#include <QVariant>

#include <dlfcn.h>
#include <utility>

namespace {

/** SQLITE_TRACE_STMT: a statement begins. */
constexpr unsigned StatementBegins = 1;

using Hearing = int (*)(unsigned, void *, void *, void *);

/** A function of the SQLite that Qt has loaded. */
template <typename Function>
Function sqlite(const char *name)
{
    static void *library = dlopen("libsqlite3.so.0", RTLD_NOW | RTLD_NOLOAD);
    void *found = library ? dlsym(library, name) : nullptr;
    if (!found)
        qFatal("there is no %s", name);
    return reinterpret_cast<Function>(found);
}

void trace(unsigned types, Hearing hearing, void *context)
{
    const QVariant handle = QMail::createDatabase().driver()->handle();
    if (qstrcmp(handle.typeName(), "sqlite3*") != 0)
        qFatal("the mail store's database is not SQLite's");
    void *database = *static_cast<void *const *>(handle.constData());
    sqlite<int (*)(void *, unsigned, Hearing, void *)>("sqlite3_trace_v2")(database, types, hearing,
                                                                           context);
}

} // namespace

SqlTrace::SqlTrace(std::function<void(const QString &)> heard)
    : m_heard(std::move(heard))
{
    trace(StatementBegins, hear, this);
}

SqlTrace::~SqlTrace()
{
    trace(0, nullptr, nullptr);
}

int SqlTrace::hear(unsigned, void *self, void *statement, void *)
{
    char *text = sqlite<char *(*)(void *)>("sqlite3_expanded_sql")(statement);
    const QString heard = QString::fromUtf8(text);
    sqlite<void (*)(void *)>("sqlite3_free")(text);
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
