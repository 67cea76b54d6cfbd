// SPDX-License-Identifier: LGPL-2.1-or-later
#include "daemon/push/folderturns.h"
#include "tests/support/folderliteral.h"

#include <QMap>
#include <QSet>
#include <QTest>

using Daemon::FolderTurns;

/** Which folders are watched where not all can be. */
class TestFolderTurns : public QObject
{
    Q_OBJECT

private slots:
    void whatFitsIsWatched();
    void theMostImportantAreWatchedAlwaysAndAllOfTheOthersInTurns_data();
    void theMostImportantAreWatchedAlwaysAndAllOfTheOthersInTurns();
    void oneThatGoesDoesNotDisturbTheTurns();

private:
    static QList<Eas::FolderId> folders(int count)
    {
        QList<Eas::FolderId> ids;
        for (int i = 0; i < count; ++i)
            ids.append(Eas::FolderId(QString::number(i)));
        return ids;
    }
};

void TestFolderTurns::whatFitsIsWatched()
{
    FolderTurns turns;
    QCOMPARE(turns.next(folders(5), 5), folders(5));
    QCOMPARE(turns.next(folders(5), 100), folders(5));
}

void TestFolderTurns::theMostImportantAreWatchedAlwaysAndAllOfTheOthersInTurns_data()
{
    QTest::addColumn<int>("count");
    QTest::addColumn<int>("most");
    QTest::newRow("two places") << 7 << 2;
    QTest::newRow("one more than fits") << 101 << 100;
    QTest::newRow("many more") << 930 << 100;
}

void TestFolderTurns::theMostImportantAreWatchedAlwaysAndAllOfTheOthersInTurns()
{
    QFETCH(int, count);
    QFETCH(int, most);
    FolderTurns turns;
    const QList<Eas::FolderId> all = folders(count);
    QMap<Eas::FolderId, int> seen;
    const int rounds = 2 * count;
    for (int i = 0; i < rounds; ++i) {
        const QList<Eas::FolderId> chosen = turns.next(all, most);
        QCOMPARE(chosen.size(), most);
        QCOMPARE(QSet<Eas::FolderId>(chosen.cbegin(), chosen.cend()).size(), most);
        for (const Eas::FolderId &folder : chosen)
            ++seen[folder];
    }
    QCOMPARE(seen.size(), count);
    for (int i = 0; i < most / 2; ++i)
        QCOMPARE(seen.value(all.at(i)), rounds);
    // Nobody's turn comes more often than another's.
    QVERIFY(qAbs(seen.value(all.at(count - 1)) - seen.value(all.at(count - 2))) <= 1);
}

void TestFolderTurns::oneThatGoesDoesNotDisturbTheTurns()
{
    FolderTurns turns;
    for (int count = 12; count > 0; --count) {
        const QList<Eas::FolderId> chosen = turns.next(folders(count), 4);
        QCOMPARE(chosen.size(), qMin(count, 4));
        QCOMPARE(chosen.first(), "0"_folder);
    }
}

QTEST_GUILESS_MAIN(TestFolderTurns)
#include "tst_folderturns.moc"
