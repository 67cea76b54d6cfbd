// SPDX-License-Identifier: LGPL-2.1-or-later
#include "tests/store/sqlite.h"

#include <QSqlDatabase>
#include <QSqlDriver>
#include <QVariant>

void Sqlite::trace(const QSqlDatabase &connection, unsigned events, Hearing hearing, void *context)
{
    const QVariant handle = connection.driver()->handle();
    if (qstrcmp(handle.typeName(), "sqlite3*") != 0)
        qFatal("the database is not SQLite's");
    void *database = *static_cast<void *const *>(handle.constData());
    function<int (*)(void *, unsigned, Hearing, void *)>("sqlite3_trace_v2")(database, events,
                                                                             hearing, context);
}
