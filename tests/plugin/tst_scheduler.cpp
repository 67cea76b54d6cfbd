// SPDX-License-Identifier: LGPL-2.1-or-later
#include "plugin/requests/asdaemonsendrequest.h"
#include "tests/plugin/servicefixture.h"

#include <QElapsedTimer>
#include <QPointer>
#include <QSignalSpy>
#include <QTest>

using Answer = ScriptedDaemon::Answer;

namespace {

constexpr auto Cancel = QMailServiceAction::Status::ErrCancel;

constexpr int Waiting = 8;

/** A request of the second queue that runs, under the id 2; behind it wait so many others. */
AsDaemonRequest *runTheSecondQueue(ServiceFixture &f)
{
    f.scheduler().addRequest(f.newRequest());
    AsDaemonRequest *running = f.newRequest();
    f.scheduler().addSecondQueueRequest(running);
    f.daemon.end(1, 200);
    // Which of them the queue has first is chance; hardly ever the one that runs.
    for (int i = 0; i < Waiting; ++i)
        f.scheduler().addSecondQueueRequest(f.newRequest());
    return running;
}

} // namespace

class TestScheduler : public QObject
{
    Q_OBJECT

private slots:
    void oneRequestRunsAndEndsTheActionOnce();
    void twoRequestsOfTheFirstQueueEndOneActionWithTheLastCode();
    void aFailureBeforeTheLastRequestDoesNotCount();
    void secondQueueRequestsRunOneAfterAnotherBehindTheFirstQueue();
    void theSecondQueueIsStartedByACompletionAlone();
    void aFailedSecondQueueRequestIsLoggedAndTheNextOneStarts();
    void addingARequestTwiceToTheFirstQueueIsRefused();
    void addingARequestTwiceToTheSecondQueueIsRefused();
    void aFailingRequestBesideARunningOneDoesNotEndTheAction();
    void aCompletionOfAStrayRequestEndsAnActionAgain();
    void aRunningSecondQueueRequestIsStartedAgainAfterAFirstQueueOne();
    void cancellingEmptiesBothQueuesWithoutACompletion();
    void aBroadcastAfterACancellationEndsAnAction();
    void checkingNothingMakesNoCall();
    void checkingStopsAtTheFirstLiveRequest();
    void checkingCompletesWhatIsDead();
    void checkingTakesAnErrorForDeath();
    void checkingWithoutAProxyDoesNothing();
    void checkingPollsOneSecondQueueRequest();
    void aLateEndDoesNotSendWhatIsBeingSentAgain();
    void aLateEndStartsNoOtherBesideTheRunningOne();
    void checkingAsksForTheSecondQueueRequestThatRuns();
    void aFirstQueueRequestStartsNoOtherBesideTheRunningOne();
    void aDeadRequestIsNotDeletedAndStillHears();
    void aDestroyedRequestIsInNoQueue();
    void aRequestDestroyedWithItsParentIsInNoQueue();
    void aSecondQueueRequestThatEndsBehindTheFirstQueueIsInNoQueue();
    void aPollThatEndsTheActionTouchesNoDestroyedRequest();
    void whoHearsOfTheEndMayDestroyTheRequest_data();
    void whoHearsOfTheEndMayDestroyTheRequest();
    void anEndThatHasArrivedGoesBeforeTheWordDead();
    void anEndThatArrivesWhileAnotherRequestIsAskedForIsNotAskedAgain();
    void aSilentDaemonIsAskedOnceARound();
    void whatTheDaemonNeverAcceptedIsAskedForFirst();
    void theDeadAreFewAndHearOfNoCancellation();
    void aBatchEndsItsActionOnce_data();
    void aBatchEndsItsActionOnce();
    void aBatchStartsTheSecondQueueWhenAllIsIn();
};

void TestScheduler::oneRequestRunsAndEndsTheActionOnce()
{
    ServiceFixture f;
    AsDaemonRequest *request = f.newRequest();
    LogRecorder log;
    QCOMPARE(f.scheduler().addRequest(request), 1);
    const QString name =
        QStringLiteral("AsDaemonOperationRequest(0x%1)").arg(quintptr(request), 0, 16);
    QCOMPARE(log.takeLines(),
             QStringList({QStringLiteral("OrvService::startWaiting()"),
                          QStringLiteral("start waiting for the signal"),
                          QStringLiteral("Request ") + name
                              + QStringLiteral(" has been added into requests queue")}));
    QVERIFY(f.service->isWaiting());
    QVERIFY(!f.scheduler().isIdle());
    f.daemon.end(1, 200);
    QCOMPARE(f.spy.take(), texts({"progress 0/1000", "activity 2", "completed true"}));
    QCOMPARE(log.takeLines().mid(1),
             texts({"OrvService::stopWaiting( 200 )", "Action Completed signal is emited"}));
    QVERIFY(f.scheduler().isIdle());
}

void TestScheduler::twoRequestsOfTheFirstQueueEndOneActionWithTheLastCode()
{
    ServiceFixture f;
    f.scheduler().addRequest(f.newRequest());
    f.scheduler().addRequest(f.newRequest());
    QCOMPARE(f.daemon.callCount("sync"), 2);
    f.spy.take();
    f.daemon.end(1, 200);
    QCOMPARE(f.spy.take(), QStringList());
    f.daemon.end(2, 401);
    QCOMPARE(f.spy.take(), texts({"error 1029", "completed false"}));
}

void TestScheduler::aFailureBeforeTheLastRequestDoesNotCount()
{
    ServiceFixture f;
    f.scheduler().addRequest(f.newRequest());
    f.scheduler().addRequest(f.newRequest());
    f.spy.take();
    f.daemon.complete(2, 401);
    f.daemon.end(1, 4001);
    QCOMPARE(f.spy.take(), texts({"status ", "completed true"}));
}

void TestScheduler::secondQueueRequestsRunOneAfterAnotherBehindTheFirstQueue()
{
    ServiceFixture f;
    LogRecorder log;
    f.scheduler().addRequest(f.newRequest());
    f.scheduler().addSecondQueueRequest(f.newRequest());
    f.scheduler().addSecondQueueRequest(f.newRequest());
    QCOMPARE(
        log.takeLines().filter(QStringLiteral("has been added into second requests queue")).count(),
        2);
    for (int running = 1; running <= 2; ++running) {
        QCOMPARE(f.daemon.callCount("sync"), running);
        f.spy.take();
        f.daemon.end(running, 200);
        QCOMPARE(f.spy.take(), QStringList());
        QCOMPARE(log.takeLines().filter(QStringLiteral("start request in second queue")).count(),
                 1);
    }
    QCOMPARE(f.daemon.callCount("sync"), 3);
    f.daemon.end(3, 200);
    QCOMPARE(f.spy.take(), texts({"activity 2", "completed true"}));
}

void TestScheduler::theSecondQueueIsStartedByACompletionAlone()
{
    ServiceFixture f;
    f.scheduler().addSecondQueueRequest(f.newRequest());
    f.daemon.settle();
    QCOMPARE(f.daemon.callCount("sync"), 0);
    QVERIFY(!f.service->isWaiting());
    QVERIFY(!f.scheduler().isIdle());
}

void TestScheduler::aFailedSecondQueueRequestIsLoggedAndTheNextOneStarts()
{
    ServiceFixture f;
    f.scheduler().addRequest(f.newRequest());
    f.scheduler().addSecondQueueRequest(f.newRequest());
    f.scheduler().addSecondQueueRequest(f.newRequest());
    f.daemon.answerOnce("sync", Answer::id(-1));
    f.spy.take();
    LogRecorder log;
    f.daemon.end(1, 200);
    QCOMPARE(f.daemon.callCount("sync"), 3);
    QCOMPARE(log.takeLines().mid(1),
             texts({"start request in second queue", "start request in second queue",
                    "Second Queue Request execute returned -1"}));
    f.daemon.end(f.daemon.calls("sync").last().requestId, 200);
    QCOMPARE(f.spy.take(), texts({"activity 2", "completed true"}));
}

void TestScheduler::addingARequestTwiceToTheFirstQueueIsRefused()
{
    ServiceFixture f;
    AsDaemonRequest *request = f.newRequest();
    f.scheduler().addRequest(request);
    LogRecorder log;
    QCOMPARE(f.scheduler().addRequest(request), -1);
    const QStringList lines = log.takeLines();
    QCOMPARE(lines.count(), 1);
    QVERIFY(lines.first().startsWith(
        QLatin1String("Something wrong. Request AsDaemonOperationRequest(")));
    QVERIFY(lines.first().endsWith(QLatin1String("has already been added into requests queue!")));
    QCOMPARE(f.daemon.callCount("sync"), 1);
}

void TestScheduler::addingARequestTwiceToTheSecondQueueIsRefused()
{
    ServiceFixture f;
    AsDaemonRequest *request = f.newRequest();
    f.scheduler().addSecondQueueRequest(request);
    LogRecorder log;
    f.scheduler().addSecondQueueRequest(request);
    const QStringList lines = log.takeLines();
    QCOMPARE(lines.count(), 1);
    QVERIFY(lines.first().endsWith(
        QLatin1String("has already been added into second requests queue!")));
}

void TestScheduler::aFailingRequestBesideARunningOneDoesNotEndTheAction()
{
    ServiceFixture f;
    f.scheduler().addRequest(f.newRequest());
    f.spy.take();
    f.daemon.answerOnce("sync", Answer::error());
    QCOMPARE(f.scheduler().addRequest(f.newRequest()), -1);
    QCOMPARE(f.spy.take(), QStringList());
    f.daemon.end(1, 200);
    QCOMPARE(f.spy.take(), texts({"activity 2", "completed true"}));
}

void TestScheduler::aCompletionOfAStrayRequestEndsAnActionAgain()
{
    ServiceFixture f;
    f.scheduler().onRequestCompleted(401, f.newRequest(), false);
    QCOMPARE(f.spy.take(), texts({"completed false"}));
    f.scheduler().addRequest(f.newRequest());
    f.spy.take();
    f.scheduler().onRequestCompleted(401, f.newRequest(), false);
    QCOMPARE(f.spy.take(), QStringList());
}

void TestScheduler::aRunningSecondQueueRequestIsStartedAgainAfterAFirstQueueOne()
{
    ServiceFixture f;
    f.scheduler().addRequest(f.newRequest());
    AsDaemonRequest *second = f.newRequest();
    f.scheduler().addSecondQueueRequest(second);
    f.daemon.end(1, 200);
    QCOMPARE(second->requestId(), 2);
    f.scheduler().addRequest(f.newRequest());
    f.daemon.end(3, 200);
    QCOMPARE(second->requestId(), 4);
    f.spy.take();
    f.daemon.end(2, 200);
    QCOMPARE(f.spy.take(), QStringList());
    f.daemon.end(4, 200);
    QCOMPARE(f.spy.take(), texts({"activity 2", "completed true"}));
}

void TestScheduler::cancellingEmptiesBothQueuesWithoutACompletion()
{
    ServiceFixture f;
    f.scheduler().addRequest(f.newRequest());
    f.scheduler().addSecondQueueRequest(f.newRequest());
    f.spy.take();
    f.service->cancelOperation(Cancel, QString());
    QVERIFY(f.scheduler().isIdle());
    QCOMPARE(f.spy.take(), texts({"error 1030", "available true"}));
    f.daemon.settle();
    QCOMPARE(f.daemon.callCount("sync"), 1);
    QCOMPARE(f.spy.take(), QStringList());
}

void TestScheduler::aBroadcastAfterACancellationEndsAnAction()
{
    ServiceFixture f;
    AsDaemonRequest *request = f.newRequest();
    f.scheduler().addRequest(request);
    f.scheduler().addSecondQueueRequest(f.newRequest());
    f.service->cancelOperation(Cancel, QString());
    f.spy.take();
    LogRecorder log;
    request->onRequestCompleted(200, f.account.toULongLong(), 1);
    QCOMPARE(f.spy.take(), texts({"completed true"}));
    QVERIFY(log.hasLine(QStringLiteral("OrvService::stopWaiting( 200 )")));
    // The next action is not held up by either.
    f.deleteDeferred();
    QCOMPARE(f.scheduler().addRequest(f.newRequest()), 2);
    f.daemon.end(2, 200);
    QCOMPARE(f.spy.takeOutcome(), texts({"activity 2", "completed true"}));
}

void TestScheduler::checkingNothingMakesNoCall()
{
    ServiceFixture f;
    QVERIFY(!f.scheduler().checkRequests(f.service->daemon()));
    QCOMPARE(f.daemon.calls().count(), 0);
}

void TestScheduler::checkingStopsAtTheFirstLiveRequest()
{
    ServiceFixture f;
    f.scheduler().addRequest(f.newRequest());
    f.scheduler().addRequest(f.newRequest());
    QVERIFY(f.scheduler().checkRequests(f.service->daemon()));
    QCOMPARE(f.daemon.callCount("isRequestAlive"), 1);
}

void TestScheduler::checkingCompletesWhatIsDead()
{
    ServiceFixture f;
    f.scheduler().addRequest(f.newRequest());
    f.scheduler().addRequest(f.newRequest());
    f.daemon.answerAlive(0);
    f.spy.take();
    LogRecorder log;
    QVERIFY(!f.scheduler().checkRequests(f.service->daemon()));
    QCOMPARE(f.daemon.callCount("isRequestAlive"), 2);
    QCOMPARE(f.spy.take(), texts({"activity 2", "completed true"}));
    QVERIFY(log.hasLine(QStringLiteral("OrvService::stopWaiting( 200 )")));
    QVERIFY(f.scheduler().isIdle());
}

void TestScheduler::checkingTakesAnErrorForDeath()
{
    ServiceFixture f;
    f.scheduler().addRequest(f.newRequest());
    f.spy.take();
    f.daemon.vanish();
    QVERIFY(!f.scheduler().checkRequests(f.service->daemon()));
    QCOMPARE(f.spy.take(), texts({"activity 2", "completed true"}));
}

void TestScheduler::checkingWithoutAProxyDoesNothing()
{
    ServiceFixture f;
    AsDaemonRequest *request = f.newRequest();
    f.scheduler().addRequest(request);
    f.spy.take();
    QVERIFY(!f.scheduler().checkRequests(nullptr));
    QVERIFY(!f.scheduler().isRequestAlive(nullptr, request));
    QVERIFY(!f.scheduler().isRequestAlive(f.service->daemon(), nullptr));
    QCOMPARE(f.spy.take(), QStringList());
    QCOMPARE(f.daemon.callCount("isRequestAlive"), 0);
}

void TestScheduler::checkingPollsOneSecondQueueRequest()
{
    ServiceFixture f;
    f.scheduler().addSecondQueueRequest(f.newRequest());
    f.scheduler().addSecondQueueRequest(f.newRequest());
    f.daemon.answerAlive(1);
    QVERIFY(f.scheduler().checkRequests(f.service->daemon()));
    QCOMPARE(f.daemon.callCount("isRequestAlive"), 1);
    // One dead: the other one starts, and so is left.
    f.daemon.answerAlive(0);
    QVERIFY(f.scheduler().checkRequests(f.service->daemon()));
    QCOMPARE(f.daemon.callCount("sync"), 1);
    QVERIFY(!f.scheduler().checkRequests(f.service->daemon()));
    QVERIFY(f.scheduler().isIdle());
}

void TestScheduler::aLateEndDoesNotSendWhatIsBeingSentAgain()
{
    ServiceFixture f;
    f.scheduler().addRequest(f.newRequest());
    f.daemon.answerAlive(0);
    QVERIFY(!f.scheduler().checkRequests(f.service->daemon()));
    f.daemon.answerAliveTruly();
    f.scheduler().addRequest(f.newRequest());
    const QMailMessageId message = StoreFixture::addOutgoing(f.account);
    auto *send = new AsDaemonSendRequest(
        *f.service, f.account,
        std::tr1::bind(&Activesync::AsDBusInterface::sendMail, f.service->daemon(),
                       f.account.toULongLong(), message.toULongLong(), QDBus::Block),
        message, &f.sink());
    const QSignalSpy transmitted(send, &AsDaemonSendRequest::messagesTransmitted);
    f.scheduler().addSecondQueueRequest(send);
    f.daemon.end(2, 200);
    QCOMPARE(f.daemon.callCount("sendMail"), 1);
    f.spy.take();
    // The end of the one that was given up, at last.
    f.daemon.end(1, 401);
    QCOMPARE(f.daemon.callCount("sendMail"), 1);
    QCOMPARE(f.spy.take(), QStringList());
    f.daemon.end(3, 200);
    QCOMPARE(transmitted.count(), 1);
    QCOMPARE(f.spy.takeOutcome(), texts({"activity 2", "completed true"}));
    QVERIFY(f.scheduler().isIdle());
}

void TestScheduler::aLateEndStartsNoOtherBesideTheRunningOne()
{
    ServiceFixture f;
    const AsDaemonRequest *running = runTheSecondQueue(f);
    f.scheduler().onRequestCompleted(401, f.newRequest(), false);
    QCOMPARE(f.daemon.callCount("sync"), 2);
    QCOMPARE(running->requestId(), 2);
    QCOMPARE(f.spy.completions(), 0);
    for (int id = 2; id <= 2 + Waiting; ++id) {
        QCOMPARE(f.daemon.callCount("sync"), id);
        f.daemon.end(id, 200);
    }
    QCOMPARE(f.daemon.callCount("sync"), 2 + Waiting);
    QCOMPARE(f.spy.completions(), 1);
    QVERIFY(f.scheduler().isIdle());
}

void TestScheduler::checkingAsksForTheSecondQueueRequestThatRuns()
{
    ServiceFixture f;
    runTheSecondQueue(f);
    // Those that wait are not dead because the daemon does not know them.
    QVERIFY(f.scheduler().checkRequests(f.service->daemon()));
    QCOMPARE(f.daemon.calls("isRequestAlive").value(0).arguments, QVariantList {2});
    QCOMPARE(f.daemon.callCount("sync"), 2);
    f.daemon.answerAlive(0);
    for (int started = 1; started <= Waiting; ++started) {
        QVERIFY(f.scheduler().checkRequests(f.service->daemon()));
        QCOMPARE(f.daemon.callCount("sync"), 2 + started);
    }
    QVERIFY(!f.scheduler().checkRequests(f.service->daemon()));
    QCOMPARE(f.daemon.callCount("sync"), 2 + Waiting);
    QCOMPARE(f.spy.completions(), 1);
}

void TestScheduler::aFirstQueueRequestStartsNoOtherBesideTheRunningOne()
{
    ServiceFixture f;
    const AsDaemonRequest *running = runTheSecondQueue(f);
    f.scheduler().addRequest(f.newRequest());
    f.daemon.end(3, 200);
    // Deliberate: the running one is started again.
    QCOMPARE(f.daemon.callCount("sync"), 4);
    QCOMPARE(running->requestId(), 4);
}

void TestScheduler::aDeadRequestIsNotDeletedAndStillHears()
{
    ServiceFixture f;
    const QPointer<AsDaemonRequest> request = f.newRequest();
    f.scheduler().addRequest(request);
    f.daemon.answerAlive(0);
    f.scheduler().checkRequests(f.service->daemon());
    f.deleteDeferred();
    QVERIFY(request);
    f.spy.take();
    f.daemon.end(1, 200);
    QCOMPARE(f.spy.take(), texts({"completed true"}));
    QTRY_VERIFY(!request);
}

void TestScheduler::aDestroyedRequestIsInNoQueue()
{
    ServiceFixture f;
    AsDaemonRequest *first = f.newRequest();
    AsDaemonRequest *second = f.newRequest();
    f.scheduler().addRequest(first);
    f.scheduler().addSecondQueueRequest(second);
    delete second;
    delete first;
    QVERIFY(f.scheduler().isIdle());
    QVERIFY(!f.scheduler().checkRequests(f.service->daemon()));
    QCOMPARE(f.daemon.callCount("isRequestAlive"), 0);
}

void TestScheduler::aRequestDestroyedWithItsParentIsInNoQueue()
{
    ServiceFixture f;
    QObject parent;
    auto *owner = new QObject(&parent);
    AsDaemonRequest *request = f.newRequest();
    request->setParent(owner);
    f.scheduler().addRequest(request);
    delete owner;
    QVERIFY(f.scheduler().isIdle());
    f.tick(1001);
    QCOMPARE(f.daemon.callCount("isRequestAlive"), 0);
}

void TestScheduler::aSecondQueueRequestThatEndsBehindTheFirstQueueIsInNoQueue()
{
    ServiceFixture f;
    f.scheduler().addRequest(f.newRequest());
    const QPointer<AsDaemonRequest> second = f.newRequest();
    f.scheduler().addSecondQueueRequest(second);
    f.daemon.end(1, 200);
    AsDaemonRequest *late = f.newRequest();
    f.scheduler().addRequest(late);
    f.spy.take();
    // Both end before anything is deleted: the one that ended is not started again.
    second->onRequestCompleted(200, f.account.toULongLong(), 2);
    QCOMPARE(f.spy.take(), QStringList());
    late->onRequestCompleted(200, f.account.toULongLong(), 3);
    QCOMPARE(f.spy.take(), texts({"activity 2", "completed true"}));
    f.deleteDeferred();
    QVERIFY(!second);
    QVERIFY(f.scheduler().isIdle());
    QCOMPARE(f.daemon.callCount("sync"), 3);
}

void TestScheduler::aPollThatEndsTheActionTouchesNoDestroyedRequest()
{
    ServiceFixture f;
    QList<QPointer<AsDaemonRequest>> requests;
    for (int i = 0; i < 5; ++i) {
        requests += f.newRequest();
        f.scheduler().addRequest(requests.last());
    }
    // Every end reported during the poll takes the other requests with it.
    f.daemon.answerAlive(0);
    int ends = 0;
    connect(&f.scheduler(), &RequestScheduler::actionCompleted, this, [&] {
        ++ends;
        qDeleteAll(f.source().findChildren<AsDaemonRequest *>());
    });
    f.scheduler().onRequestCompleted(200, requests.at(0), false);
    QCOMPARE(ends, 0);
    for (int i = 1; i < 4; ++i)
        delete requests.at(i).data();
    QVERIFY(!f.scheduler().checkRequests(f.service->daemon()));
    QCOMPARE(ends, 1);
    QCOMPARE(f.daemon.callCount("isRequestAlive"), 1);
    QVERIFY(f.scheduler().isIdle());
}

void TestScheduler::whoHearsOfTheEndMayDestroyTheRequest_data()
{
    QTest::addColumn<QString>("how");
    for (const char *how : {"broadcast", "refusal", "cancellation", "poll"})
        QTest::newRow(how) << QString::fromLatin1(how);
}

void TestScheduler::whoHearsOfTheEndMayDestroyTheRequest()
{
    QFETCH(QString, how);
    ServiceFixture f;
    const LogRecorder log;
    const QPointer<AsDaemonRequest> request = f.newRequest();
    int ends = 0;
    const auto destroy = [&] {
        ++ends;
        delete request.data();
    };
    connect(&f.scheduler(), &RequestScheduler::actionCompleted, this, destroy);
    if (how == QLatin1String("cancellation"))
        connect(request, &AsDaemonRequest::requestCompleted, this, destroy);
    if (how == QLatin1String("refusal"))
        f.daemon.answerOnce("sync", Answer::id(-1));
    f.scheduler().addRequest(request);
    if (how == QLatin1String("broadcast"))
        f.daemon.complete(1, 200);
    else if (how == QLatin1String("cancellation"))
        f.service->cancelOperation(Cancel, QString());
    else if (how == QLatin1String("poll"))
        f.daemon.answerAlive(0);
    f.daemon.settle();
    f.scheduler().checkRequests(f.service->daemon());
    QCOMPARE(ends, 1);
    QVERIFY(!request);
    QVERIFY(f.scheduler().isIdle());
    QCOMPARE(f.scheduler().addRequest(f.newRequest()), how == QLatin1String("refusal") ? 1 : 2);
}

void TestScheduler::anEndThatHasArrivedGoesBeforeTheWordDead()
{
    ServiceFixture f;
    for (int round = 1; round <= 20; ++round) {
        f.scheduler().addRequest(f.newRequest());
        f.spy.take();
        // Both broadcasts are in this process, unread, when the answer comes.
        f.daemon.complete(round, 401);
        QVERIFY(!f.scheduler().checkRequests(f.service->daemon()));
        QCOMPARE(f.spy.take(), texts({"error 1029", "completed false"}));
        f.daemon.settle();
        QCOMPARE(f.spy.take(), QStringList());
    }
}

void TestScheduler::anEndThatArrivesWhileAnotherRequestIsAskedForIsNotAskedAgain()
{
    ServiceFixture f;
    f.scheduler().addRequest(f.newRequest());
    f.scheduler().addRequest(f.newRequest());
    f.spy.take();
    f.daemon.complete(1, 401);
    f.daemon.complete(2, 401);
    QVERIFY(!f.scheduler().checkRequests(f.service->daemon()));
    QCOMPARE(f.daemon.callCount("isRequestAlive"), 1);
    QCOMPARE(f.spy.take(), texts({"error 1029", "completed false"}));
}

void TestScheduler::aSilentDaemonIsAskedOnceARound()
{
    ServiceFixture f;
    for (int i = 0; i < 3; ++i)
        f.scheduler().addRequest(f.newRequest());
    f.daemon.ignoreAlive();
    QElapsedTimer timer;
    timer.start();
    QVERIFY(f.scheduler().checkRequests(f.service->daemon()));
    QCOMPARE(f.daemon.callCount("isRequestAlive"), 1);
    // The rounds that follow ask nothing, and end a request each.
    f.spy.take();
    QVERIFY(f.scheduler().checkRequests(f.service->daemon()));
    QVERIFY(!f.scheduler().checkRequests(f.service->daemon()));
    QVERIFY(timer.elapsed() < Activesync::AliveTimeoutMs + 1500);
    QCOMPARE(f.daemon.callCount("isRequestAlive"), 1);
    QCOMPARE(f.spy.take(), texts({"activity 2", "completed true"}));
    QVERIFY(f.scheduler().isIdle());
}

void TestScheduler::whatTheDaemonNeverAcceptedIsAskedForFirst()
{
    for (int round = 0; round < 10; ++round) {
        ServiceFixture f;
        f.daemon.answerOnce("sendMail", Answer::id(-1));
        f.sink().transmitMessages({StoreFixture::addOutgoing(f.account)});
        for (int i = 0; i < 3; ++i)
            f.scheduler().addRequest(f.newRequest());
        QVERIFY(f.scheduler().checkRequests(f.service->daemon()));
        const auto polls = f.daemon.calls("isRequestAlive");
        QCOMPARE(polls.count(), 2);
        QCOMPARE(polls.first().arguments, QVariantList {-2});
        for (const auto &call : f.daemon.calls("sync"))
            f.daemon.end(call.requestId, 200);
        // So the action does not wait for the send alone until the next poll.
        QVERIFY(f.scheduler().isIdle());
    }
}

void TestScheduler::theDeadAreFewAndHearOfNoCancellation()
{
    ServiceFixture f;
    f.daemon.answerAlive(0);
    for (int i = 0; i < 50; ++i) {
        f.scheduler().addRequest(f.newRequest());
        QVERIFY(!f.scheduler().checkRequests(f.service->daemon()));
    }
    f.deleteDeferred();
    QCOMPARE(f.source().findChildren<AsDaemonRequest *>().count(), RequestScheduler::MaximumDead);
    f.service->cancelOperation(Cancel, QString());
    QCOMPARE(f.daemon.callCount("abortRequest"), 0);
    // The last of them still hears of its end.
    f.daemon.end(50, 401);
    f.deleteDeferred();
    QCOMPARE(f.source().findChildren<AsDaemonRequest *>().count(),
             RequestScheduler::MaximumDead - 1);
}

void TestScheduler::aBatchEndsItsActionOnce_data()
{
    QTest::addColumn<QList<int>>("refused");
    QTest::newRow("the first is refused") << QList<int> {0};
    QTest::newRow("the last is refused") << QList<int> {2};
    QTest::newRow("all are refused") << QList<int> {0, 1, 2};
    QTest::newRow("none is refused") << QList<int>();
}

void TestScheduler::aBatchEndsItsActionOnce()
{
    QFETCH(QList<int>, refused);
    ServiceFixture f;
    QMailMessageIdList ids;
    for (int i = 0; i < 3; ++i) {
        ids += QMailMessageId(100 + i);
        f.daemon.answerOnce("downloadMessage",
                            refused.contains(i) ? Answer::id(-1) : Answer::nextId());
    }
    QVERIFY(f.source().retrieveMessages(ids, QMailRetrievalAction::Content));
    QCOMPARE(f.daemon.callCount("downloadMessage"), 3);
    QCOMPARE(f.spy.completions(), refused.size() == 3 ? 1 : 0);
    for (const auto &call : f.daemon.calls("downloadMessage")) {
        if (call.requestId > 0)
            f.daemon.complete(call.requestId, 200);
    }
    f.daemon.settle();
    QCOMPARE(f.spy.completions(), 1);
    QVERIFY(!f.service->isWaiting());
}

void TestScheduler::aBatchStartsTheSecondQueueWhenAllIsIn()
{
    ServiceFixture f;
    f.daemon.answerOnce("sync", Answer::id(-1));
    {
        const RequestScheduler::Batch batch(f.scheduler());
        QCOMPARE(f.scheduler().addRequest(f.newRequest()), -1);
        f.scheduler().addSecondQueueRequest(f.newRequest());
        QCOMPARE(f.daemon.callCount("sync"), 1);
        QCOMPARE(f.spy.completions(), 0);
    }
    QCOMPARE(f.daemon.callCount("sync"), 2);
    f.daemon.end(1, 200);
    QCOMPARE(f.spy.takeOutcome(), texts({"activity 2", "completed true"}));
}

QTEST_GUILESS_MAIN(TestScheduler)

#include "tst_scheduler.moc"
