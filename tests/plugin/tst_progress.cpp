// SPDX-License-Identifier: LGPL-2.1-or-later
#include "asclient/syncinfoshmwriter.h"
#include "tests/plugin/servicefixture.h"

#include <QAbstractEventDispatcher>
#include <QTest>

#include <limits>

class TestProgress : public QObject
{
    Q_OBJECT

private slots:
    void startingToWaitBeginsAtZeroOfAThousand();
    void startingToWaitTwiceReturnsFalseAndKeepsTheFigures();
    void startingAgainResetsTheFiguresAndTheCounter();
    void stoppingWithPlainSuccessReportsTheActivityAlone_data();
    void stoppingWithPlainSuccessReportsTheActivityAlone();
    void stoppingWithAnyOtherCodeReportsItsTranslation_data();
    void stoppingWithAnyOtherCodeReportsItsTranslation();
    void stoppingWhileNotWaitingOnlyStopsARunningTimer();
    void theTimerRunsWhileWaitingAlone();
    void aTickWhileNotWaitingEndsTheTimer();
    void aTickMovesTheBarByOne();
    void aTickGoesPastWhatTheDaemonPublishes_data();
    void aTickGoesPastWhatTheDaemonPublishes();
    void aPublishedFigureAboveTheMaximumIsTakenAndPolled();
    void atTheMaximumALiveRequestExtendsTheMaximum();
    void atTheMaximumWithNothingAliveTheFiguresStay();
    void progressSetFromOutsideIsReportedWhileWaiting();
    void progressSetFromOutsideIsSilentWhileIdle();
    void aTickRepeatsTheFiguresFedFromOutside();
    void theLargestFiguresStayWhereTheyAre();
};

void TestProgress::startingToWaitBeginsAtZeroOfAThousand()
{
    ServiceFixture f;
    LogRecorder log;
    QVERIFY(f.service->startWaiting());
    QVERIFY(f.service->isWaiting());
    QCOMPARE(f.spy.take(), texts({"progress 0/1000"}));
    QCOMPARE(log.takeLines(),
             texts({"OrvService::startWaiting()", "start waiting for the signal"}));
}

void TestProgress::startingToWaitTwiceReturnsFalseAndKeepsTheFigures()
{
    ServiceFixture f;
    QVERIFY(f.service->startWaiting());
    f.tick(3);
    f.spy.take();
    LogRecorder log;
    QVERIFY(!f.service->startWaiting());
    QCOMPARE(f.spy.take(), QStringList());
    QCOMPARE(log.takeLines(),
             texts({"OrvService::startWaiting()", "Timer is active, working is  true"}));
    f.tick();
    QCOMPARE(f.spy.take(), texts({"status Progressing...", "progress 4/1000"}));
}

void TestProgress::startingAgainResetsTheFiguresAndTheCounter()
{
    ServiceFixture f;
    f.service->startWaiting();
    f.service->allowProgressCounter(false);
    f.service->setProgress(60, 100);
    f.service->stopWaiting(200);
    f.spy.take();
    QVERIFY(f.service->startWaiting());
    f.tick();
    QCOMPARE(f.spy.take(), texts({"progress 0/1000", "status Progressing...", "progress 1/1000"}));
}

void TestProgress::stoppingWithPlainSuccessReportsTheActivityAlone_data()
{
    QTest::addColumn<int>("code");
    for (const int code : {200, 1001, -1000})
        QTest::newRow(qPrintable(QString::number(code))) << code;
}

void TestProgress::stoppingWithPlainSuccessReportsTheActivityAlone()
{
    QFETCH(int, code);
    ServiceFixture f;
    f.service->startWaiting();
    f.spy.take();
    LogRecorder log;
    f.service->stopWaiting(code);
    QCOMPARE(f.spy.take(), texts({"activity 2"}));
    QCOMPARE(log.takeLines(),
             QStringList(QStringLiteral("OrvService::stopWaiting( %1 )").arg(code)));
    f.service->stopWaiting(code);
    QCOMPARE(f.spy.take(), QStringList());
}

void TestProgress::stoppingWithAnyOtherCodeReportsItsTranslation_data()
{
    QTest::addColumn<int>("code");
    QTest::addColumn<int>("error");
    QTest::newRow("0") << 0 << 1030;
    QTest::newRow("-1") << -1 << 1037;
    QTest::newRow("401") << 401 << 1029;
    QTest::newRow("a success that is not plain") << 4001 << 0;
}

void TestProgress::stoppingWithAnyOtherCodeReportsItsTranslation()
{
    QFETCH(int, code);
    QFETCH(int, error);
    ServiceFixture f;
    f.service->startWaiting();
    f.spy.take();
    f.service->stopWaiting(code);
    const QString expected =
        error == 0 ? QStringLiteral("status ") : QStringLiteral("error %1").arg(error);
    QCOMPARE(f.spy.take(), QStringList(expected));
    QCOMPARE(f.spy.status().accountId, f.account);
    QVERIFY(!f.spy.status().folderId.isValid());
    QVERIFY(!f.spy.status().messageId.isValid());
}

void TestProgress::stoppingWhileNotWaitingOnlyStopsARunningTimer()
{
    ServiceFixture f;
    f.service->stopWaiting(401);
    QCOMPARE(f.spy.take(), QStringList());
    f.service->startWaiting();
    f.service->stopWaiting(200);
    f.spy.take();
    f.service->stopWaiting(401);
    QCOMPARE(f.spy.take(), QStringList());
    QVERIFY(f.service->startWaiting());
}

void TestProgress::theTimerRunsWhileWaitingAlone()
{
    ServiceFixture f;
    const auto timers = [&] {
        return QAbstractEventDispatcher::instance()->registeredTimers(f.service.get());
    };
    QVERIFY(timers().isEmpty());
    f.service->startWaiting();
    QCOMPARE(timers().count(), 1);
    QCOMPARE(timers().first().interval, 1500);
    f.service->stopWaiting(200);
    QVERIFY(timers().isEmpty());
}

void TestProgress::aTickWhileNotWaitingEndsTheTimer()
{
    ServiceFixture f;
    f.tick();
    QCOMPARE(f.spy.take(), QStringList());
    QVERIFY(f.service->startWaiting());
}

void TestProgress::aTickMovesTheBarByOne()
{
    ServiceFixture f;
    f.service->startWaiting();
    f.spy.take();
    LogRecorder log;
    QVERIFY(QMetaObject::invokeMethod(f.service.get(), "countProgress"));
    QCOMPARE(f.spy.take(), texts({"status Progressing...", "progress 1/1000"}));
    QCOMPARE(log.takeLines(), texts({" progress changed to  1 of 1000"}));
}

void TestProgress::aTickGoesPastWhatTheDaemonPublishes_data()
{
    QTest::addColumn<int>("before");
    QTest::addColumn<int>("published");
    QTest::addColumn<int>("next");
    QTest::newRow("far ahead") << 10 << 400 << 401;
    QTest::newRow("the maximum") << 0 << 1000 << 1;
    QTest::newRow("behind") << 6 << 5 << 7;
}

void TestProgress::aTickGoesPastWhatTheDaemonPublishes()
{
    QFETCH(int, before);
    QFETCH(int, published);
    QFETCH(int, next);
    SyncInfoShmWriter writer;
    QVERIFY2(writer.isOpen(), qPrintable(writer.errorString()));
    ServiceFixture f;
    f.service->startWaiting();
    f.tick(before);
    QVERIFY(writer.publish({f.account.toULongLong(), SyncInfoNode::SyncRunning, published}));
    for (int value : {next, next + 1}) {
        f.spy.take();
        f.tick();
        QCOMPARE(f.spy.take(),
                 QStringList({QStringLiteral("status Progressing..."),
                              QStringLiteral("progress %1/1000").arg(value)}));
    }
}

void TestProgress::aPublishedFigureAboveTheMaximumIsTakenAndPolled()
{
    SyncInfoShmWriter writer;
    ServiceFixture f;
    f.service->startWaiting();
    f.service->setProgress(0, 100);
    f.spy.take();
    QVERIFY(writer.publish({f.account.toULongLong(), SyncInfoNode::SyncRunning, 400}));
    f.tick();
    QCOMPARE(f.spy.take(), texts({"status Progressing...", "progress 400/100"}));
    f.scheduler().addRequest(f.newRequest());
    f.service->setProgress(0, 100);
    f.spy.take();
    f.tick();
    QCOMPARE(f.spy.take(), texts({"status Progressing...", "progress 401/200"}));
    QCOMPARE(f.daemon.callCount("isRequestAlive"), 1);
}

void TestProgress::atTheMaximumALiveRequestExtendsTheMaximum()
{
    ServiceFixture f;
    f.scheduler().addRequest(f.newRequest());
    f.tick(1000);
    QCOMPARE(f.spy.take().last(), QStringLiteral("progress 1000/1000"));
    QCOMPARE(f.daemon.callCount("isRequestAlive"), 0);
    LogRecorder log;
    for (int maximum = 1000; maximum < 1300; maximum += 100) {
        f.service->setProgress(maximum, maximum);
        f.spy.take();
        log.takeLines();
        f.tick();
        QCOMPARE(
            f.spy.take(),
            QStringList({QStringLiteral("status Progressing..."),
                         QStringLiteral("progress %1/%2").arg(maximum + 1).arg(maximum + 100)}));
        QCOMPARE(log.takeLines().first(),
                 QStringLiteral("reached max progress, but it seems that some requests are still "
                                "alive, continue"));
    }
    QCOMPARE(f.daemon.callCount("isRequestAlive"), 3);
    QVERIFY(f.service->isWaiting());
}

void TestProgress::atTheMaximumWithNothingAliveTheFiguresStay()
{
    ServiceFixture f;
    f.service->startWaiting();
    f.tick(1000);
    f.spy.take();
    f.tick(3);
    QCOMPARE(f.spy.take(), QStringList());
    QCOMPARE(f.daemon.callCount("isRequestAlive"), 0);
}

void TestProgress::progressSetFromOutsideIsReportedWhileWaiting()
{
    ServiceFixture f;
    f.service->startWaiting();
    f.spy.take();
    LogRecorder log;
    f.service->setProgress(40, 100);
    QCOMPARE(f.spy.take(), texts({"progress 40/100"}));
    QCOMPARE(log.takeLines(), texts({" progress changed to  40 of 100"}));
}

void TestProgress::progressSetFromOutsideIsSilentWhileIdle()
{
    ServiceFixture f;
    LogRecorder log;
    f.service->setProgress(40, 100);
    QCOMPARE(f.spy.take(), QStringList());
    QCOMPARE(log.takeLines(), QStringList());
    f.service->startWaiting();
    QCOMPARE(f.spy.take(), texts({"progress 0/1000"}));
}

void TestProgress::aTickRepeatsTheFiguresFedFromOutside()
{
    ServiceFixture f;
    f.service->startWaiting();
    f.service->allowProgressCounter(false);
    f.service->setProgress(40, 100);
    f.spy.take();
    LogRecorder log;
    f.tick();
    QCOMPARE(f.spy.take(), texts({"status Progressing...", "progress 40/100"}));
    QCOMPARE(log.takeLines(), texts({" progress is  40 of 100"}));
    f.service->allowProgressCounter(true);
    f.tick();
    QCOMPARE(f.spy.take(), texts({"status Progressing...", "progress 41/100"}));
}

void TestProgress::theLargestFiguresStayWhereTheyAre()
{
    ServiceFixture f;
    f.source().retrieveFolderList(f.account, QMailFolderId(), true);
    const int most = std::numeric_limits<int>::max();
    f.service->setProgress(most - 1, most);
    f.spy.take();
    f.tick();
    QCOMPARE(f.spy.take(), texts({"status Progressing...", "progress 2147483647/2147483647"}));
    // Full, and a request lives.
    f.tick(3);
    QCOMPARE(f.daemon.callCount("isRequestAlive"), 3);
    QCOMPARE(f.spy.take(), QStringList());
    f.daemon.end(1, 200);
    QCOMPARE(f.spy.takeOutcome(), texts({"activity 2", "completed true"}));
}

QTEST_GUILESS_MAIN(TestProgress)

#include "tst_progress.moc"
