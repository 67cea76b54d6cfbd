// SPDX-License-Identifier: LGPL-2.1-or-later
#include "daemon/push/heartbeat.h"
#include "daemon/push/pushwatch.h"
#include "daemon/tasks/backoff.h"
#include "daemon/tasks/networkmonitor.h"
#include "tests/daemon/daemonworld.h"

#include <QElapsedTimer>
#include <QSignalSpy>
#include <QTest>

#include <qmailstore.h>

#include <memory>

#include <arpa/inet.h>
#include <net/if.h>
#include <sys/ioctl.h>
#include <unistd.h>

/** Mail that arrives by itself, for an account whose push is on. */
class TestPush : public QObject
{
    Q_OBJECT

private slots:
    void init();
    void cleanup();

    void newMailArrivesWithinTwoSeconds();
    void manyMessagesInARowAllArriveAtOnce();
    void quickAnswersWithoutNewsAreAskedForMoreSlowly();
    void itIsAnnouncedAsASynchronisation();
    void onlyTheChangedFolderIsAskedFor();
    void aChangeDuringTheFetchArrivesToo();
    void withPushOffNothingIsSent();
    void pushSwitchedOffEndsTheWait();
    void aRefusedLoginIsNotRepeated();
    void aServerThatComesBackIsWatchedAgain();
    void theInboxIsWatchedThoughNotAllFoldersFit();
    void aStoppedSynchronisationIsMadeUpFor();
    void aWaitThatHasOnlyJustBegunMakesWay();
    void aNetworkThatReturnsIsUsedAtOnce();
    void aChangeOfTheNetworkIsNoticed();
    void pausesAfterErrorsGrowAndAreSpread();
    void aHeartbeatThatTheServerBoundsIsKept();
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

void TestPush::manyMessagesInARowAllArriveAtOnce()
{
    setPush(true);
    awaitPing();
    for (int i = 1; i <= 10; ++i) {
        const QString subject = QStringLiteral("News %1").arg(i);
        world().server.deliverText(QStringLiteral("alice"), subject);
        QTRY_VERIFY_WITH_TIMEOUT(world().subjects().contains(subject), 10000);
        awaitPing(i + 1);
    }
    QVERIFY(!world().daemon.log().contains(QStringLiteral("is watched again in")));
}

void TestPush::quickAnswersWithoutNewsAreAskedForMoreSlowly()
{
    // "Nothing happened", long before the heartbeat is over.
    world().server.fault({{QStringLiteral("kind"), QStringLiteral("status")},
                          {QStringLiteral("command"), QStringLiteral("Ping")},
                          {QStringLiteral("status"), 1},
                          {QStringLiteral("count"), -1}});
    world().server.clearLog();
    setPush(true);
    QTRY_VERIFY(world().daemon.log().contains(QStringLiteral("is watched again in")));
    QCOMPARE(world().server.requestCount("Ping"), 6);
}

void TestPush::itIsAnnouncedAsASynchronisation()
{
    setPush(true);
    awaitPing();
    // The end of what went before may come later than the answer to it.
    QTRY_COMPARE(world().listener.count(QStringLiteral("syncCompleted")),
                 world().listener.count(QStringLiteral("syncStarted")));
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

void TestPush::theInboxIsWatchedThoughNotAllFoldersFit()
{
    for (int i = 0; i < 8; ++i)
        world().server.control("folder-create",
                               {{QStringLiteral("user"), QStringLiteral("alice")},
                                {QStringLiteral("folder"), QStringLiteral("Box %1").arg(i)}});
    QCOMPARE(world().syncAndWait(), 200);
    QCOMPARE(world().syncAndWait(), 200);
    world().server.control("options", {{QStringLiteral("max_folders"), 4}});
    world().server.clearLog();
    setPush(true);
    awaitPing();
    world().server.deliverText(QStringLiteral("alice"), QStringLiteral("News"));
    QTRY_VERIFY_WITH_TIMEOUT(world().subjects().contains(QStringLiteral("News")), 10000);
    // The last one in every order, some rounds later.
    world().server.deliverText(QStringLiteral("alice"), QStringLiteral("Rare"),
                               QStringLiteral("Box 7"));
    for (int i = 0;
         i < 20 && !world().subjects(QStringLiteral("Box 7")).contains(QStringLiteral("Rare"));
         ++i) {
        world().server.deliverText(QStringLiteral("alice"), QStringLiteral("More %1").arg(i));
        QTRY_VERIFY_WITH_TIMEOUT(world().subjects().contains(QStringLiteral("More %1").arg(i)),
                                 10000);
    }
    QCOMPARE(world().subjects(QStringLiteral("Box 7")), QStringList {QStringLiteral("Rare")});
}

void TestPush::aStoppedSynchronisationIsMadeUpFor()
{
    setPush(true);
    awaitPing();
    world().listener.clear();
    world().server.fault({{QStringLiteral("kind"), QStringLiteral("delay")},
                          {QStringLiteral("command"), QStringLiteral("Sync")},
                          {QStringLiteral("seconds"), 2}});
    world().server.deliverText(QStringLiteral("alice"), QStringLiteral("News"));
    QTRY_COMPARE(world().listener.count(QStringLiteral("syncStarted")), 1);
    QTRY_VERIFY(world().faultsAreTaken());
    world().proxy.stopSync(world().account.toULongLong(), 1030, QDBus::Block);
    QTRY_VERIFY_WITH_TIMEOUT(world().subjects().contains(QStringLiteral("News")), 20000);
}

/** The watch itself, without the rest of the daemon. */
void TestPush::aWaitThatHasOnlyJustBegunMakesWay()
{
    // Some servers watch nothing for a wait that begins beside another request.
    setPush(true);
    awaitPing();
    QCOMPARE(world().syncAndWait(), 200);
    awaitPing(2);
    world().server.deliverText(QStringLiteral("alice"), QStringLiteral("News"));
    QTRY_VERIFY(world().subjects().contains(QStringLiteral("News")));
}

void TestPush::aNetworkThatReturnsIsUsedAtOnce()
{
    QCOMPARE(world().endDaemon(), 0);
    Store::SyncStateDb db;
    QVERIFY(db.open().ok());
    Daemon::AccountContext context;
    context.db = &db;
    context.record = Store::AccountRecord::read(world().account);
    Eas::ServerAddress address;
    address.host = context.record.server;
    address.port = context.record.port;
    Eas::Credentials credentials;
    credentials.user = context.record.userName;
    credentials.password = context.record.password;
    Eas::Device device;
    device.id = db.deviceId();
    Eas::Session session(address, credentials, device);
    context.session = &session;
    Daemon::PushWatch watch(context, nullptr);
    watch.resume();
    awaitPing(1);
    world().server.control("network", {{QStringLiteral("up"), false}});
    QTRY_VERIFY(!watch.isWaiting());
    world().server.control("network", {{QStringLiteral("up"), true}});
    QElapsedTimer timer;
    timer.start();
    watch.networkChanged();
    awaitPing(2);
    QVERIFY(timer.elapsed() < Daemon::Backoff::FirstMs / 2);
}

void TestPush::aChangeOfTheNetworkIsNoticed()
{
    Daemon::NetworkMonitor monitor(nullptr);
    QSignalSpy changed(&monitor, &Daemon::NetworkMonitor::changed);
    ifreq request {};
    qstrncpy(request.ifr_name, "lo:orvmail", sizeof request.ifr_name);
    auto *address = reinterpret_cast<sockaddr_in *>(&request.ifr_addr);
    address->sin_family = AF_INET;
    address->sin_addr.s_addr = htonl(0x7f000963);
    const int socket = ::socket(AF_INET, SOCK_DGRAM | SOCK_CLOEXEC, 0);
    const bool isSet = ::ioctl(socket, SIOCSIFADDR, &request) == 0;
    // Without its flags the second address of the interface is gone again.
    request.ifr_flags = 0;
    const bool isRemoved = ::ioctl(socket, SIOCSIFFLAGS, &request) == 0;
    ::close(socket);
    if (!isSet)
        QSKIP("this user may not change the network");
    QVERIFY(isRemoved);
    QTRY_COMPARE(changed.count(), 1);
}

void TestPush::pausesAfterErrorsGrowAndAreSpread()
{
    using Daemon::Backoff;
    QCOMPARE(Backoff::pauseMs(1, 0, 0), Backoff::FirstMs / 2);
    QCOMPARE(Backoff::pauseMs(1, 1, 0), int(Backoff::FirstMs));
    QCOMPARE(Backoff::pauseMs(2, 0.5, 0), Backoff::FirstMs * 3 / 2);
    QCOMPARE(Backoff::pauseMs(1000, 1, 0), int(Backoff::MaximumMs));
    QCOMPARE(Backoff::pauseMs(1000, 0, 0), Backoff::MaximumMs / 2);
    // What the server asks for comes first.
    QCOMPARE(Backoff::pauseMs(1, 0, 3600), 3600000);
    QCOMPARE(Backoff::pauseMs(1, 0, 2147483647), 24 * 3600000);
    QCOMPARE(Backoff::gravePauseMs(1, 1, 0), 15 * 60000);
    QCOMPARE(Backoff::gravePauseMs(3, 1, 0), 60 * 60000);
    QCOMPARE(Backoff::gravePauseMs(1000, 1, 0), int(Backoff::MaximumGraveMs));
}

void TestPush::aHeartbeatThatTheServerBoundsIsKept()
{
    world().server.control("options", {{QStringLiteral("heartbeat"), QJsonArray {60, 120}}});
    world().server.clearLog();
    setPush(true);
    awaitPing();
    const QList<QJsonObject> pings = world().server.requests("Ping");
    QCOMPARE(pings.size(), 2);
    const QString kept = pings.last().value(QStringLiteral("request")).toString();
    QVERIFY2(kept.contains(QStringLiteral(">120<")), qPrintable(kept));
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
