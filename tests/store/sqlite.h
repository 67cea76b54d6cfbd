// SPDX-License-Identifier: LGPL-2.1-or-later
#ifndef TESTS_STORE_SQLITE_H
#define TESTS_STORE_SQLITE_H

#include <QtGlobal>

#include <dlfcn.h>

class QSqlDatabase;

/** The SQLite that Qt has loaded. */
namespace Sqlite {

/** A function of it. */
template <typename Function>
Function function(const char *name)
{
    static void *library = dlopen("libsqlite3.so.0", RTLD_NOW | RTLD_NOLOAD);
    void *found = library ? dlsym(library, name) : nullptr;
    if (!found)
        qFatal("there is no %s", name);
    return reinterpret_cast<Function>(found);
}

/** What it tells of each statement: SQLITE_TRACE_STMT and SQLITE_TRACE_PROFILE. */
enum Event : unsigned { Nothing = 0, StatementBegins = 1, StatementEnds = 2 };

using Hearing = int (*)(unsigned event, void *context, void *statement, void *details);

/** Has it tell of what a connection does. */
void trace(const QSqlDatabase &connection, unsigned events, Hearing hearing, void *context);

} // namespace Sqlite

#endif
