// SPDX-License-Identifier: LGPL-2.1-or-later
#include "daemon/sync/folderturns.h"

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
    static QStringList folders(int count)
    {
        QStringList names;
        for (int i = 0; i < count; ++i)
            names.append(QString::number(i));
        return names;
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
    QMap<QString, int> seen;
    const int rounds = 2 * count;
    for (int i = 0; i < rounds; ++i) {
        const QStringList chosen = turns.next(folders(count), most);
        QCOMPARE(chosen.size(), most);
        QCOMPARE(QSet<QString>(chosen.cbegin(), chosen.cend()).size(), most);
        for (const QString &folder : chosen)
            ++seen[folder];
    }
    QCOMPARE(seen.size(), count);
    for (int i = 0; i < most / 2; ++i)
        QCOMPARE(seen.value(QString::number(i)), rounds);
    // Nobody's turn comes more often than another's.
    QVERIFY(qAbs(seen.value(QString::number(count - 1)) - seen.value(QString::number(count - 2)))
            <= 1);
}

void TestFolderTurns::oneThatGoesDoesNotDisturbTheTurns()
{
    FolderTurns turns;
    for (int count = 12; count > 0; --count) {
        const QStringList chosen = turns.next(folders(count), 4);
        QCOMPARE(chosen.size(), qMin(count, 4));
        QCOMPARE(chosen.first(), QStringLiteral("0"));
    }
}

QTEST_GUILESS_MAIN(TestFolderTurns)
#include "tst_folderturns.moc"
