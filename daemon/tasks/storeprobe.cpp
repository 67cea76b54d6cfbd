// SPDX-License-Identifier: LGPL-2.1-or-later
#include "daemon/tasks/storeprobe.h"

#include <qmailnamespace.h>
#include <QSqlDatabase>
#include <QSqlQuery>

namespace Daemon {

namespace {

/** A connection of its own, which waits for nobody. */
QSqlDatabase connection()
{
    const QString name = QStringLiteral("asdaemon-probe");
    if (QSqlDatabase::contains(name))
        return QSqlDatabase::database(name);
    auto database = QSqlDatabase::addDatabase(QStringLiteral("QSQLITE"), name);
    database.setDatabaseName(QMail::dataPath() + QStringLiteral("database/qmailstore.db"));
    database.setConnectOptions(QStringLiteral("QSQLITE_BUSY_TIMEOUT=0"));
    database.open();
    return database;
}

} // namespace

bool StoreProbe::isWritable()
{
    const QSqlDatabase database = connection();
    if (!database.isOpen())
        return true;
    // Takes the write lock and gives it back at once; nothing is written.
    QSqlQuery query(database);
    if (!query.exec(QStringLiteral("BEGIN IMMEDIATE")))
        return false;
    query.exec(QStringLiteral("ROLLBACK"));
    return true;
}

} // namespace Daemon
