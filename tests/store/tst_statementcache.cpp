// SPDX-License-Identifier: LGPL-2.1-or-later
#include "daemon/store/state/statementcache.h"

#include <QSqlDatabase>
#include <QSqlError>
#include <QTemporaryDir>
#include <QTest>
#include <QVariant>

using Store::StatementCache;

namespace {

const QString Select = QStringLiteral("SELECT n FROM numbers WHERE n >= ? ORDER BY n");

QSqlDatabase connection(const QString &name, const QString &path)
{
    QSqlDatabase database = QSqlDatabase::addDatabase(QStringLiteral("QSQLITE"), name);
    database.setDatabaseName(path);
    database.setConnectOptions(QStringLiteral("QSQLITE_BUSY_TIMEOUT=0"));
    database.open();
    return database;
}

} // namespace

/** Statements that are prepared once. */
class TestStatementCache : public QObject
{
    Q_OBJECT

private slots:
    void init();
    void cleanup();

    void eachUseBeginsAnew();
    void usersAtTheSameTimeDoNotMeet();
    void whatWasNotReadToItsEndHoldsNoLock();
    void aStatementThatFailsIsPreparedAgain();
    void aTableThatChangesIsFollowed();
    void theConnectionCanBeClosed();

private:
    StatementCache::Statement select(int from);
    bool execute(const QString &sql);
    static QList<int> rest(QSqlQuery &statement);

    std::unique_ptr<QTemporaryDir> m_directory;
    QSqlDatabase m_database;
    std::unique_ptr<StatementCache> m_cache;
};

void TestStatementCache::init()
{
    m_directory = std::make_unique<QTemporaryDir>();
    m_database = connection(QStringLiteral("tested"), m_directory->filePath(QStringLiteral("db")));
    m_cache = std::make_unique<StatementCache>();
    QVERIFY(execute(QStringLiteral("CREATE TABLE numbers (n INTEGER PRIMARY KEY)")));
    QVERIFY(execute(QStringLiteral("INSERT INTO numbers VALUES (1), (2), (3)")));
}

void TestStatementCache::cleanup()
{
    m_cache.reset();
    m_database = QSqlDatabase();
    QSqlDatabase::removeDatabase(QStringLiteral("tested"));
}

StatementCache::Statement TestStatementCache::select(int from)
{
    StatementCache::Statement statement = m_cache->take(m_database, Select);
    statement->addBindValue(from);
    statement->exec();
    return statement;
}

bool TestStatementCache::execute(const QString &sql)
{
    return m_cache->take(m_database, sql)->exec();
}

QList<int> TestStatementCache::rest(QSqlQuery &statement)
{
    QList<int> values;
    while (statement.next())
        values.append(statement.value(0).toInt());
    return values;
}

void TestStatementCache::eachUseBeginsAnew()
{
    QCOMPARE(rest(*select(1)), QList<int>({1, 2, 3}));
    QVERIFY(select(1)->next());
    QCOMPARE(rest(*select(3)), QList<int>({3}));
    QCOMPARE(rest(*select(4)), QList<int>());
    QCOMPARE(rest(*select(2)), QList<int>({2, 3}));
}

void TestStatementCache::usersAtTheSameTimeDoNotMeet()
{
    QVERIFY(select(1)->next());
    const StatementCache::Statement one = select(1);
    QVERIFY(one->next());
    {
        const StatementCache::Statement other = select(2);
        QCOMPARE(rest(*other), QList<int>({2, 3}));
    }
    QCOMPARE(rest(*one), QList<int>({2, 3}));
}

void TestStatementCache::whatWasNotReadToItsEndHoldsNoLock()
{
    QSqlDatabase other =
        connection(QStringLiteral("other"), m_directory->filePath(QStringLiteral("db")));
    const QString change = QStringLiteral("DELETE FROM numbers WHERE n = 3");
    {
        const StatementCache::Statement reading = select(1);
        QVERIFY(reading->next());
        QVERIFY(!QSqlQuery(other).exec(change));
    }
    QVERIFY(QSqlQuery(other).exec(change));
    QCOMPARE(rest(*select(1)), QList<int>({1, 2}));
    other = QSqlDatabase();
    QSqlDatabase::removeDatabase(QStringLiteral("other"));
}

void TestStatementCache::aStatementThatFailsIsPreparedAgain()
{
    const QString insert = QStringLiteral("INSERT INTO numbers VALUES (4)");
    QVERIFY(execute(insert));
    QVERIFY(!execute(insert));
    QVERIFY(execute(QStringLiteral("DELETE FROM numbers WHERE n = 4")));
    const StatementCache::Statement again = m_cache->take(m_database, insert);
    QVERIFY(!again->lastError().isValid());
    QVERIFY(again->exec());
    QVERIFY(m_cache->take(m_database, QStringLiteral("no SQL"))->lastError().isValid());
}

void TestStatementCache::aTableThatChangesIsFollowed()
{
    QCOMPARE(rest(*select(2)), QList<int>({2, 3}));
    QVERIFY(execute(QStringLiteral("ALTER TABLE numbers ADD COLUMN name TEXT DEFAULT 'none'")));
    QCOMPARE(rest(*select(2)), QList<int>({2, 3}));
    QVERIFY(execute(QStringLiteral("DROP TABLE numbers")));
    QCOMPARE(rest(*select(2)), QList<int>());
    QVERIFY(execute(QStringLiteral("CREATE TABLE numbers (n INTEGER PRIMARY KEY, name TEXT)")));
    QVERIFY(execute(QStringLiteral("INSERT INTO numbers VALUES (5, '')")));
    QCOMPARE(rest(*select(2)), QList<int>({5}));
}

void TestStatementCache::theConnectionCanBeClosed()
{
    QCOMPARE(rest(*select(3)), QList<int>({3}));
    m_cache->clear();
    m_database.close();
    QVERIFY(m_database.open());
    QCOMPARE(rest(*select(3)), QList<int>({3}));
}

QTEST_GUILESS_MAIN(TestStatementCache)
#include "tst_statementcache.moc"
