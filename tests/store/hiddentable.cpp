// SPDX-License-Identifier: LGPL-2.1-or-later
#include "tests/store/hiddentable.h"

#include <QSqlDatabase>
#include <QSqlQuery>

namespace {

const QString Connection = QStringLiteral("hiding");
const QString Hidden = QStringLiteral("%1_hidden");

bool rename(const QString &from, const QString &to)
{
    QSqlQuery query(QSqlDatabase::database(Connection));
    // References of other tables stay as they are.
    return query.exec(QStringLiteral("PRAGMA legacy_alter_table = ON"))
        && query.exec(QStringLiteral("ALTER TABLE %1 RENAME TO %2").arg(from, to));
}

} // namespace

HiddenTable::HiddenTable(const QString &table, const QString &file)
    : m_table(table)
{
    auto base = QSqlDatabase::addDatabase(QStringLiteral("QSQLITE"), Connection);
    base.setDatabaseName(file);
    m_isHidden = base.open() && rename(m_table, Hidden.arg(m_table));
}

HiddenTable::~HiddenTable()
{
    rename(Hidden.arg(m_table), m_table);
    QSqlDatabase::removeDatabase(Connection);
}

QString HiddenTable::mailStore()
{
    return qEnvironmentVariable("QMF_DATA") + QStringLiteral("/database/qmailstore.db");
}
