// SPDX-License-Identifier: LGPL-2.1-or-later
#include "tests/store/sqleffort.h"

#include "tests/store/sqlite.h"

#include <QStringList>

namespace {

constexpr int MachineSteps = 4; ///< SQLITE_STMTSTATUS_VM_STEP

QSqlDatabase connectionTo(const QString &file)
{
    for (const QString &name : QSqlDatabase::connectionNames()) {
        const QSqlDatabase connection = QSqlDatabase::database(name, false);
        if (connection.databaseName() == file)
            return connection;
    }
    qFatal("there is no connection to %s", qPrintable(file));
}

} // namespace

SqlEffort::SqlEffort(const QString &file)
    : m_connection(connectionTo(file))
{
    Sqlite::trace(m_connection, Sqlite::StatementBegins | Sqlite::StatementEnds, hear, this);
}

SqlEffort::~SqlEffort()
{
    Sqlite::trace(m_connection, Sqlite::Nothing, nullptr, nullptr);
}

int SqlEffort::hear(unsigned event, void *self, void *statement, void *)
{
    // What the statement did before is taken off when it begins.
    const int reset = 1;
    const int steps = Sqlite::function<int (*)(void *, int, int)>("sqlite3_stmt_status")(
        statement, MachineSteps, reset);
    const bool isQuestion = Sqlite::function<int (*)(void *)>("sqlite3_stmt_readonly")(statement);
    if (event == Sqlite::StatementEnds && isQuestion)
        static_cast<SqlEffort *>(self)->m_steps += steps;
    return 0;
}
