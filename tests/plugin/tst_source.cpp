// SPDX-License-Identifier: LGPL-2.1-or-later
#include "asclient/syncinfoshmwriter.h"
#include "plugin/service/clock.h"
#include "tests/plugin/fakemessageserver.h"
#include "tests/plugin/servicefixture.h"

#include <QProcess>
#include <QSignalSpy>
#include <QTest>

using Answer = ScriptedDaemon::Answer;

namespace {

qint64 testTime = 0;

/** A clock that stands at the time that the test sets. */
class TestClock
{
public:
    explicit TestClock(qint64 msecs)
    {
        set(msecs);
        Clock::setSource([] { return testTime; });
    }
    ~TestClock() { Clock::setSource(nullptr); }
    void set(qint64 msecs) { testTime = msecs; }
    void advance(qint64 msecs) { testTime += msecs; }
};

constexpr qint64 Noon = 1700000000000;

} // namespace

/** The source's operations on the whole account, and those that need no daemon. */
class TestSource : public QObject
{
    Q_OBJECT

private slots:
    void synchronizeRunsOneSyncToItsCompletion();
    void exportUpdatesStartsAFullSync();
    void retrieveAllSaysNothingAndSyncs();
    void theFirstRetrieveAllAlwaysReachesTheDaemon();
    void aRepetitionWithin4999MsIsADoublet();
    void exportUpdatesAndSynchronizeShareTheDoublets();
    void aDoubletCompletesThroughTheServiceAfter100Ms();
    void aSyncThatEndsWithAnyCodeOfSuccessMakesDoublets();
    void aCancelledSyncMakesNoDoublet();
    void aPollThatEndsTheSyncMakesNoDoublet();
    void theOperationsReturnTrueWhateverTheDaemonAnswers();
    void retrieveFolderListIgnoresFolderAndDepth();
    void protocolRequestForAnotherAccountIsRefusedWithoutAStatus();
    void protocolRequestWhileIdleCompletesOnTheNextTurn();
    void protocolRequestWhileWaitingStaysOpen();
    void rangesAreRefused();
    void prepareMessagesCompletesWithoutTheDaemon();
    void completeActionReportsSuccess();
    void cancelExternalSyncDoesNothing();
    void aServiceMadeWhileAnotherAccountSyncsFollowsNothing();
    void aSyncThatEndsBeforeItsEndCanBeHeardIsNotFollowed();
    void theEndOfASyncIsSubscribedToBeforeAnyBeginning();
};

void TestSource::synchronizeRunsOneSyncToItsCompletion()
{
    TestClock clock(Noon);
    ServiceFixture f;
    LogRecorder log;
    QVERIFY(f.source().synchronize(f.account));
    QCOMPARE(f.spy.take(), texts({"status syncronizing", "progress 0/1000"}));
    const QStringList lines = log.takeLines();
    const QString id = QString::number(f.account.toULongLong());
    QCOMPARE(lines.mid(0, 3),
             QStringList({QStringLiteral("syncronizing"),
                          QStringLiteral("Retrieving all for AccountId= %1 ...").arg(id),
                          QStringLiteral("Now %1 last sync completed at 0 diff = %1").arg(Noon)}));
    QCOMPARE(lines.last(), QStringLiteral("result =  1 for AccountId= %1").arg(id));
    const auto calls = f.daemon.calls();
    QCOMPARE(calls.count(), 1);
    QCOMPARE(calls.first().method, QStringLiteral("sync"));
    QCOMPARE(calls.first().arguments, QVariantList {f.account.toULongLong()});
    QVERIFY(calls.first().wantsReply);
    f.daemon.end(1, 200);
    QCOMPARE(f.spy.take(), texts({"activity 2", "completed true"}));
    QVERIFY(log.takeLines().contains(QStringLiteral("Sync completed at %1").arg(Noon)));
}

void TestSource::exportUpdatesStartsAFullSync()
{
    ServiceFixture f;
    LogRecorder log;
    QVERIFY(f.source().exportUpdates(f.account));
    QCOMPARE(f.spy.take(), texts({"status exporting updates", "progress 0/1000"}));
    QCOMPARE(log.takeLines().first(), QStringLiteral("exporting updates"));
    QCOMPARE(f.daemon.calls().count(), 1);
    QCOMPARE(f.daemon.callCount("sync"), 1);
}

void TestSource::retrieveAllSaysNothingAndSyncs()
{
    ServiceFixture f;
    QVERIFY(f.source().retrieveAll(f.account));
    QCOMPARE(f.spy.take(), texts({"progress 0/1000"}));
    QCOMPARE(f.daemon.callCount("sync"), 1);
}

void TestSource::theFirstRetrieveAllAlwaysReachesTheDaemon()
{
    // Even with a clock that has just begun.
    for (const qint64 now : {qint64(5000), Noon}) {
        TestClock clock(now);
        ServiceFixture f;
        f.source().retrieveAll(f.account);
        QCOMPARE(f.daemon.callCount("sync"), 1);
    }
}

void TestSource::aRepetitionWithin4999MsIsADoublet()
{
    TestClock clock(Noon);
    ServiceFixture f;
    f.source().synchronize(f.account);
    clock.advance(60000);
    f.daemon.end(1, 200);
    f.spy.take();
    clock.advance(4999);
    LogRecorder log;
    QVERIFY(f.source().synchronize(f.account));
    QCOMPARE(log.takeLines().last(), QStringLiteral("doublet sync request, ignoring (emulating)"));
    QCOMPARE(f.daemon.callCount("sync"), 1);
    QCOMPARE(f.spy.take(), texts({"status syncronizing"}));
    QTRY_COMPARE(f.spy.completions(), 1);
    QCOMPARE(f.spy.take(), texts({"activity 2", "completed true"}));
}

void TestSource::exportUpdatesAndSynchronizeShareTheDoublets()
{
    TestClock clock(Noon);
    ServiceFixture f;
    f.source().exportUpdates(f.account);
    f.daemon.end(1, 200);
    f.source().retrieveAll(f.account);
    f.source().synchronize(f.account);
    f.source().exportUpdates(f.account);
    QCOMPARE(f.daemon.callCount("sync"), 1);
}

void TestSource::aDoubletCompletesThroughTheServiceAfter100Ms()
{
    TestClock clock(Noon);
    ServiceFixture f;
    f.source().synchronize(f.account);
    f.daemon.end(1, 200);
    f.spy.take();
    LogRecorder log;
    QElapsedTimer elapsed;
    elapsed.start();
    f.source().retrieveAll(f.account);
    log.takeLines();
    QTRY_COMPARE(f.spy.completions(), 1);
    QVERIFY(elapsed.elapsed() >= 95);
    // The service's, not the source's.
    QCOMPARE(log.takeLines(), texts({"Action completed"}));
}

void TestSource::aSyncThatEndsWithAnyCodeOfSuccessMakesDoublets()
{
    TestClock clock(Noon);
    ServiceFixture f;
    f.source().synchronize(f.account);
    f.daemon.end(1, 4001);
    QVERIFY(f.source().synchronize(f.account));
    QCOMPARE(f.daemon.callCount("sync"), 1);
}

void TestSource::aCancelledSyncMakesNoDoublet()
{
    TestClock clock(Noon);
    ServiceFixture f;
    f.source().synchronize(f.account);
    f.service->cancelOperation(QMailServiceAction::Status::ErrCancel, QString());
    f.deleteDeferred();
    QVERIFY(f.source().synchronize(f.account));
    QCOMPARE(f.daemon.callCount("sync"), 2);
}

void TestSource::aPollThatEndsTheSyncMakesNoDoublet()
{
    TestClock clock(Noon);
    ServiceFixture f;
    f.source().synchronize(f.account);
    f.daemon.answerAlive(0);
    f.tick(1001);
    QCOMPARE(f.spy.completions(), 1);
    QVERIFY(f.source().synchronize(f.account));
    QCOMPARE(f.daemon.callCount("sync"), 2);
}

void TestSource::theOperationsReturnTrueWhateverTheDaemonAnswers()
{
    ServiceFixture f;
    f.daemon.answer(Answer::error());
    QVERIFY(f.source().synchronize(f.account));
    QVERIFY(f.source().exportUpdates(f.account));
    QVERIFY(f.source().retrieveAll(f.account));
    QVERIFY(f.source().retrieveFolderList(f.account, QMailFolderId(), false));
    QCOMPARE(f.spy.completions(), 4);
}

void TestSource::retrieveFolderListIgnoresFolderAndDepth()
{
    ServiceFixture f;
    LogRecorder log;
    for (const bool descending : {true, false}) {
        QVERIFY(f.source().retrieveFolderList(f.account, QMailFolderId(17), descending));
        QCOMPARE(f.spy.take().first(), QStringLiteral("status retrieving folder list"));
        QCOMPARE(log.takeLines().first(), QStringLiteral("retrieving folder list"));
    }
    const auto calls = f.daemon.calls();
    QCOMPARE(calls.count(), 2);
    for (const auto &call : calls) {
        QCOMPARE(call.method, QStringLiteral("folderSync"));
        QCOMPARE(call.arguments, QVariantList {f.account.toULongLong()});
    }
}

void TestSource::protocolRequestForAnotherAccountIsRefusedWithoutAStatus()
{
    ServiceFixture f;
    LogRecorder log;
    const QMailAccountId other(f.account.toULongLong() + 1);
    QVERIFY(!f.source().protocolRequest(other, QStringLiteral("x"), QVariant(1)));
    QCOMPARE(log.takeLines(),
             QStringList(QStringLiteral("Protocol request received for the account  %1")
                             .arg(other.toULongLong())));
    f.daemon.settle();
    QCOMPARE(f.spy.take(), QStringList());
}

void TestSource::protocolRequestWhileIdleCompletesOnTheNextTurn()
{
    ServiceFixture f;
    QVERIFY(f.source().protocolRequest(f.account, QString(), QVariant()));
    QCOMPARE(f.spy.take(), texts({"status protocol request received"}));
    QTRY_COMPARE(f.spy.completions(), 1);
    QCOMPARE(f.spy.take(), texts({"completed true"}));
}

void TestSource::protocolRequestWhileWaitingStaysOpen()
{
    ServiceFixture f;
    f.service->startWaiting();
    f.spy.take();
    QVERIFY(f.source().protocolRequest(f.account, QString(), QVariant()));
    QCOMPARE(f.spy.take(), texts({"status protocol request received"}));
    f.daemon.settle();
    QCOMPARE(f.spy.take(), QStringList());
}

void TestSource::rangesAreRefused()
{
    ServiceFixture f;
    LogRecorder log;
    QVERIFY(!f.source().retrieveMessageRange(QMailMessageId(1), 100));
    QCOMPARE(log.takeLines(), texts({"retrieveMessageRange"}));
    QVERIFY(!f.source().retrieveMessagePartRange(QMailMessagePart::Location(), 100));
    QCOMPARE(log.takeLines(), QStringList());
    QCOMPARE(f.spy.take(), QStringList());
    QCOMPARE(f.daemon.calls().count(), 0);
}

void TestSource::prepareMessagesCompletesWithoutTheDaemon()
{
    ServiceFixture f;
    QVERIFY(f.source().prepareMessages({}));
    QCOMPARE(f.spy.take(), QStringList());
    QTRY_COMPARE(f.spy.completions(), 1);
    QCOMPARE(f.spy.take(), texts({"completed true"}));
    QCOMPARE(f.daemon.calls().count(), 0);
}

void TestSource::completeActionReportsSuccess()
{
    ServiceFixture f;
    LogRecorder log;
    QVERIFY(QMetaObject::invokeMethod(&f.source(), "completeAction"));
    QCOMPARE(f.spy.take(), texts({"completed true"}));
    QCOMPARE(log.takeLines(), texts({"OrvSource::Action completed"}));
}

void TestSource::cancelExternalSyncDoesNothing()
{
    ServiceFixture f;
    QVERIFY(!f.source().cancelExternalSync());
    QCOMPARE(f.spy.take(), QStringList());
    QCOMPARE(f.daemon.calls().count(), 0);
}

void TestSource::aServiceMadeWhileAnotherAccountSyncsFollowsNothing()
{
    FakeMessageServer server;
    SyncInfoShmWriter writer;
    ScriptedDaemon daemon;
    const QMailAccountId account = StoreFixture::addAccount();
    QVERIFY(writer.publish({account.toULongLong() + 1, SyncInfoNode::SyncRunning, 10}));
    QVERIFY(writer.publish({account.toULongLong(), 1, 10}));
    OrvService service(account);
    daemon.settle();
    QVERIFY(!service.isWaiting());
    QCOMPARE(server.requests("protocolRequest").count(), 0);
    StoreFixture::clear();
}

void TestSource::aSyncThatEndsBeforeItsEndCanBeHeardIsNotFollowed()
{
    FakeMessageServer server;
    SyncInfoShmWriter writer;
    ScriptedDaemon daemon;
    const QMailAccountId account = StoreFixture::addAccount();
    QVERIFY(writer.publish({account.toULongLong(), SyncInfoNode::SyncRunning, 10}));
    OrvService service(account);
    QVERIFY(writer.publish({account.toULongLong(), 1, 10}));
    daemon.settle();
    QVERIFY(!service.isWaiting());
    QCOMPARE(server.requests("protocolRequest").count(), 0);
    StoreFixture::clear();
}

void TestSource::theEndOfASyncIsSubscribedToBeforeAnyBeginning()
{
    ScriptedDaemon daemon;
    const QMailAccountId account = StoreFixture::addAccount();
    QProcess monitor;
    monitor.start(QStringLiteral("dbus-monitor"),
                  {QStringLiteral("--session"), QStringLiteral("member='AddMatch'")});
    QByteArray seen;
    connect(&monitor, &QProcess::readyReadStandardOutput, this,
            [&] { seen += monitor.readAllStandardOutput(); });
    // A monitor has become one when it loses its name.
    QTRY_VERIFY(seen.contains("NameLost"));
    const int before = seen.size();
    OrvService service(account);
    QTRY_VERIFY(seen.lastIndexOf("member='syncStarted'") > before);
    monitor.kill();
    QVERIFY(monitor.waitForFinished());
    const int end = seen.indexOf("member='syncCompleted'", before);
    QVERIFY2(end > 0 && end < seen.indexOf("member='syncStarted'", before),
             seen.mid(before).constData());
    StoreFixture::clear();
}

QTEST_GUILESS_MAIN(TestSource)

#include "tst_source.moc"
