// SPDX-License-Identifier: LGPL-2.1-or-later
#include "asclient/asdbusinterface.h"
#include "tests/messageserver/serverclock.h"
#include "tests/messageserver/serverfixture.h"

#include <QElapsedTimer>
#include <QTest>

using Answer = ScriptedDaemon::Answer;

namespace {

constexpr qint64 Noon = 1700000000000;
/** The service's timer, and what Qt may put upon a coarse one of 1.5 s. */
constexpr int TickMs = 1500 + 75;

} // namespace

/** What depends on the time: doublets of a synchronisation, the progress, and its poll. */
class TestTime : public ServerFixture
{
    Q_OBJECT

private slots:
    void aRepetitionIsADoubletUpTo4999Ms_data();
    void aRepetitionIsADoubletUpTo4999Ms();
    void theTimerMovesTheProgress();
    void theDaemonsFigureMovesTheProgress();
    void endsWhenTheDaemonDiesBehindTheCall();
    void endsWhatTheNextDaemonDoesNotKnow();
    void findsALostBroadcastByThePoll();
    void pollLeavesALivingRequestAlone();
    void aSilentDaemonIsLeftAfterTenSeconds();
    void aDaemonThatIsSilentToThePollIsLeftAfterTwoSeconds();

protected:
    void prepareServer(MessageServer &server) override { m_clock.giveTo(server); }

private:
    /** The server's timers get that much later, and it looks at them. */
    void pass(int msecs);
    /** The service's timer goes off. */
    void tick() { pass(TickMs); }
    /** Has the client start an action and drives its progress to the maximum. */
    ScriptedDaemon::Call startAndFill(Retrieval &retrieval);

    ServerClock m_clock;
};

void TestTime::pass(int msecs)
{
    m_clock.advanceTimers(msecs);
    // Nobody's; it wakes the server.
    m_daemon->requestCompleted(200, 0, -1);
}

ScriptedDaemon::Call TestTime::startAndFill(Retrieval &retrieval)
{
    auto state = pollSoon();
    const auto call = startFolders(retrieval);
    tick();
    if (!QTest::qWaitFor([&] { return retrieval.watcher.progress().contains({1000, 1000}); }))
        qWarning("the progress has not reached its maximum");
    state.reset();
    return call;
}

void TestTime::aRepetitionIsADoubletUpTo4999Ms_data()
{
    QTest::addColumn<qint64>("age");
    QTest::addColumn<bool>("isDoublet");
    QTest::newRow("in the same millisecond") << qint64(0) << true;
    QTest::newRow("after 4999 ms") << qint64(4999) << true;
    QTest::newRow("after 5000 ms") << qint64(5000) << false;
    QTest::newRow("with the clock set back by 1 ms") << qint64(-1) << false;
    QTest::newRow("with the clock set back by a day") << qint64(-86400000) << false;
}

void TestTime::aRepetitionIsADoubletUpTo4999Ms()
{
    QFETCH(qint64, age);
    QFETCH(bool, isDoublet);
    const QLatin1String emulation("doublet sync request, ignoring (emulating)");
    m_daemon->answer("sync", Answer::nextId().completing(200));
    m_clock.stopAt(Noon);
    Retrieval first;
    first.action.retrieveAll(m_account);
    verifySucceeded(first.watcher);
    QCOMPARE(m_daemon->callCount("sync"), 1);
    m_clock.stopAt(Noon + age);
    Retrieval second;
    second.action.retrieveAll(m_account);
    verifySucceeded(second.watcher);
    QCOMPARE(m_daemon->callCount("sync"), isDoublet ? 1 : 2);
    QCOMPARE(m_server->log().contains(emulation), isDoublet);
}

void TestTime::theTimerMovesTheProgress()
{
    Retrieval retrieval;
    const auto call = startFolders(retrieval);
    QTRY_VERIFY(retrieval.watcher.progress().contains({0, 1000}));
    for (uint steps = 1; steps <= 3; ++steps) {
        tick();
        QTRY_VERIFY(retrieval.watcher.progress().contains({steps, 1000}));
    }
    succeed(retrieval, call);
    QCOMPARE(m_daemon->callCount("isRequestAlive"), 0);
}

void TestTime::theDaemonsFigureMovesTheProgress()
{
    Retrieval retrieval;
    const auto call = startFolders(retrieval);
    const auto state = publishProgress(400);
    tick();
    QTRY_VERIFY(retrieval.watcher.progress().contains({401, 1000}));
    succeed(retrieval, call);
}

void TestTime::endsWhenTheDaemonDiesBehindTheCall()
{
    Retrieval retrieval;
    QVERIFY(startAndFill(retrieval).isValid());
    m_clock.advanceTimers(TickMs);
    // The change of the name's owner wakes the server.
    m_daemon->vanish();
    // A request that nobody knows any more counts as done.
    verifySucceeded(retrieval.watcher);
}

void TestTime::endsWhatTheNextDaemonDoesNotKnow()
{
    Retrieval retrieval;
    const auto call = startAndFill(retrieval);
    m_daemon->vanish();
    QVERIFY(m_daemon->appear());
    tick();
    const auto poll = m_daemon->waitForCall("isRequestAlive");
    QCOMPARE(poll.arguments, QVariantList {call.requestId});
    verifySucceeded(retrieval.watcher);
}

void TestTime::findsALostBroadcastByThePoll()
{
    m_daemon->answerAlive(0);
    Retrieval retrieval;
    const auto call = startAndFill(retrieval);
    QCOMPARE(m_daemon->callCount("isRequestAlive"), 0);
    tick();
    const auto poll = m_daemon->waitForCall("isRequestAlive");
    QCOMPARE(poll.arguments, QVariantList {call.requestId});
    verifySucceeded(retrieval.watcher);
    // Late, and nobody's.
    m_daemon->requestCompleted(401, m_account.toULongLong(), call.requestId);
    settle();
    QCOMPARE(retrieval.watcher.endCount(), 1);
}

void TestTime::pollLeavesALivingRequestAlone()
{
    Retrieval retrieval;
    const auto call = startAndFill(retrieval);
    tick();
    QVERIFY(m_daemon->waitForCall("isRequestAlive").isValid());
    QTRY_VERIFY(retrieval.watcher.progress().contains({1001, 1100}));
    QCOMPARE(retrieval.watcher.endCount(), 0);
    fail(retrieval, call, 401, 1029);
}

void TestTime::aSilentDaemonIsLeftAfterTenSeconds()
{
    m_daemon->answer(Answer::silence());
    Retrieval retrieval;
    QVERIFY(startFolders(retrieval).isValid());
    QElapsedTimer timer;
    timer.start();
    pass(Activesync::CallTimeoutMs - 5000);
    m_daemon->settle();
    // Its thread for the bus answers, and has seen the time pass.
    QVERIFY(m_server->isAlive());
    QCOMPARE(retrieval.watcher.endCount(), 0);
    pass(5000);
    verifyFailed(retrieval.watcher, 1037);
    QVERIFY(timer.elapsed() < Activesync::CallTimeoutMs);
    QVERIFY(m_server->log().contains(QLatin1String("\"org.freedesktop.DBus.Error.NoReply\"")));
}

void TestTime::aDaemonThatIsSilentToThePollIsLeftAfterTwoSeconds()
{
    m_daemon->ignoreAlive();
    Retrieval retrieval;
    QVERIFY(startAndFill(retrieval).isValid());
    tick();
    QVERIFY(m_daemon->waitForCall("isRequestAlive").isValid());
    QCOMPARE(retrieval.watcher.endCount(), 0);
    pass(Activesync::AliveTimeoutMs);
    verifySucceeded(retrieval.watcher);
}

QTEST_GUILESS_MAIN(TestTime)

#include "tst_time.moc"
