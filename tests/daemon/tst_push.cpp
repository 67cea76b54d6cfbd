// SPDX-License-Identifier: LGPL-2.1-or-later
#include "daemon/heartbeat.h"
#include "tests/daemon/daemonworld.h"

#include <QElapsedTimer>
#include <QTest>

#include <qmailstore.h>

#include <memory>

/** Mail that arrives by itself, for an account whose push is on. */
class TestPush : public QObject
{
    Q_OBJECT

private slots:
    void init();
    void cleanup();

    void newMailArrivesWithinTwoSeconds();
    void itIsAnnouncedAsASynchronisation();
    void onlyTheChangedFolderIsAskedFor();
    void aChangeDuringTheFetchArrivesToo();
    void withPushOffNothingIsSent();
    void pushSwitchedOffEndsTheWait();
    void aRefusedLoginIsNotRepeated();
    void aServerThatComesBackIsWatchedAgain();
    void theEndOfAHeartbeatIsOneMoreRequest();
    void theHeartbeatGrowsAndFallsBack();

private:
    DaemonWorld &world() { return *m_world; }
    void setPush(bool on)
    {
        QMailAccount account(world().account);
        if (on)
            account.setCustomField(QStringLiteral("pushEnabled"), QStringLiteral("1"));
        else
            account.removeCustomField(QStringLiteral("pushEnabled"));
        QVERIFY(QMailStore::instance()->updateAccount(&account, nullptr));
    }
    /** How many waits began at the server, and how many the test ended. */
    int pings()
    {
        const QJsonObject answer =
            world().server.control("devices", {{QStringLiteral("user"), QStringLiteral("alice")}});
        int pings = 0;
        for (const QJsonValue &device : answer.value(QStringLiteral("devices")).toArray())
            pings += device.toObject().value(QStringLiteral("pings")).toInt();
        return pings;
    }
    void awaitPing(int count = 1) { QTRY_VERIFY_WITH_TIMEOUT(pings() >= count, 20000); }

    std::unique_ptr<DaemonWorld> m_world;
};

void TestPush::init()
{
    if (!EasServer::isAvailable())
        QSKIP("there is no python3 for the test server");
    m_world = std::make_unique<DaemonWorld>();
    QVERIFY(world().begin());
    world().deliver(1, QStringLiteral("Old"));
    QCOMPARE(world().syncAndWait(), 200);
}

void TestPush::cleanup()
{
    const int code = m_world ? m_world->endDaemon() : 0;
    m_world.reset();
    QCOMPARE(code, 0);
}

void TestPush::newMailArrivesWithinTwoSeconds()
{
    setPush(true);
    awaitPing();
    for (int i = 0; i < 3; ++i) {
        const QString subject = QStringLiteral("News %1").arg(i);
        QElapsedTimer timer;
        timer.start();
        world().server.deliverText(QStringLiteral("alice"), subject);
        QTRY_VERIFY_WITH_TIMEOUT(world().subjects().contains(subject), 10000);
        QVERIFY2(timer.elapsed() < 2000, qPrintable(QString::number(timer.elapsed())));
    }
}

void TestPush::itIsAnnouncedAsASynchronisation()
{
    setPush(true);
    awaitPing();
    world().listener.clear();
    world().server.deliverText(QStringLiteral("alice"), QStringLiteral("News"));
    QTRY_COMPARE(world().listener.count(QStringLiteral("syncCompleted")), 1);
    QCOMPARE(world().listener.count(QStringLiteral("syncStarted")), 1);
    QCOMPARE(world().listener.count(QStringLiteral("requestCompleted")), 0);
}

void TestPush::onlyTheChangedFolderIsAskedFor()
{
    setPush(true);
    awaitPing();
    world().server.clearLog();
    world().server.deliverText(QStringLiteral("alice"), QStringLiteral("News"));
    awaitPing(2);
    QCOMPARE(world().server.requestCount("FolderSync"), 0);
    QCOMPARE(world().server.requestCount("Sync"), 1);
    QVERIFY(world().subjects().contains(QStringLiteral("News")));
}

void TestPush::aChangeDuringTheFetchArrivesToo()
{
    setPush(true);
    awaitPing();
    world().server.fault({{QStringLiteral("kind"), QStringLiteral("delay")},
                          {QStringLiteral("command"), QStringLiteral("Sync")},
                          {QStringLiteral("late"), true},
                          {QStringLiteral("seconds"), 0.5}});
    world().server.clearLog();
    world().server.deliverText(QStringLiteral("alice"), QStringLiteral("First"));
    QTRY_VERIFY(world().server.requestCount("Sync") > 0);
    world().server.deliverText(QStringLiteral("alice"), QStringLiteral("Second"));
    QTRY_VERIFY(world().subjects().contains(QStringLiteral("Second")));
}

void TestPush::withPushOffNothingIsSent()
{
    world().server.clearLog();
    world().server.deliverText(QStringLiteral("alice"), QStringLiteral("News"));
    QTest::qWait(300);
    QVERIFY(world().server.log().isEmpty());
    QVERIFY(!world().subjects().contains(QStringLiteral("News")));
}

void TestPush::pushSwitchedOffEndsTheWait()
{
    setPush(true);
    awaitPing();
    setPush(false);
    // The daemon is told of it by the mail store.
    QTRY_VERIFY(world().daemon.log().contains(QStringLiteral("is not watched any more")));
    world().server.clearLog();
    world().server.deliverText(QStringLiteral("alice"), QStringLiteral("News"));
    QTest::qWait(300);
    QCOMPARE(world().server.log(), QJsonArray());
}

void TestPush::aRefusedLoginIsNotRepeated()
{
    setPush(true);
    awaitPing();
    world().server.control("set-password",
                           {{QStringLiteral("user"), QStringLiteral("alice")},
                            {QStringLiteral("password"), QStringLiteral("other")}});
    world().server.clearLog();
    world().server.control("ping-end");
    QTRY_COMPARE(world().server.log().size(), 1);
    QTest::qWait(500);
    QCOMPARE(world().server.log().size(), 1);
}

void TestPush::aServerThatComesBackIsWatchedAgain()
{
    setPush(true);
    awaitPing();
    world().server.control("network", {{QStringLiteral("up"), false}});
    world().server.deliverText(QStringLiteral("alice"), QStringLiteral("News"));
    QTest::qWait(200);
    world().server.control("network", {{QStringLiteral("up"), true}});
    QTRY_VERIFY_WITH_TIMEOUT(world().subjects().contains(QStringLiteral("News")), 30000);
}

void TestPush::theEndOfAHeartbeatIsOneMoreRequest()
{
    setPush(true);
    awaitPing();
    world().server.clearLog();
    world().server.control("ping-end");
    awaitPing(3);
    QTest::qWait(200);
    QCOMPARE(world().server.log().size(), 1);
}

void TestPush::theHeartbeatGrowsAndFallsBack()
{
    using Daemon::Heartbeat;
    Heartbeat heartbeat;
    QCOMPARE(heartbeat.seconds(), int(Heartbeat::First));
    heartbeat.carried();
    QCOMPARE(heartbeat.seconds(), Heartbeat::First + Heartbeat::Growth);
    for (int i = 0; i < 100; ++i)
        heartbeat.carried();
    QCOMPARE(heartbeat.seconds(), int(Heartbeat::Most));
    // A connection that is cut at once is no sign of a middlebox.
    heartbeat.cutAfter(3);
    QCOMPARE(heartbeat.seconds(), int(Heartbeat::Most));
    heartbeat.cutAfter(300);
    QCOMPARE(heartbeat.seconds(), 270);
    heartbeat.carried();
    QCOMPARE(heartbeat.seconds(), 270);
    heartbeat.cutAfter(70);
    QCOMPARE(heartbeat.seconds(), int(Heartbeat::Least));
    // What the server sets holds in both directions.
    Heartbeat bounded;
    bounded.bound(120);
    bounded.carried();
    QCOMPARE(bounded.seconds(), 120);
    Heartbeat raised;
    raised.cutAfter(61);
    raised.bound(200);
    QCOMPARE(raised.seconds(), 200);
}

QTEST_GUILESS_MAIN(TestPush)
#include "tst_push.moc"
