// SPDX-License-Identifier: LGPL-2.1-or-later
#include "daemon/bus/requesttable.h"

#include <QTest>

#include <limits>

using Daemon::RequestKind;
using Daemon::RequestTable;

/** The rules of request ids, on a clock that the test moves. */
class TestRequestTable : public QObject
{
    Q_OBJECT

private slots:
    void init() { m_now = 5000; }

    void idsCountFromOneOverAllAccounts()
    {
        RequestTable table(clock());
        QCOMPARE(table.open(1, RequestKind::Sync), 1);
        QCOMPARE(table.open(2, RequestKind::Sync), 2);
        QCOMPARE(table.open(1, RequestKind::SendMail), 3);
    }

    void afterTheGreatestIdComesOne()
    {
        RequestTable table(clock());
        table.setLastId(std::numeric_limits<int>::max() - 1);
        QCOMPARE(table.open(1, RequestKind::Sync), std::numeric_limits<int>::max());
        QCOMPARE(table.open(1, RequestKind::Sync), 1);
    }

    void aWrappedIdIsNotGivenOutWhileItsOldRequestIsOpenOrLingers()
    {
        RequestTable table(clock());
        QCOMPARE(table.open(1, RequestKind::Sync), 1);
        QCOMPARE(table.open(1, RequestKind::Sync), 2);
        QVERIFY(table.close(2));
        table.setLastId(std::numeric_limits<int>::max());
        QCOMPARE(table.open(1, RequestKind::Sync), 3);
        table.setLastId(std::numeric_limits<int>::max());
        m_now += RequestTable::LingerMs + 1;
        QCOMPARE(table.open(1, RequestKind::Sync), 2);
    }

    void aRequestEndsOnce()
    {
        RequestTable table(clock());
        const int id = table.open(7, RequestKind::Sync);
        QCOMPARE(table.close(id), std::optional<quint64>(7));
        QVERIFY(!table.close(id));
        QVERIFY(!table.close(id + 1));
        QVERIFY(!table.close(-1));
        QVERIFY(!table.close(-2));
        QVERIFY(!table.close(0));
    }

    void aRequestIsAliveForOneSecondAfterItsEnd()
    {
        RequestTable table(clock());
        const int id = table.open(7, RequestKind::Sync);
        m_now += 3600 * 1000;
        QVERIFY(table.isAlive(id));
        QVERIFY(table.close(id));
        m_now += 1000;
        QVERIFY(table.isAlive(id));
        m_now += 1;
        QVERIFY(!table.isAlive(id));
    }

    void unknownIdsAreNotAlive()
    {
        RequestTable table(clock());
        QVERIFY(!table.isAlive(1));
        QVERIFY(!table.isAlive(0));
        QVERIFY(!table.isAlive(-1));
        QVERIFY(!table.isAlive(-2));
    }

    void listsTheSynchronisationsOfOneAccountInOrder()
    {
        RequestTable table(clock());
        const int a = table.open(1, RequestKind::SyncFolders);
        table.open(1, RequestKind::DownloadMessage);
        table.open(2, RequestKind::Sync);
        const int b = table.open(1, RequestKind::FolderSync);
        const int c = table.open(1, RequestKind::Sync);
        QCOMPARE(table.openSynchronisations(1), QList<int>({a, b, c}));
        QVERIFY(table.close(b));
        QCOMPARE(table.openSynchronisations(1), QList<int>({a, c}));
        QCOMPARE(table.openRequests().size(), 4);
    }

private:
    Daemon::Clock clock()
    {
        return [this] { return m_now; };
    }

    qint64 m_now = 0;
};

QTEST_GUILESS_MAIN(TestRequestTable)
#include "tst_requesttable.moc"
