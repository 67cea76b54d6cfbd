// SPDX-License-Identifier: LGPL-2.1-or-later
#include "plugin/requests/asdaemonsendrequest.h"
#include "tests/plugin/servicefixture.h"

#include <QElapsedTimer>
#include <QPointer>
#include <QSignalSpy>
#include <QTest>

#include <qmailstore.h>

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
        // The database knows; the store's cache may be a notification behind.
        return QMailStore::instance()->countMessages(
                   QMailMessageKey::id(message)
                   & QMailMessageKey::status(QMailMessageMetaData::Outbox,
                                             QMailDataComparator::Includes))
            == 1;
    }

    void broadcast(int code)
    {
        daemon.complete(1, code);
        daemon.settle();
    }

    const QMailMessageId message;
    const QPointer<AsDaemonSendRequest> request;
    QSignalSpy transmitted;
    QSignalSpy failed;
    QSignalSpy completed;
};

} // namespace

class TestSendRequest : public QObject
{
    Q_OBJECT

private slots:
    void anAcceptedSendLeavesTheOutbox();
    void aSuccessfulSendIsReportedOnce();
    void aFailedSendIsBackInTheOutbox_data();
    void aFailedSendIsBackInTheOutbox();
    void aSuccessCodeOtherThan200IsAFailure();
    void aRefusedSendStaysInTheOutboxAndSaysNothing();
    void aSendWithoutADaemonStaysInTheOutboxAndIsLogged();
    void aSilentFailureEndsByThePoll();
    void throwsBadFunctionCallWithoutACall();
    void aBroadcastForAnotherIdChangesAndLogsNothing();
    void aBroadcastForAnotherAccountIsHandled();
    void cancellingOnlyNotesIt();
    void aCancelledSendThatSucceedsReportsNothing();
    void aCancelledSendThatFailsIsBackInTheOutboxAndReportsNothing();
    void cancellingTwiceIsHarmless();
    void cancellingASendAloneEmptiesTheQueues();
    void theNextActionEndsNormallyBeforeTheCancelledSendsBroadcast();
    void theNextActionEndsNormallyAcrossTheCancelledSendsBroadcast();
    void theNextActionEndsNormallyAfterTheCancelledSendsBroadcast();
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

void TestSendRequest::anAcceptedSendLeavesTheOutbox()
{
    SendFixture f;
    QVERIFY(f.isInOutbox());
    LogRecorder log;
    QCOMPARE(f.request->execute(), 1);
    QVERIFY(!f.isInOutbox());
    QCOMPARE(log.takeLines(),
             QStringList(QStringLiteral("Message %1  is sent and Outbox flag is cleared")
                             .arg(f.message.toULongLong())));
    QCOMPARE(f.daemon.calls("sendMail").value(0).arguments,
             QVariantList({f.account.toULongLong(), f.message.toULongLong()}));
    QCOMPARE(f.transmitted.count() + f.failed.count() + f.completed.count(), 0);
}

void TestSendRequest::aSuccessfulSendIsReportedOnce()
{
    SendFixture f;
    f.scheduler().addRequest(f.request);
    f.spy.take();
    LogRecorder log;
    f.broadcast(200);
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

void TestSendRequest::aFailedSendIsBackInTheOutbox_data()
{
    QTest::addColumn<int>("code");
    QTest::addColumn<int>("error");
    QTest::newRow("no connection") << 902 << 1034;
    QTest::newRow("cancelled at the daemon") << 1030 << 1030;
    QTest::newRow("zero") << 0 << 1030;
    QTest::newRow("refused") << 403 << 1026;
}

void TestSendRequest::aFailedSendIsBackInTheOutbox()
{
    QFETCH(int, code);
    QFETCH(int, error);
    SendFixture f;
    f.scheduler().addRequest(f.request);
    QVERIFY(!f.isInOutbox());
    f.spy.take();
    LogRecorder log;
    f.broadcast(code);
    QVERIFY(f.isInOutbox());
    QCOMPARE(f.transmitted.count(), 0);
    QCOMPARE(f.failed.count(), 1);
    QCOMPARE(f.failed.first().at(0).value<QMailMessageIdList>(), QMailMessageIdList {f.message});
    QCOMPARE(f.failed.first().at(1).value<QMailServiceAction::Status::ErrorCode>(),
             QMailServiceAction::Status::ErrorCode(error));
    QCOMPARE(f.completed.count(), 1);
    const QString status = QStringLiteral("error %1").arg(error);
    QCOMPARE(f.spy.take(), QStringList({status, status, QStringLiteral("completed false")}));
    const QStringList lines = log.takeLines();
    QCOMPARE(lines.at(1), QStringLiteral("Message is not transmitted, error  %1").arg(code));
    QCOMPARE(lines.at(2),
             QStringLiteral("Message %1  is NOT sent and Outbox flag is restored")
                 .arg(f.message.toULongLong()));
    QVERIFY(lines.contains(QStringLiteral(" Update status:  %1").arg(error)));
}

void TestSendRequest::aSuccessCodeOtherThan200IsAFailure()
{
    SendFixture f;
    f.scheduler().addRequest(f.request);
    f.broadcast(4001);
    QVERIFY(f.isInOutbox());
    QCOMPARE(f.failed.count(), 1);
    QCOMPARE(f.failed.first().at(1).value<QMailServiceAction::Status::ErrorCode>(),
             QMailServiceAction::Status::ErrNoError);
}

void TestSendRequest::aRefusedSendStaysInTheOutboxAndSaysNothing()
{
    SendFixture f;
    const quint64 status = QMailMessageMetaData(f.message).status();
    f.daemon.answer(Answer::id(-1));
    LogRecorder log;
    QCOMPARE(f.request->execute(), -1);
    QCOMPARE(QMailMessageMetaData(f.message).status(), status);
    QCOMPARE(log.takeLines(), QStringList());
    QCOMPARE(f.completed.count(), 0);
    f.deleteDeferred();
    QVERIFY(f.request);
}

void TestSendRequest::aSendWithoutADaemonStaysInTheOutboxAndIsLogged()
{
    SendFixture f;
    f.daemon.vanish();
    LogRecorder log;
    QCOMPARE(f.request->execute(), -1);
    QVERIFY(f.isInOutbox());
    QCOMPARE(log.takeLines(),
             texts({"Request has returned an error "
                    "\"org.freedesktop.DBus.Error.ServiceUnknown\""}));
    QCOMPARE(f.completed.count(), 0);
    f.deleteDeferred();
    QVERIFY(f.request);
}

void TestSendRequest::aSilentFailureEndsByThePoll()
{
    SendFixture f;
    f.daemon.answerOnce("sendMail", Answer::id(-1));
    QCOMPARE(f.scheduler().addRequest(f.request), -1);
    QVERIFY(!f.scheduler().isIdle());
    QVERIFY(f.service->isWaiting());
    f.tick(1000);
    f.spy.take();
    f.tick();
    QCOMPARE(f.daemon.calls("isRequestAlive").value(0).arguments, QVariantList {-2});
    QCOMPARE(f.spy.take(), texts({"activity 2", "completed true"}));
    QVERIFY(f.isInOutbox());
    QVERIFY(f.request);
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

void TestSendRequest::cancellingOnlyNotesIt()
{
    SendFixture f;
    f.scheduler().addRequest(f.request);
    f.spy.take();
    LogRecorder log;
    f.service->cancelOperation(Cancel, QString());
    QVERIFY(log.takeLines().contains(
        QStringLiteral("Operation SEND request to cancel is received with code 1030")));
    QCOMPARE(f.spy.take(), texts({"error 1030", "available true"}));
    QCOMPARE(f.completed.count(), 0);
    QCOMPARE(f.daemon.callCount("abortRequest"), 0);
    QVERIFY(!f.isInOutbox());
    f.deleteDeferred();
    QVERIFY(f.request);
}

void TestSendRequest::aCancelledSendThatSucceedsReportsNothing()
{
    SendFixture f;
    f.scheduler().addRequest(f.request);
    f.service->cancelOperation(Cancel, QString());
    f.spy.take();
    LogRecorder log;
    f.broadcast(200);
    QCOMPARE(f.transmitted.count() + f.failed.count() + f.completed.count(), 0);
    QCOMPARE(f.spy.take(), QStringList());
    QVERIFY(!f.isInOutbox());
    QCOMPARE(log.takeLines().mid(1),
             QStringList({QStringLiteral("Emitting 'messagesTransmitted' signal for id  %1")
                              .arg(f.message.toULongLong()),
                          QStringLiteral("Request has been canceled, return")}));
    QTRY_VERIFY(!f.request);
}

void TestSendRequest::aCancelledSendThatFailsIsBackInTheOutboxAndReportsNothing()
{
    SendFixture f;
    f.scheduler().addRequest(f.request);
    f.service->cancelOperation(Cancel, QString());
    f.spy.take();
    f.broadcast(902);
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
    f.broadcast(200);
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

void TestSendRequest::theNextActionEndsNormallyBeforeTheCancelledSendsBroadcast()
{
    SendFixture f;
    f.scheduler().addRequest(f.request);
    f.service->cancelOperation(Cancel, QString());
    f.spy.take();
    f.source().retrieveFolderList(f.account, QMailFolderId(), true);
    f.daemon.complete(2, 200);
    f.daemon.settle();
    QCOMPARE(f.spy.takeOutcome(), texts({"activity 2", "completed true"}));
    f.broadcast(200);
    QCOMPARE(f.spy.take(), QStringList());
    QTRY_VERIFY(!f.request);
}

void TestSendRequest::theNextActionEndsNormallyAcrossTheCancelledSendsBroadcast()
{
    SendFixture f;
    f.scheduler().addRequest(f.request);
    f.service->cancelOperation(Cancel, QString());
    f.source().retrieveFolderList(f.account, QMailFolderId(), true);
    f.spy.take();
    f.broadcast(902);
    QCOMPARE(f.spy.take(), QStringList());
    QVERIFY(f.service->isWaiting());
    QVERIFY(f.isInOutbox());
    f.daemon.complete(2, 200);
    f.daemon.settle();
    QCOMPARE(f.spy.takeOutcome(), texts({"activity 2", "completed true"}));
}

void TestSendRequest::theNextActionEndsNormallyAfterTheCancelledSendsBroadcast()
{
    SendFixture f;
    f.scheduler().addRequest(f.request);
    f.service->cancelOperation(Cancel, QString());
    f.broadcast(200);
    f.spy.take();
    f.source().retrieveFolderList(f.account, QMailFolderId(), true);
    f.daemon.complete(2, 401);
    f.daemon.settle();
    QCOMPARE(f.spy.takeOutcome(), texts({"error 1029", "completed false"}));
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
    f.daemon.complete(2, 200);
    f.daemon.settle();
    QCOMPARE(sent.count(), 1);
    QCOMPARE(sent.first().first().value<QMailMessageIdList>(), QMailMessageIdList {next});
    QCOMPARE(f.spy.completions(), 1);
    f.broadcast(200);
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
    f.broadcast(902);
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
    f.broadcast(200);
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
    f.broadcast(code);
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
    f.broadcast(code);
    QVERIFY(!f.request);
    QVERIFY(f.scheduler().isIdle());
}

QTEST_GUILESS_MAIN(TestSendRequest)

#include "tst_sendrequest.moc"
