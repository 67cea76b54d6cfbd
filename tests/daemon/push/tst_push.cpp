// SPDX-License-Identifier: LGPL-2.1-or-later
#include "daemon/engine/networkmonitor.h"
#include "daemon/pacing/pauses.h"
#include "daemon/push/heartbeat.h"
#include "daemon/push/pushwatch.h"
#include "daemon/store/state/syncstatedb.h"
#include "daemon/tasks/workreport.h"
#include "eas/limits.h"
#include "tests/daemon/daemonfixture.h"

#include <QElapsedTimer>
#include <qmailstore.h>
#include <QSignalSpy>
#include <QTest>

#include <arpa/inet.h>
#include <memory>
#include <net/if.h>
#include <sys/ioctl.h>
#include <unistd.h>

/** Mail that arrives by itself, for an account whose push is on. */
class TestPush : public DaemonFixture<DaemonWorld>
{
    Q_OBJECT

private slots:
    void init();

    void newMailArrivesWithinTwoSeconds();
    void manyMessagesInARowAllArriveAtOnce();
    void quickAnswersWithoutNewsAreAskedForMoreSlowly();
    void itIsAnnouncedAsASynchronisation();
    void manyMessagesAtOnceAreToldInBundles();
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
    /** So many waits have begun, and what the daemon told before is heard. */
    void awaitPing(int count = 1)
    {
        QTRY_VERIFY_WITH_TIMEOUT(world().pings() >= count, 20000);
        QVERIFY(world().hearAll());
    }
};

void TestPush::init()
{
    DaemonFixture::init();
    world().deliver(1, QStringLiteral("Old"));
    QCOMPARE(world().syncAndWait(), 200);
}

void TestPush::newMailArrivesWithinTwoSeconds()
{
    world().setPush(true);
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
    world().setPush(true);
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
    world().server.fault("status", "Ping", {{"status", 1}, {"count", -1}});
    world().server.clearLog();
    world().setPush(true);
    QTRY_VERIFY(world().daemon.log().contains(QStringLiteral("is watched again in")));
    QCOMPARE(world().server.requestCount("Ping"), 6);
}

void TestPush::itIsAnnouncedAsASynchronisation()
{
    world().setPush(true);
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

void TestPush::manyMessagesAtOnceAreToldInBundles()
{
    constexpr int Many = 100;
    QSignalSpy told(QMailStore::instance(), &QMailStore::messagesAdded);
    world().deliver(Many, QStringLiteral("News"));
    QCOMPARE(world().syncAndWait(), 200);
    const auto messages = [&told] {
        int count = 0;
        for (const QVariantList &arguments : told)
            count += arguments.first().value<QMailMessageIdList>().size();
        return count;
    };
    QTRY_COMPARE(messages(), Many);
    QVERIFY2(told.count() <= Many / 10, qPrintable(QString::number(told.count())));
}

void TestPush::onlyTheChangedFolderIsAskedFor()
{
    world().setPush(true);
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
    world().setPush(true);
    awaitPing();
    world().server.fault("delay", "Sync", {{"late", true}, {"seconds", 20}});
    world().server.deliverText(QStringLiteral("alice"), QStringLiteral("First"));
    QVERIFY(world().faultsAreTaken());
    world().server.deliverText(QStringLiteral("alice"), QStringLiteral("Second"));
    world().server.endDelays();
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
    world().setPush(true);
    awaitPing();
    world().setPush(false);
    // The daemon is told of it by the mail store.
    QTRY_VERIFY(world().daemon.log().contains(QStringLiteral("is not watched any more")));
    world().server.clearLog();
    world().server.deliverText(QStringLiteral("alice"), QStringLiteral("News"));
    QTest::qWait(300);
    QCOMPARE(world().server.log(), QJsonArray());
}

void TestPush::aRefusedLoginIsNotRepeated()
{
    world().setPush(true);
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
    world().setPush(true);
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
        world().createFolder(QStringLiteral("Box %1").arg(i));
    QCOMPARE(world().syncAndWait(), 200);
    QCOMPARE(world().syncAndWait(), 200);
    world().server.control("options", {{QStringLiteral("max_folders"), 4}});
    world().server.clearLog();
    world().setPush(true);
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
    world().setPush(true);
    awaitPing();
    world().listener.clear();
    world().server.fault("delay", "Sync", {{"seconds", 20}});
    world().server.deliverText(QStringLiteral("alice"), QStringLiteral("News"));
    QTRY_COMPARE(world().listener.count(QStringLiteral("syncStarted")), 1);
    QVERIFY(world().faultsAreTaken());
    world().proxy.stopSync(world().account.toULongLong(), 1030, QDBus::Block);
    QTRY_VERIFY_WITH_TIMEOUT(world().subjects().contains(QStringLiteral("News")), 20000);
}

/** The watch itself, without the rest of the daemon. */
void TestPush::aWaitThatHasOnlyJustBegunMakesWay()
{
    // Some servers watch nothing for a wait that begins beside another request.
    world().setPush(true);
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
    Daemon::WorkReport report;
    Daemon::AccountContext context;
    context.report = &report;
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
    QTRY_VERIFY(world().pings() >= 1);
    world().server.control("network", {{QStringLiteral("up"), false}});
    QTRY_VERIFY(!watch.isWaiting());
    world().server.control("network", {{QStringLiteral("up"), true}});
    QElapsedTimer timer;
    timer.start();
    watch.networkChanged();
    QTRY_VERIFY(world().pings() >= 2);
    QVERIFY(timer.elapsed() < Daemon::Pauses::AfterFailure.firstMs / 2);
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
    const Daemon::Backoff usual = Daemon::Pauses::AfterFailure;
    const Daemon::Backoff grave = Daemon::Pauses::AfterGraveFailure;
    QCOMPARE(usual.pauseMs(1, 0, 0), usual.firstMs / 2);
    QCOMPARE(usual.pauseMs(1, 0, 1), usual.firstMs);
    QCOMPARE(usual.pauseMs(2, 0, 0.5), usual.firstMs * 3 / 2);
    QCOMPARE(usual.pauseMs(1000, 0, 1), usual.maximumMs);
    QCOMPARE(usual.pauseMs(1000, 0, 0), usual.maximumMs / 2);
    // What the server asks for comes first.
    QCOMPARE(usual.pauseMs(1, 3600, 0), 3600000);
    QCOMPARE(usual.pauseMs(1, Eas::Limits::RetryAfter, 0), 6 * 3600000);
    QCOMPARE(grave.pauseMs(1, 0, 1), 15 * 60000);
    QCOMPARE(grave.pauseMs(3, 0, 1), 60 * 60000);
    QCOMPARE(grave.pauseMs(1000, 0, 1), grave.maximumMs);
}

void TestPush::aHeartbeatThatTheServerBoundsIsKept()
{
    world().server.control("options", {{QStringLiteral("heartbeat"), QJsonArray {60, 120}}});
    world().server.clearLog();
    world().setPush(true);
    awaitPing();
    const QList<QJsonObject> pings = world().server.requests("Ping");
    QCOMPARE(pings.size(), 2);
    const QString kept = pings.last().value(QStringLiteral("request")).toString();
    QVERIFY2(kept.contains(QStringLiteral(">120<")), qPrintable(kept));
}

void TestPush::theEndOfAHeartbeatIsOneMoreRequest()
{
    world().setPush(true);
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
    QCOMPARE(heartbeat.seconds(), int(Heartbeat::Maximum));
    // A connection that is cut at once is no sign of a middlebox.
    heartbeat.cutAfter(3);
    QCOMPARE(heartbeat.seconds(), int(Heartbeat::Maximum));
    heartbeat.cutAfter(300);
    QCOMPARE(heartbeat.seconds(), 270);
    heartbeat.carried();
    QCOMPARE(heartbeat.seconds(), 270);
    heartbeat.cutAfter(70);
    QCOMPARE(heartbeat.seconds(), int(Heartbeat::Minimum));
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
