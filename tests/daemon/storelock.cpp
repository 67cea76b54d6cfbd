// SPDX-License-Identifier: LGPL-2.1-or-later
#include "tests/daemon/storelock.h"

#include <QSqlDatabase>
#include <QSqlQuery>
#include <QString>

namespace {
const QString Connection = QStringLiteral("store-lock");
}

StoreLock::StoreLock()
{
    auto base = QSqlDatabase::addDatabase(QStringLiteral("QSQLITE"), Connection);
    base.setDatabaseName(qEnvironmentVariable("QMF_DATA")
                         + QStringLiteral("/database/qmailstore.db"));
    m_isHeld = base.open() && QSqlQuery(base).exec(QStringLiteral("BEGIN EXCLUSIVE"));
}

StoreLock::~StoreLock()
{
    release();
}

void StoreLock::release()
{
    if (!QSqlDatabase::contains(Connection))
        return;
    QSqlQuery(QSqlDatabase::database(Connection)).exec(QStringLiteral("ROLLBACK"));
    QSqlDatabase::removeDatabase(Connection);
    m_isHeld = false;
}
