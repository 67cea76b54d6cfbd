// SPDX-License-Identifier: LGPL-2.1-or-later
#include "plugin/requests/asdaemonsendrequest.h"
#include "tests/plugin/servicefixture.h"

#include <QElapsedTimer>
#include <qmailstore.h>
#include <QPointer>
#include <QSignalSpy>
#include <QTest>

using Answer = ScriptedDaemon::Answer;

namespace {

constexpr auto Cancel = QMailServiceAction::Status::ErrCancel;

/** One message in the outbox and the request that sends it. */
class SendFixture : public ServiceFixture
{
public:
    SendFixture()
        : message(StoreFixture::addOutgoing(account))
        , request(new AsDaemonSendRequest(*service, account,
                                          std::tr1::bind(&Activesync::AsDBusInterface::sendMail,
                                                         service->daemon(), account.toULongLong(),
                                                         message.toULongLong(), QDBus::Block),
                                          message, &sink()))
        , transmitted(request, &AsDaemonSendRequest::messagesTransmitted)
        , failed(request, &AsDaemonSendRequest::messagesFailedTransmission)
        , completed(request, &AsDaemonRequest::requestCompleted)
    {
    }

    bool isInOutbox() const
    {
        return StoreFixture::hasStatus(message, QMailMessageMetaData::Outbox);
    }

    const QMailMessageId message;
    const QPointer<AsDaemonSendRequest> request;
    QSignalSpy transmitted;
    QSignalSpy failed;
    QSignalSpy completed;
};

} // namespace

/**
 * The request that sends a message: its signals, its end and its deletion, and who may destroy it.
 * What becomes of the message and of the client's action is proved in tests/messageserver.
 */
class TestSendRequest : public QObject
{
    Q_OBJECT

private slots:
    void aSuccessfulSendIsReportedOnce();
    void aSuccessCodeOtherThan200IsAFailure();
    void throwsBadFunctionCallWithoutACall();
    void aBroadcastForAnotherIdChangesAndLogsNothing();
    void aBroadcastForAnotherAccountIsHandled();
    void aCancelledSendThatFailsIsBackInTheOutboxAndReportsNothing();
    void cancellingTwiceIsHarmless();
    void cancellingASendAloneEmptiesTheQueues();
    void theNextSendEndsNormallyWhileTheCancelledOneIsOut();
    void thePollIgnoresACancelledSend();
    void theServiceGoesWhileACancelledSendIsOut();
    void theServiceGoesWhileASendIsOut();
    void aSendThatIsAnsweredLateIsFollowedToItsEnd_data();
    void aSendThatIsAnsweredLateIsFollowedToItsEnd();
    void sendsToASilentDaemonBlockOnce();
    void aRefusedSendGoesWithItsAction();
    void whoHearsOfTheOutcomeMayDestroyTheRequest_data();
    void whoHearsOfTheOutcomeMayDestroyTheRequest();
};

void TestSendRequest::aSuccessfulSendIsReportedOnce()
{
    SendFixture f;
    f.scheduler().addRequest(f.request);
    f.spy.take();
    LogRecorder log;
    f.daemon.end(1, 200);
    QCOMPARE(f.transmitted.count(), 1);
    QCOMPARE(f.transmitted.first().first().value<QMailMessageIdList>(),
             QMailMessageIdList {f.message});
    QCOMPARE(f.failed.count(), 0);
    QCOMPARE(f.completed.count(), 1);
    QCOMPARE(f.completed.first().at(0).toInt(), 200);
    QCOMPARE(f.completed.first().at(2).toBool(), false);
    QCOMPARE(f.spy.take(), texts({"status ", "activity 2", "completed true"}));
    QCOMPARE(f.spy.status().messageId, f.message);
    QCOMPARE(f.spy.status().accountId, f.account);
    QVERIFY(!f.isInOutbox());
    QCOMPARE(
        log.takeLines().mid(0, 3),
        QStringList({QStringLiteral("requestCompleted received for Account  \"%1\" .Request  1")
                         .arg(f.account.toULongLong()),
                     QStringLiteral("Emitting 'messagesTransmitted' signal for id  %1")
                         .arg(f.message.toULongLong()),
                     QStringLiteral(" Update status:  0")}));
    QTRY_VERIFY(!f.request);
}

void TestSendRequest::aSuccessCodeOtherThan200IsAFailure()
{
    SendFixture f;
    f.scheduler().addRequest(f.request);
    f.daemon.end(1, 4001);
    QVERIFY(f.isInOutbox());
    QCOMPARE(f.failed.count(), 1);
    QCOMPARE(f.failed.first().at(1).value<QMailServiceAction::Status::ErrorCode>(),
             QMailServiceAction::Status::ErrNoError);
}

void TestSendRequest::throwsBadFunctionCallWithoutACall()
{
    SendFixture f;
    AsDaemonSendRequest empty(*f.service, f.account, DaemonCall(), f.message, nullptr);
    QVERIFY_EXCEPTION_THROWN(empty.execute(), std::tr1::bad_function_call);
}

void TestSendRequest::aBroadcastForAnotherIdChangesAndLogsNothing()
{
    SendFixture f;
    f.scheduler().addRequest(f.request);
    f.spy.take();
    LogRecorder log;
    f.daemon.requestCompleted(404, f.account.toULongLong(), 2);
    f.daemon.settle();
    QCOMPARE(log.takeLines(), QStringList());
    QCOMPARE(f.spy.take(), QStringList());
    QVERIFY(!f.isInOutbox());
    QVERIFY(f.request);
}

void TestSendRequest::aBroadcastForAnotherAccountIsHandled()
{
    SendFixture f;
    f.scheduler().addRequest(f.request);
    f.daemon.requestCompleted(200, 99, 1);
    f.daemon.settle();
    QCOMPARE(f.transmitted.count(), 1);
    QCOMPARE(f.spy.status().accountId, f.account);
}

void TestSendRequest::aCancelledSendThatFailsIsBackInTheOutboxAndReportsNothing()
{
    SendFixture f;
    f.scheduler().addRequest(f.request);
    f.service->cancelOperation(Cancel, QString());
    f.spy.take();
    f.daemon.end(1, 902);
    QCOMPARE(f.transmitted.count() + f.failed.count() + f.completed.count(), 0);
    QCOMPARE(f.spy.take(), QStringList());
    QVERIFY(f.isInOutbox());
    QTRY_VERIFY(!f.request);
}

void TestSendRequest::cancellingTwiceIsHarmless()
{
    SendFixture f;
    f.scheduler().addRequest(f.request);
    f.service->cancelOperation(Cancel, QString());
    f.service->cancelOperation(Cancel, QString());
    QCOMPARE(f.daemon.callCount("abortRequest"), 0);
    f.spy.take();
    f.daemon.end(1, 200);
    QCOMPARE(f.spy.take(), QStringList());
    QVERIFY(!f.isInOutbox());
    QTRY_VERIFY(!f.request);
}

void TestSendRequest::cancellingASendAloneEmptiesTheQueues()
{
    SendFixture f;
    f.scheduler().addRequest(f.request);
    f.scheduler().addSecondQueueRequest(f.newRequest());
    f.service->cancelOperation(Cancel, QString());
    QVERIFY(f.scheduler().isIdle());
    QVERIFY(!f.service->isWaiting());
}

void TestSendRequest::theNextSendEndsNormallyWhileTheCancelledOneIsOut()
{
    SendFixture f;
    f.scheduler().addRequest(f.request);
    f.service->cancelOperation(Cancel, QString());
    f.spy.take();
    const QMailMessageId next = StoreFixture::addOutgoing(f.account);
    QSignalSpy sent(&f.sink(),
                    qOverload<const QMailMessageIdList &>(&QMailMessageSink::messagesTransmitted));
    f.sink().transmitMessages({next});
    f.daemon.end(2, 200);
    QCOMPARE(sent.count(), 1);
    QCOMPARE(sent.first().first().value<QMailMessageIdList>(), QMailMessageIdList {next});
    QCOMPARE(f.spy.completions(), 1);
    f.daemon.end(1, 200);
    QCOMPARE(sent.count(), 1);
    QCOMPARE(f.spy.completions(), 1);
}

void TestSendRequest::thePollIgnoresACancelledSend()
{
    SendFixture f;
    f.scheduler().addRequest(f.request);
    f.service->cancelOperation(Cancel, QString());
    f.daemon.answerAlive(0);
    QVERIFY(!f.scheduler().checkRequests(f.service->daemon()));
    QCOMPARE(f.daemon.callCount("isRequestAlive"), 0);
}

void TestSendRequest::theServiceGoesWhileACancelledSendIsOut()
{
    SendFixture f;
    f.scheduler().addRequest(f.request);
    f.service->cancelOperation(Cancel, QString());
    f.service.reset();
    QVERIFY(!f.request);
    f.daemon.end(1, 902);
    QVERIFY(!f.isInOutbox());
}

void TestSendRequest::theServiceGoesWhileASendIsOut()
{
    SendFixture f;
    f.scheduler().addRequest(f.request);
    f.spy.take();
    f.service.reset();
    QVERIFY(!f.request);
    QCOMPARE(f.spy.takeOutcome(), texts({"error 1030"}));
    f.daemon.end(1, 200);
    QCOMPARE(f.spy.take(), QStringList());
}

void TestSendRequest::aSendThatIsAnsweredLateIsFollowedToItsEnd_data()
{
    QTest::addColumn<int>("code");
    QTest::newRow("sent") << 200;
    QTest::newRow("not sent") << 902;
}

void TestSendRequest::aSendThatIsAnsweredLateIsFollowedToItsEnd()
{
    QFETCH(int, code);
    SendFixture f;
    f.daemon.answerOnce("sendMail", Answer::silence());
    QCOMPARE(f.scheduler().addRequest(f.request), -1);
    QVERIFY(f.isInOutbox());
    f.spy.take();
    // The daemon was held up, and did all of it since.
    f.daemon.releaseAnswers();
    f.daemon.end(1, code);
    QTRY_VERIFY(!f.request);
    QCOMPARE(f.transmitted.count(), code == 200 ? 1 : 0);
    QCOMPARE(f.failed.count(), code == 200 ? 0 : 1);
    QCOMPARE(f.isInOutbox(), code != 200);
    QCOMPARE(f.spy.completions(), 1);
    QVERIFY(!f.service->isWaiting());
}

void TestSendRequest::sendsToASilentDaemonBlockOnce()
{
    SendFixture f;
    QMailMessageIdList ids {f.message};
    while (ids.size() < 6)
        ids += StoreFixture::addOutgoing(f.account);
    f.daemon.answer(Answer::silence());
    QElapsedTimer timer;
    timer.start();
    f.sink().transmitMessages(ids);
    QVERIFY(timer.elapsed() >= Activesync::CallTimeoutMs - 100);
    QVERIFY(timer.elapsed() < Activesync::CallTimeoutMs + 2000);
    QCOMPARE(f.daemon.callCount("sendMail"), 1);
    f.spy.take();
    f.daemon.answer(Answer::nextId());
    f.daemon.releaseAnswers();
    f.daemon.complete(1, 200);
    QTRY_COMPARE(f.spy.completions(), 1);
    QVERIFY(f.scheduler().isIdle());
    QVERIFY(!f.isInOutbox());
}

void TestSendRequest::aRefusedSendGoesWithItsAction()
{
    SendFixture f;
    f.daemon.answerOnce("sendMail", Answer::id(-1));
    f.scheduler().addRequest(f.request);
    f.scheduler().checkRequests(f.service->daemon());
    f.deleteDeferred();
    QVERIFY(!f.request);
}

void TestSendRequest::whoHearsOfTheOutcomeMayDestroyTheRequest_data()
{
    QTest::addColumn<QString>("by");
    QTest::addColumn<int>("code");
    for (const char *by : {"outcome", "status"}) {
        QTest::addRow("sent, %s", by) << QString::fromLatin1(by) << 200;
        QTest::addRow("not sent, %s", by) << QString::fromLatin1(by) << 902;
    }
}

void TestSendRequest::whoHearsOfTheOutcomeMayDestroyTheRequest()
{
    QFETCH(QString, by);
    QFETCH(int, code);
    SendFixture f;
    f.scheduler().addRequest(f.request);
    const auto destroy = [&f] { delete f.request.data(); };
    const QObject untilChecked;
    if (by == QLatin1String("status")) {
        connect(f.service.get(),
                qOverload<const QMailServiceAction::Status>(&QMailMessageService::statusChanged),
                &untilChecked, destroy);
    } else {
        connect(f.request, &AsDaemonSendRequest::messagesTransmitted, this, destroy);
        connect(f.request, &AsDaemonSendRequest::messagesFailedTransmission, this, destroy);
    }
    f.daemon.end(1, code);
    QVERIFY(!f.request);
    QVERIFY(f.scheduler().isIdle());
}

QTEST_GUILESS_MAIN(TestSendRequest)

#include "tst_sendrequest.moc"
