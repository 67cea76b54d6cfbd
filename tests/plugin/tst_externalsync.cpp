// SPDX-License-Identifier: LGPL-2.1-or-later
#include "tests/plugin/fakemessageserver.h"
#include "tests/plugin/servicefixture.h"

#include <QTest>

/**
 * Synchronisations that the daemon starts by itself, and the marker that shows them: what the
 * service tells at each step, and orders of events that a real message server leaves to chance.
 * What a client sees of them is proved in tests/messageserver.
 */
class TestExternalSync : public QObject
{
    Q_OBJECT

private slots:
    void aSyncOfTheDaemonsOwnStartsAMarkerAndEndsIt();
    void theMarkerCarriesAnEmptyNameAndATypedEmptyText();
    void aRequestThatThePollFindsDeadExplainsNothing();
    void aServiceOfNoAccountCreatesNoMarker();
    void twoStartsInARowCreateOneMarker();
    void aBurstLeavesTheServiceFreeAndTheMarkerCompletesAtOnce();
    void twoBurstsBeforeTheMarkerArrivesLeaveTheServiceFree();
    void aSecondSyncBeforeTheMarkerArrivesIsFollowedByIt();
    void anEndBetweenDeliveryAndInProgressEndsTheMarker();
    void anEndDoesNotStopTheWaitingForARequestOfOurs();
    void anEndThatIsTakenForTheMarkersLeavesNoActionBehind();
    void anEndThatIsTakenForTheMarkersBeforeItsDelivery();
    void aBeginningWhileTheMarkerEndsGetsAMarkerAfterwards();
    void aWholeSyncWhileTheMarkerEndsLeavesNothing();
    void aBeginningBetweenALateDeliveryAndItsCompletion_data();
    void aBeginningBetweenALateDeliveryAndItsCompletion();
    void whatElseEndsTheActionEndsTheMarker();
    void aStrayEndOfARequestDoesNotEndTheMarker();
    void aMarkerThatIsTakenOutOfTheQueueLeavesNothingWaiting();
    void aBeginningBehindALostMarkerAsksForAnother();
    void aBeginningBehindACancelledMarkerGetsAMarkerAfterwards();
};

namespace {

class ExternalSyncFixture
{
public:
    quint64 id() const { return f.account.toULongLong(); }

    void start()
    {
        f.daemon.syncStarted(id());
        f.daemon.settle();
    }

    void end()
    {
        f.daemon.syncCompleted(id());
        f.daemon.settle();
    }

    /** A broadcast that is delivered before anything else that is posted. */
    void deliverAtOnce(const char *slot)
    {
        QVERIFY(QMetaObject::invokeMethod(&f.source(), slot, Q_ARG(qulonglong, id())));
    }

    /** What the message server does with a marker: it hands it to the source. */
    bool deliver() { return f.source().protocolRequest(f.account, QString(), QVariant(QString())); }

    /** Starts a synchronisation and takes its marker all the way. */
    qulonglong startAndTakeUp()
    {
        start();
        const auto marker = server.waitForRequest("protocolRequest");
        deliver();
        server.setActivity(marker.action, QMailServiceAction::InProgress);
        return marker.action;
    }

    FakeMessageServer server;
    ServiceFixture f;
};

} // namespace

void TestExternalSync::aSyncOfTheDaemonsOwnStartsAMarkerAndEndsIt()
{
    ExternalSyncFixture x;
    LogRecorder log;
    x.start();
    QVERIFY(log.takeLines().contains(
        QStringLiteral("Got sync request, but have no action for it. Creating FAKE action")));
    QVERIFY(x.f.service->isWaiting());
    QVERIFY(!x.f.source().isExternalSyncWorking());
    const auto marker = x.server.waitForRequest("protocolRequest");
    QCOMPARE(x.f.spy.take(), texts({"progress 0/1000"}));
    QVERIFY(x.deliver());
    QCOMPARE(x.f.spy.take(), texts({"status protocol request received"}));
    x.server.setActivity(marker.action, QMailServiceAction::InProgress);
    QVERIFY(x.f.source().isExternalSyncWorking());
    log.takeLines();
    x.end();
    QCOMPARE(x.f.spy.take(), texts({"activity 2", "completed true"}));
    QCOMPARE(
        log.takeLines(),
        QStringList({QStringLiteral("Synchronize COMPLETED signal received for the account  %1")
                         .arg(x.id()),
                     QStringLiteral("FAKE action is completed"),
                     QStringLiteral("OrvService::stopWaiting( 200 )"),
                     QStringLiteral("OrvSource::Action completed")}));
    x.server.setActivity(marker.action, QMailServiceAction::Successful);
    QVERIFY(!x.f.source().isExternalSyncWorking());
}

void TestExternalSync::theMarkerCarriesAnEmptyNameAndATypedEmptyText()
{
    ExternalSyncFixture x;
    x.start();
    const auto marker = x.server.waitForRequest("protocolRequest");
    QCOMPARE(qdbus_cast<QMailAccountId>(marker.arguments.value(0)), x.f.account);
    QCOMPARE(marker.arguments.value(1).toString(), QString());
    const QVariant data = marker.arguments.value(2).value<QDBusVariant>().variant();
    QCOMPARE(data.userType(), int(QMetaType::QString));
    QCOMPARE(data.toString(), QString());
}

void TestExternalSync::aRequestThatThePollFindsDeadExplainsNothing()
{
    ExternalSyncFixture x;
    x.f.source().retrieveFolderList(x.f.account, QMailFolderId(), true);
    x.f.daemon.answerAlive(0);
    x.f.spy.take();
    x.start();
    QCOMPARE(x.f.spy.take(), texts({"activity 2", "completed true", "progress 0/1000"}));
    QVERIFY(x.server.waitForRequest("protocolRequest").action != 0);
}

void TestExternalSync::aServiceOfNoAccountCreatesNoMarker()
{
    ExternalSyncFixture x;
    OrvService service {QMailAccountId()};
    ServiceSpy spy(&service);
    LogRecorder log;
    QVERIFY(QMetaObject::invokeMethod(&service.source(), "onSyncStarted"));
    QVERIFY(!service.isWaiting());
    QCOMPARE(spy.take(), QStringList());
    QCOMPARE(log.takeLines(), QStringList());
    x.f.daemon.settle();
    QCOMPARE(x.server.requests("protocolRequest").count(), 0);
}

void TestExternalSync::twoStartsInARowCreateOneMarker()
{
    ExternalSyncFixture x;
    x.start();
    x.start();
    const auto marker = x.server.waitForRequest("protocolRequest");
    x.deliver();
    x.server.setActivity(marker.action, QMailServiceAction::InProgress);
    x.f.spy.take();
    x.end();
    QCOMPARE(x.f.spy.take(), texts({"activity 2", "completed true"}));
    x.server.setActivity(marker.action, QMailServiceAction::Successful);
    x.end();
    QCOMPARE(x.f.spy.take(), QStringList());
    QCOMPARE(x.server.requests("protocolRequest").count(), 1);
}

void TestExternalSync::aBurstLeavesTheServiceFreeAndTheMarkerCompletesAtOnce()
{
    ExternalSyncFixture x;
    x.f.daemon.syncStarted(x.id());
    x.f.daemon.syncCompleted(x.id());
    x.f.daemon.settle();
    QVERIFY(!x.f.service->isWaiting());
    QCOMPARE(x.f.spy.take(), texts({"progress 0/1000", "activity 2"}));
    const auto marker = x.server.waitForRequest("protocolRequest");
    QVERIFY(x.deliver());
    QTRY_COMPARE(x.f.spy.completions(), 1);
    QCOMPARE(x.f.spy.take(), texts({"status protocol request received", "completed true"}));
    x.server.setActivity(marker.action, QMailServiceAction::Successful);
    // The next one has a marker of its own.
    x.start();
    QVERIFY(x.server.waitForRequest("protocolRequest").action != marker.action);
}

void TestExternalSync::twoBurstsBeforeTheMarkerArrivesLeaveTheServiceFree()
{
    ExternalSyncFixture x;
    for (int i = 0; i < 2; ++i) {
        x.start();
        QVERIFY(x.f.service->isWaiting());
        x.end();
        QVERIFY(!x.f.service->isWaiting());
    }
    x.deliver();
    QTRY_COMPARE(x.f.spy.completions(), 1);
    x.server.waitForRequest("protocolRequest");
    QCOMPARE(x.server.requests("protocolRequest").count(), 1);
}

void TestExternalSync::aSecondSyncBeforeTheMarkerArrivesIsFollowedByIt()
{
    ExternalSyncFixture x;
    x.start();
    x.end();
    x.start();
    x.f.spy.take();
    const auto marker = x.server.waitForRequest("protocolRequest");
    x.deliver();
    x.server.setActivity(marker.action, QMailServiceAction::InProgress);
    QCOMPARE(x.f.spy.completions(), 0);
    x.end();
    QCOMPARE(x.f.spy.takeOutcome(), texts({"activity 2", "completed true"}));
    QCOMPARE(x.server.requests("protocolRequest").count(), 1);
}

void TestExternalSync::anEndBetweenDeliveryAndInProgressEndsTheMarker()
{
    ExternalSyncFixture x;
    x.start();
    x.server.waitForRequest("protocolRequest");
    x.deliver();
    x.f.spy.take();
    x.end();
    QCOMPARE(x.f.spy.take(), texts({"activity 2", "completed true"}));
    QVERIFY(!x.f.service->isWaiting());
}

void TestExternalSync::anEndDoesNotStopTheWaitingForARequestOfOurs()
{
    ExternalSyncFixture x;
    x.start();
    // The message server puts an action of the person before the marker.
    x.f.source().retrieveFolderList(x.f.account, QMailFolderId(), true);
    x.f.spy.take();
    x.end();
    QVERIFY(x.f.service->isWaiting());
    QCOMPARE(x.f.spy.take(), QStringList());
    x.f.daemon.end(1, 200);
    QCOMPARE(x.f.spy.take(), texts({"activity 2", "completed true"}));
    x.deliver();
    QTRY_COMPARE(x.f.spy.completions(), 1);
}

/** The message server counts its own actions in the same process and from the same number on. */
void TestExternalSync::anEndThatIsTakenForTheMarkersLeavesNoActionBehind()
{
    ExternalSyncFixture x;
    x.start();
    const auto marker = x.server.waitForRequest("protocolRequest");
    x.server.setActivity(marker.action, QMailServiceAction::Successful);
    QVERIFY(x.deliver());
    x.f.spy.take();
    x.end();
    QCOMPARE(x.f.spy.take(), texts({"activity 2", "completed true"}));
    QVERIFY(!x.f.service->isWaiting());
    x.end();
    QCOMPARE(x.f.spy.take(), QStringList());
}

void TestExternalSync::anEndThatIsTakenForTheMarkersBeforeItsDelivery()
{
    ExternalSyncFixture x;
    x.start();
    const auto marker = x.server.waitForRequest("protocolRequest");
    x.server.setActivity(marker.action, QMailServiceAction::Successful);
    x.end();
    QVERIFY(!x.f.service->isWaiting());
    x.f.spy.take();
    QVERIFY(x.deliver());
    QStringList told;
    QTRY_VERIFY((told += x.f.spy.take()).contains(QStringLiteral("completed true")));
}

void TestExternalSync::aBeginningWhileTheMarkerEndsGetsAMarkerAfterwards()
{
    ExternalSyncFixture x;
    const qulonglong first = x.startAndTakeUp();
    x.end();
    QCOMPARE(x.f.spy.takeOutcome(), texts({"activity 2", "completed true"}));
    // The client library does not know of the end yet, and would not send another marker.
    x.start();
    QVERIFY(!x.f.service->isWaiting());
    QCOMPARE(x.server.requests("protocolRequest").count(), 1);
    x.server.setActivity(first, QMailServiceAction::Successful);
    const auto second = x.server.waitForRequest("protocolRequest");
    QVERIFY(second.action != 0 && second.action != first);
    QVERIFY(x.f.service->isWaiting());
    QVERIFY(x.deliver());
    x.server.setActivity(second.action, QMailServiceAction::InProgress);
    QCOMPARE(x.f.spy.completions(), 0);
    x.f.spy.take();
    x.end();
    QCOMPARE(x.f.spy.take(), texts({"activity 2", "completed true"}));
}

void TestExternalSync::aWholeSyncWhileTheMarkerEndsLeavesNothing()
{
    ExternalSyncFixture x;
    const qulonglong marker = x.startAndTakeUp();
    x.end();
    x.f.spy.take();
    for (int i = 0; i < 3; ++i) {
        x.start();
        x.end();
    }
    QCOMPARE(x.f.spy.take(), QStringList());
    QVERIFY(!x.f.service->isWaiting());
    x.server.setActivity(marker, QMailServiceAction::Successful);
    x.f.daemon.settle();
    QVERIFY(!x.f.service->isWaiting());
    QCOMPARE(x.f.spy.take(), QStringList());
    QCOMPARE(x.server.requests("protocolRequest").count(), 1);
}

void TestExternalSync::aBeginningBetweenALateDeliveryAndItsCompletion_data()
{
    QTest::addColumn<bool>("ends");
    QTest::newRow("that goes on") << false;
    QTest::newRow("that ends as well") << true;
}

/** The marker's completion is put off for a turn of the event loop; much arrives in that turn. */
void TestExternalSync::aBeginningBetweenALateDeliveryAndItsCompletion()
{
    QFETCH(bool, ends);
    ExternalSyncFixture x;
    x.start();
    x.end();
    const auto marker = x.server.waitForRequest("protocolRequest");
    x.server.setActivity(marker.action, QMailServiceAction::InProgress);
    x.f.spy.take();
    QVERIFY(x.deliver());
    x.deliverAtOnce("onSyncStarted");
    if (ends)
        x.deliverAtOnce("onSyncCompleted");
    QCOMPARE(x.f.spy.takeOutcome(), QStringList());
    QTRY_COMPARE(x.f.spy.completions(), 1);
    QVERIFY(!x.f.service->isWaiting());
    x.server.setActivity(marker.action, QMailServiceAction::Successful);
    x.f.daemon.settle();
    QCOMPARE(x.f.spy.completions(), 1);
    QCOMPARE(x.f.service->isWaiting(), !ends);
    QTRY_COMPARE(x.server.requests("protocolRequest").count(), ends ? 1 : 2);
}

void TestExternalSync::whatElseEndsTheActionEndsTheMarker()
{
    ExternalSyncFixture x;
    const qulonglong marker = x.startAndTakeUp();
    x.f.spy.take();
    emit x.f.service->actionCompleted(true);
    QVERIFY(!x.f.service->isWaiting());
    QCOMPARE(x.f.spy.takeOutcome().count(QStringLiteral("completed true")), 1);
    x.end();
    QCOMPARE(x.f.spy.take(), QStringList());
    x.server.setActivity(marker, QMailServiceAction::Successful);
    x.start();
    QVERIFY(x.server.waitForRequest("protocolRequest").action != 0);
}

void TestExternalSync::aStrayEndOfARequestDoesNotEndTheMarker()
{
    ExternalSyncFixture x;
    x.f.source().retrieveFolderList(x.f.account, QMailFolderId(), true);
    x.f.daemon.answerAlive(0);
    x.startAndTakeUp();
    x.f.spy.take();
    // The poll found it dead; its own action has long had its end.
    x.f.daemon.end(1, 401);
    QCOMPARE(x.f.spy.takeOutcome(), QStringList());
    QVERIFY(x.f.service->isWaiting());
    x.end();
    QCOMPARE(x.f.spy.takeOutcome(), texts({"activity 2", "completed true"}));
}

void TestExternalSync::aMarkerThatIsTakenOutOfTheQueueLeavesNothingWaiting()
{
    ExternalSyncFixture x;
    x.start();
    const auto marker = x.server.waitForRequest("protocolRequest");
    QVERIFY(x.f.service->isWaiting());
    x.server.setActivity(marker.action, QMailServiceAction::Failed);
    QVERIFY(!x.f.service->isWaiting());
    x.f.spy.take();
    x.end();
    QCOMPARE(x.f.spy.take(), QStringList());
    x.start();
    QVERIFY(x.server.waitForRequest("protocolRequest").action != 0);
}

void TestExternalSync::aBeginningBehindALostMarkerAsksForAnother()
{
    ExternalSyncFixture x;
    x.start();
    const auto marker = x.server.waitForRequest("protocolRequest");
    x.server.setActivity(marker.action, QMailServiceAction::Successful);
    x.end();
    x.start();
    QVERIFY(x.f.service->isWaiting());
    QVERIFY(x.server.waitForRequest("protocolRequest").action != 0);
}

void TestExternalSync::aBeginningBehindACancelledMarkerGetsAMarkerAfterwards()
{
    ExternalSyncFixture x;
    const qulonglong marker = x.startAndTakeUp();
    x.f.service->cancelOperation(QMailServiceAction::Status::ErrCancel, QString());
    x.end();
    x.start();
    QVERIFY(!x.f.service->isWaiting());
    x.f.spy.take();
    x.server.setActivity(marker, QMailServiceAction::Failed);
    QTRY_COMPARE(x.server.requests("protocolRequest").count(), 2);
    QVERIFY(x.f.service->isWaiting());
    QCOMPARE(x.f.spy.completions(), 0);
}

QTEST_GUILESS_MAIN(TestExternalSync)

#include "tst_externalsync.moc"
