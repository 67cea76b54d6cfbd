// SPDX-License-Identifier: LGPL-2.1-or-later
#include "tests/plugin/servicefixture.h"

#include <QPointer>
#include <QSignalSpy>
#include <QTest>

using Answer = ScriptedDaemon::Answer;

namespace {

constexpr auto Cancel = QMailServiceAction::Status::ErrCancel;

/** Hears a request's end: "code cancelled", in order. */
class EndSpy : public QObject
{
public:
    explicit EndSpy(AsDaemonRequest *request)
    {
        connect(request, &AsDaemonRequest::requestCompleted, this,
                [this, request](int code, AsDaemonRequest *reported, bool cancelled) {
                    QCOMPARE(reported, request);
                    ends += QStringLiteral("%1 %2").arg(code).arg(cancelled);
                });
    }

    QStringList ends;
};

} // namespace

/** One daemon request, without the scheduler's queues. */
class TestRequests : public QObject
{
    Q_OBJECT

private slots:
    void keepsTheIdThatTheDaemonAnswers();
    void hasTheIdMinusTwoBeforeItRan();
    void throwsBadFunctionCallWithoutACall();
    void aDBusErrorIsLoggedAndEndsItWithMinusOne();
    void aRefusalEndsItWithMinusOneAndNoLine();
    void aFailingExecuteDeletesItLaterAfterTheSchedulerRemovedIt();
    void aBroadcastForAnotherAccountCompletesIt();
    void aBroadcastBeforeItRanMatchesOnlyMinusTwo();
    void aSecondBroadcastBeforeTheDeletionIsReportedAgain();
    void theCodeIsPassedOnUntranslated();
    void aRequestThatWasNeverAddedIsTiedToTheScheduler();
    void cancellingTwoLiveRequestsAbortsBothAndReportsBoth();
    void cancellingAbortsBeforeItReports();
    void cancellingOneThatNeverRanAbortsMinusTwo();
    void aCancelledRequestHearsABroadcastThatIsAlreadyOnItsWay();
    void leavesNothingBehindWhenItsParentGoes();
};

void TestRequests::keepsTheIdThatTheDaemonAnswers()
{
    ServiceFixture f;
    f.daemon.answer("sync", Answer::id(77));
    AsDaemonRequest *request = f.newRequest();
    EndSpy end(request);
    LogRecorder log;
    QCOMPARE(request->execute(), 77);
    QCOMPARE(request->requestId(), 77);
    QCOMPARE(log.takeLines(), QStringList());
    QCOMPARE(end.ends, QStringList());
    QCOMPARE(f.daemon.calls("sync").value(0).arguments, QVariantList {f.account.toULongLong()});
}

void TestRequests::hasTheIdMinusTwoBeforeItRan()
{
    ServiceFixture f;
    QCOMPARE(f.newRequest()->requestId(), -2);
}

void TestRequests::throwsBadFunctionCallWithoutACall()
{
    ServiceFixture f;
    AsDaemonOperationRequest request(*f.service, f.account, DaemonCall(), nullptr);
    QVERIFY_EXCEPTION_THROWN(request.execute(), std::tr1::bad_function_call);
}

void TestRequests::aDBusErrorIsLoggedAndEndsItWithMinusOne()
{
    ServiceFixture f;
    f.daemon.answer(Answer::error("com.example.Broken"));
    AsDaemonRequest *request = f.newRequest();
    EndSpy end(request);
    LogRecorder log;
    QCOMPARE(request->execute(), -1);
    QCOMPARE(end.ends, texts({"-1 0"}));
    QCOMPARE(log.takeLines().value(0),
             QStringLiteral("Request has returned an error \"com.example.Broken\""));
    QCOMPARE(request->requestId(), -2);
}

void TestRequests::aRefusalEndsItWithMinusOneAndNoLine()
{
    ServiceFixture f;
    f.daemon.answer(Answer::id(-1));
    AsDaemonRequest *request = f.newRequest();
    EndSpy end(request);
    LogRecorder log;
    QCOMPARE(request->execute(), -1);
    QCOMPARE(end.ends, texts({"-1 0"}));
    QVERIFY(log.takeLines().filter(QStringLiteral("Request has returned")).isEmpty());
}

void TestRequests::aFailingExecuteDeletesItLaterAfterTheSchedulerRemovedIt()
{
    ServiceFixture f;
    f.daemon.answer(Answer::id(-1));
    const QPointer<AsDaemonRequest> request = f.newRequest();
    QCOMPARE(f.scheduler().addRequest(request), -1);
    QVERIFY(request);
    QVERIFY(f.scheduler().isIdle());
    QCOMPARE(f.spy.takeOutcome(), texts({"error 1037", "completed false"}));
    f.deleteDeferred();
    QVERIFY(!request);
}

void TestRequests::aBroadcastForAnotherAccountCompletesIt()
{
    ServiceFixture f;
    const QPointer<AsDaemonRequest> request = f.newRequest();
    EndSpy end(request);
    QCOMPARE(request->execute(), 1);
    LogRecorder log;
    f.daemon.requestCompleted(404, 99, 1);
    f.daemon.settle();
    QCOMPARE(end.ends, texts({"404 0"}));
    QCOMPARE(log.takeLines().value(0),
             QStringLiteral("request completed signal received code 404 for Account 99 Request 1"));
    QTRY_VERIFY(!request);
}

void TestRequests::aBroadcastBeforeItRanMatchesOnlyMinusTwo()
{
    ServiceFixture f;
    AsDaemonRequest *request = f.newRequest();
    EndSpy end(request);
    for (const int id : {-1, 0, 1, 2})
        request->onRequestCompleted(200, f.account.toULongLong(), id);
    QCOMPARE(end.ends, QStringList());
    request->onRequestCompleted(200, f.account.toULongLong(), -2);
    QCOMPARE(end.ends, texts({"200 0"}));
}

void TestRequests::aSecondBroadcastBeforeTheDeletionIsReportedAgain()
{
    ServiceFixture f;
    AsDaemonRequest *request = f.newRequest();
    EndSpy end(request);
    f.scheduler().addRequest(request);
    f.spy.take();
    request->onRequestCompleted(200, f.account.toULongLong(), 1);
    request->onRequestCompleted(200, f.account.toULongLong(), 1);
    QCOMPARE(end.ends, texts({"200 0", "200 0"}));
    // The scheduler takes the second for the end of another action; the waiting state is left once.
    QCOMPARE(f.spy.takeOutcome(), texts({"activity 2", "completed true", "completed true"}));
}

void TestRequests::theCodeIsPassedOnUntranslated()
{
    ServiceFixture f;
    AsDaemonRequest *request = f.newRequest();
    EndSpy end(request);
    request->execute();
    request->onRequestCompleted(60301, f.account.toULongLong(), 1);
    QCOMPARE(end.ends, texts({"60301 0"}));
}

void TestRequests::aRequestThatWasNeverAddedIsTiedToTheScheduler()
{
    ServiceFixture f;
    f.newRequest()->execute();
    f.daemon.end(1, 200);
    QCOMPARE(f.spy.take(), texts({"completed true"}));
}

void TestRequests::cancellingTwoLiveRequestsAbortsBothAndReportsBoth()
{
    ServiceFixture f;
    const QPointer<AsDaemonRequest> first = f.newRequest();
    const QPointer<AsDaemonRequest> second = f.newRequest();
    EndSpy firstEnd(first);
    EndSpy secondEnd(second);
    f.scheduler().addRequest(first);
    f.scheduler().addRequest(second);
    f.spy.take();
    LogRecorder log;
    f.service->cancelOperation(Cancel, QString());
    QCOMPARE(firstEnd.ends, texts({"1030 1"}));
    QCOMPARE(secondEnd.ends, texts({"1030 1"}));
    const auto aborts = f.daemon.calls("abortRequest");
    QCOMPARE(aborts.count(), 2);
    QCOMPARE(aborts.at(0).arguments, QVariantList({1, 1030}));
    QCOMPARE(aborts.at(1).arguments, QVariantList({2, 1030}));
    QVERIFY(aborts.at(0).wantsReply);
    QCOMPARE(log.takeLines()
                 .filter(QStringLiteral("cancelling as-daemon request 2 with code 1030"))
                 .count(),
             1);
    QCOMPARE(f.spy.take(), texts({"error 1030", "available true"}));
    f.deleteDeferred();
    QVERIFY(!first);
    QVERIFY(!second);
}

void TestRequests::cancellingAbortsBeforeItReports()
{
    ServiceFixture f;
    AsDaemonRequest *request = f.newRequest();
    int abortsAtTheEnd = -1;
    QObject::connect(request, &AsDaemonRequest::requestCompleted, &f.source(),
                     [&] { abortsAtTheEnd = f.daemon.callCount("abortRequest"); });
    f.scheduler().addRequest(request);
    f.service->cancelOperation(Cancel, QString());
    QCOMPARE(abortsAtTheEnd, 1);
}

void TestRequests::cancellingOneThatNeverRanAbortsMinusTwo()
{
    ServiceFixture f;
    f.newRequest();
    f.service->cancelOperation(Cancel, QString());
    QCOMPARE(f.daemon.calls("abortRequest").value(0).arguments, QVariantList({-2, 1030}));
}

void TestRequests::aCancelledRequestHearsABroadcastThatIsAlreadyOnItsWay()
{
    ServiceFixture f;
    AsDaemonRequest *request = f.newRequest();
    EndSpy end(request);
    f.scheduler().addRequest(request);
    f.service->cancelOperation(Cancel, QString());
    QVERIFY(QMetaObject::invokeMethod(f.service->daemon(), "requestCompleted", Q_ARG(int, 1030),
                                      Q_ARG(qulonglong, f.account.toULongLong()), Q_ARG(int, 1)));
    QCOMPARE(end.ends, texts({"1030 1", "1030 0"}));
}

void TestRequests::leavesNothingBehindWhenItsParentGoes()
{
    ServiceFixture f;
    const QPointer<AsDaemonRequest> request = f.newRequest();
    f.scheduler().addRequest(request);
    f.service.reset();
    QVERIFY(!request);
    f.daemon.end(1, 200);
}

QTEST_GUILESS_MAIN(TestRequests)

#include "tst_requests.moc"
