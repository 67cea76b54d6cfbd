// SPDX-License-Identifier: LGPL-2.1-or-later
#include "tests/plugin/logrecorder.h"
#include "tests/plugin/servicefixture.h"

#include <QSignalSpy>
#include <QTest>
#include <QTimer>

namespace {

using Status = QMailServiceAction::Status;

} // namespace

class TestService : public QObject
{
    Q_OBJECT

private slots:
    void hasSourceHasSinkAndIsAvailableBeforeAnyContactWithTheDaemon();
    void isConstructedInOrder();
    void isDestroyedInOrder();
    void deletingItWhileWaitingReportsCodeZeroBeforeSinkAndSourceGo();
    void deletingItWhileIdleReportsNothing();
    void needsNoReregistrationAndNoConcurrentActions();
    void forwardsStatusAndCompletionsOnce();
    void updateStatusReportsTheTextWithoutAnError();
    void completeActionReportsActivityThenCompletion();
    void cancellingWhileNothingWaitsStillAnnouncesAvailability();
    void cancellingReportsTheCodeAsItCameIn();
    void cancellingReachesRequestsBeforeTheStatus();
    void cancellingThroughTheBaseClassCancels();
    void aCompletionThatIsPutOffGoesWithItsAction_data();
    void aCompletionThatIsPutOffGoesWithItsAction();
};

void TestService::hasSourceHasSinkAndIsAvailableBeforeAnyContactWithTheDaemon()
{
    // No daemon, no account in the store.
    const OrvService service(QMailAccountId(4711));
    QVERIFY(service.hasSource());
    QVERIFY(service.hasSink());
    QVERIFY(service.available());
    QCOMPARE(service.service(), QStringLiteral("orvmail"));
    QCOMPARE(service.accountId(), QMailAccountId(4711));
    QVERIFY(!service.isWaiting());
}

void TestService::isConstructedInOrder()
{
    LogRecorder log;
    const OrvService service(QMailAccountId(4711));
    QCOMPARE(log.takeLines(), texts({"OrvService::OrvService"}));
    // The children are the proxy and, last, the scheduler; sink and source are none.
    const QObjectList children = service.children();
    QCOMPARE(children.count(), 2);
    QCOMPARE(children.at(0), static_cast<QObject *>(service.daemon()));
    QCOMPARE(children.at(1), static_cast<QObject *>(service.scheduler()));
    QVERIFY(!service.source().parent());
    QVERIFY(!service.sink().parent());
}

void TestService::isDestroyedInOrder()
{
    QStringList gone;
    auto service = std::make_unique<OrvService>(QMailAccountId(4711));
    const auto note = [&gone, this](QObject *object) {
        const QString name = QString::fromLatin1(object->metaObject()->className());
        connect(object, &QObject::destroyed, this, [&gone, name] { gone += name; });
    };
    note(service->scheduler());
    note(service->daemon());
    note(&service->source());
    note(&service->sink());
    LogRecorder log;
    service.reset();
    QCOMPARE(log.takeLines(), texts({"OrvService::stopWaiting( 0 )", " OrvService::~OrvService"}));
    QCOMPARE(gone,
             texts({"OrvSink", "OrvSource", "Activesync::AsDBusInterface", "RequestScheduler"}));
}

void TestService::deletingItWhileWaitingReportsCodeZeroBeforeSinkAndSourceGo()
{
    ServiceFixture f;
    f.source().retrieveFolderList(f.account, QMailFolderId(), true);
    QVERIFY(f.service->isWaiting());
    QStringList events;
    connect(&f.source(), &QObject::destroyed, this, [&] { events += QStringLiteral("source"); });
    connect(&f.sink(), &QObject::destroyed, this, [&] { events += QStringLiteral("sink"); });
    connect(f.service.get(),
            qOverload<const QMailServiceAction::Status>(&QMailMessageService::statusChanged), this,
            [&](const Status &status) { events += QString::number(status.errorCode); });
    f.spy.take();
    f.service.reset();
    QCOMPARE(events, texts({"1030", "sink", "source"}));
    QCOMPARE(f.spy.takeOutcome(), texts({"error 1030"}));
}

void TestService::deletingItWhileIdleReportsNothing()
{
    ServiceFixture f;
    f.service.reset();
    QCOMPARE(f.spy.take(), QStringList());
}

void TestService::needsNoReregistrationAndNoConcurrentActions()
{
    const OrvService service(QMailAccountId(4711));
    QVERIFY(!service.requiresReregistration());
    QVERIFY(!service.usesConcurrentActions());
}

void TestService::forwardsStatusAndCompletionsOnce()
{
    ServiceFixture f;
    emit f.source().updateStatus(QStringLiteral("hello"));
    QCOMPARE(f.spy.take(), texts({"status hello"}));
    emit f.source().actionCompleted(false);
    emit f.sink().actionCompleted(true);
    emit f.scheduler().actionCompleted(false);
    QCOMPARE(f.spy.take(), texts({"completed false", "completed true", "completed false"}));
}

void TestService::updateStatusReportsTheTextWithoutAnError()
{
    ServiceFixture f;
    QVERIFY(QMetaObject::invokeMethod(f.service.get(), "updateStatus",
                                      Q_ARG(QString, QStringLiteral("text"))));
    QCOMPARE(f.spy.take(), texts({"status text"}));
    QCOMPARE(f.spy.status().accountId, f.account);
    QVERIFY(!f.spy.status().folderId.isValid());
    QVERIFY(!f.spy.status().messageId.isValid());
}

void TestService::completeActionReportsActivityThenCompletion()
{
    ServiceFixture f;
    LogRecorder log;
    QVERIFY(QMetaObject::invokeMethod(f.service.get(), "completeAction"));
    QCOMPARE(log.takeLines(), texts({"Action completed"}));
    QCOMPARE(f.spy.take(), texts({"activity 2", "completed true"}));
}

void TestService::cancellingWhileNothingWaitsStillAnnouncesAvailability()
{
    ServiceFixture f;
    LogRecorder log;
    QSignalSpy cancelled(f.service.get(), &OrvService::operationCanceled);
    bool result = false;
    QVERIFY(
        QMetaObject::invokeMethod(f.service.get(), "cancelOperation", Q_RETURN_ARG(bool, result),
                                  Q_ARG(QMailServiceAction::Status::ErrorCode, Status::ErrCancel),
                                  Q_ARG(QString, QStringLiteral("why"))));
    QVERIFY(result);
    QCOMPARE(cancelled.count(), 1);
    QCOMPARE(f.spy.take(), texts({"available true"}));
    QCOMPARE(log.takeLines(),
             texts({"cancelOperation code 1030 \"why\"", "OrvService::stopWaiting( 1030 )"}));
    QCOMPARE(f.daemon.calls().count(), 0);
}

void TestService::cancellingReportsTheCodeAsItCameIn()
{
    ServiceFixture f;
    f.service->startWaiting();
    f.spy.take();
    QVERIFY(f.service->cancelOperation(Status::ErrorCode(1029), QString()));
    // The table knows no 1029.
    QCOMPARE(f.spy.take(), texts({"error 1037", "available true"}));
    QVERIFY(!f.service->isWaiting());
    f.service->startWaiting();
    f.spy.take();
    QVERIFY(f.service->cancelOperation(Status::ErrCancel, QString()));
    QCOMPARE(f.spy.take(), texts({"error 1030", "available true"}));
}

void TestService::cancellingReachesRequestsBeforeTheStatus()
{
    ServiceFixture f;
    f.source().retrieveFolderList(f.account, QMailFolderId(), true);
    LogRecorder log;
    f.service->cancelOperation(Status::ErrCancel, QString());
    QCOMPARE(
        log.takeLines(),
        texts({"cancelOperation code 1030 \"\"", "cancelling as-daemon request 1 with code 1030",
               "void RequestScheduler::onRequestCompleted(int, AsDaemonRequest*, bool) "
               "operation cancelled",
               "OrvService::stopWaiting( 1030 )",
               "QMailServiceAction::Status::ErrorCode( 1030 ) is  1030"}));
    QCOMPARE(f.daemon.calls("abortRequest").value(0).arguments, QVariantList({1, 1030}));
    QCOMPARE(f.daemon.callCount("stopSync"), 0);
    QCOMPARE(f.spy.completions(), 0);
}

void TestService::cancellingThroughTheBaseClassCancels()
{
    ServiceFixture f;
    f.service->startWaiting();
    f.spy.take();
    QMailMessageService *base = f.service.get();
    QVERIFY(base->cancelOperation());
    QCOMPARE(f.spy.take(), texts({"error 1030", "available true"}));
}

void TestService::aCompletionThatIsPutOffGoesWithItsAction_data()
{
    QTest::addColumn<bool>("cancelled");
    QTest::newRow("cancelled") << true;
    QTest::newRow("ended by something else") << false;
}

/** It would end the next action, which the message server begins at once. */
void TestService::aCompletionThatIsPutOffGoesWithItsAction()
{
    QFETCH(bool, cancelled);
    ServiceFixture f;
    f.source().prepareMessages({});
    if (cancelled)
        f.service->cancelOperation(Status::ErrCancel, QString());
    else
        emit f.service->actionCompleted(true);
    f.source().retrieveFolderList(f.account, QMailFolderId(), true);
    f.spy.take();
    // Zero delays end in their order: the first one's turn comes before this.
    bool later = false;
    QTimer::singleShot(0, this, [&later] { later = true; });
    QTRY_VERIFY(later);
    QCOMPARE(f.spy.takeOutcome(), QStringList());
    f.daemon.end(1, 401);
    QCOMPARE(f.spy.takeOutcome(), texts({"error 1029", "completed false"}));
}

QTEST_GUILESS_MAIN(TestService)

#include "tst_service.moc"
