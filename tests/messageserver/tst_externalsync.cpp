// SPDX-License-Identifier: LGPL-2.1-or-later
#include "tests/messageserver/actionlist.h"
#include "tests/messageserver/serverfixture.h"
#include "tests/support/chance.h"

#include <QElapsedTimer>
#include <QTest>

using Activity = QMailServiceAction::Activity;

/** Synchronisations that the daemon starts by itself, as a client of the message server sees them.
 */
class TestExternalSync : public ServerFixture
{
    Q_OBJECT

private slots:
    void init();
    void cleanup();
    void appearsAsARunningActionOfTheAccountWithProgress();
    void endsWhenTheDaemonSaysSo();
    void isShownOnceForTwoStarts();
    void doesNotAppearForAnotherAccount();
    void doesNotAppearWhenARequestExplainsIt_data();
    void doesNotAppearWhenARequestExplainsIt();
    void endOfWhatNeverBeganEndsNothing();
    void endsForTheNextActionThatWaitsForIt();
    void isThereAtOnceForAServiceThatIsCreatedWhileItRuns();
    void isNotThereForAServiceThatIsCreatedAfterADeadDaemon();
    void survivesTheDaemonsDeath();
    void isCancelledByAClient();
    void twoAccountsSynchroniseOneAfterTheOtherInTheList();
    void burstLeavesTheAccountFree();
    void burstWhileAnActionRunsEndsNothing();
    void burstAndABeginningThatStays();
    void endThatCrossesAPollKeepsItsOutcome();
    void anyOrderEndsEachActionOnce();

private:
    ScriptedDaemon::Call startAmongSyncs(Retrieval &retrieval, QRandomGenerator &dice);
    ActionList::Entry showMarker();
    void verifyFree();
    void waitUntilNothingRuns();
    /** Looks at the server's actions, from now on. */
    void observe();

    std::unique_ptr<ActionList> m_list;
};

void TestExternalSync::init()
{
    ServerFixture::init();
    observe();
}

void TestExternalSync::cleanup()
{
    m_list.reset();
    ServerFixture::cleanup();
}

void TestExternalSync::observe()
{
    m_list = std::make_unique<ActionList>();
    QVERIFY(m_list->waitUntilReady());
}

/** Starts a synchronisation and waits until it runs for the client. */
ActionList::Entry TestExternalSync::showMarker()
{
    const int before = m_list->markers().size();
    m_daemon->syncStarted(m_account.toULongLong());
    const auto runs = [&] {
        return m_list->markers().size() > before
            && m_list->markers().constLast().info->activity() == QMailServiceAction::InProgress;
    };
    if (!QTest::qWaitFor(runs, 10000))
        qWarning("no marker runs");
    return m_list->markers().value(before);
}

void TestExternalSync::appearsAsARunningActionOfTheAccountWithProgress()
{
    const auto state = publishProgress(400);
    QCOMPARE(m_list->running(), 0);
    showMarker();
    QCOMPARE(m_list->entries().size(), 1);
    QCOMPARE(m_list->markers().size(), 1);
    QTRY_VERIFY(m_list->markers().at(0).accounts.contains(m_account));
    // 401 of 1000 at the first tick.
    QTRY_VERIFY(m_list->markers().at(0).progress.contains({401, 1000}));
    QVERIFY(state->publish({m_account.toULongLong(), SyncInfoNode::SyncRunning, 700}));
    QTRY_VERIFY(m_list->markers().at(0).progress.contains({701, 1000}));
    QCOMPARE(m_list->markers().at(0).endCount(), 0);
    m_daemon->syncCompleted(m_account.toULongLong());
    QTRY_COMPARE(m_list->running(), 0);
    QCOMPARE(m_list->entries().size(), 1);
    QVERIFY(m_daemon->calls().isEmpty());
}

void TestExternalSync::endsWhenTheDaemonSaysSo()
{
    for (int round = 0; round < 5; ++round) {
        showMarker();
        QCOMPARE(m_list->markers().size(), round + 1);
        m_daemon->syncCompleted(m_account.toULongLong());
        QTRY_COMPARE(m_list->running(), 0);
        QCOMPARE(m_list->markers().at(round).activities.last(), QMailServiceAction::Successful);
        QCOMPARE(m_list->markers().at(round).endCount(), 1);
        verifyFree();
    }
    QCOMPARE(m_list->markers().size(), 5);
}

/** The account takes the next action, which ends once. */
void TestExternalSync::verifyFree()
{
    Retrieval next;
    const auto call = startFolders(next);
    QVERIFY(call.isValid());
    succeed(next, call);
}

/** Everything announced so far has had its marker where it needs one, and no action is left. */
void TestExternalSync::waitUntilNothingRuns()
{
    settle();
    // A marker that is still on its way to the service is in no list.
    QTRY_COMPARE(logCount("Protocol request received"), logCount("Creating FAKE action"));
    settle();
    QTRY_COMPARE(m_list->running(), 0);
}

void TestExternalSync::isShownOnceForTwoStarts()
{
    showMarker();
    m_daemon->syncStarted(m_account.toULongLong());
    announceSync();
    QTRY_COMPARE(m_list->running(), 0);
    verifyFree();
    QCOMPARE(m_list->markers().size(), 1);
    QCOMPARE(m_list->markers().at(0).endCount(), 1);
}

void TestExternalSync::doesNotAppearForAnotherAccount()
{
    const QMailAccountId other = addSecondAccount();
    m_daemon->syncStarted(other.toULongLong() + 7);
    m_daemon->syncStarted(other.toULongLong());
    QTRY_COMPARE(m_list->markers().size(), 1);
    QTRY_VERIFY(m_list->markers().at(0).accounts.contains(other));
    QVERIFY(!m_list->markers().at(0).accounts.contains(m_account));
    m_daemon->syncCompleted(m_account.toULongLong());
    // Only the other account is busy: this one's actions run, and do not end the other's.
    verifyFree();
    settle();
    QCOMPARE(m_list->running(), 1);
    m_daemon->syncCompleted(other.toULongLong());
    QTRY_COMPARE(m_list->running(), 0);
    QCOMPARE(m_list->markers().size(), 1);
}

void TestExternalSync::doesNotAppearWhenARequestExplainsIt_data()
{
    QTest::addColumn<QString>("method");
    QTest::addRow("sync") << "sync";
    QTest::addRow("message lists") << "syncSpecificFolders";
    QTest::addRow("folders") << "folderSync";
}

void TestExternalSync::doesNotAppearWhenARequestExplainsIt()
{
    QFETCH(QString, method);
    Retrieval retrieval;
    if (method == QLatin1String("sync"))
        retrieval.action.retrieveAll(m_account);
    else if (method == QLatin1String("folderSync"))
        retrieveFolders(retrieval);
    else
        retrieval.action.retrieveMessageList(m_account, folder(QMailFolder::InboxFolder));
    const auto call = m_daemon->waitForCall(qPrintable(method));
    m_daemon->syncStarted(m_account.toULongLong());
    QVERIFY(m_daemon->waitForCall("isRequestAlive").isValid());
    m_daemon->complete(call.requestId, 200);
    m_daemon->syncCompleted(m_account.toULongLong());
    verifySucceeded(retrieval.watcher);
    QTRY_COMPARE(m_list->running(), 0);
    settle();
    QCOMPARE(m_list->markers().size(), 0);
    QCOMPARE(logCount("Creating FAKE action"), 0);
}

void TestExternalSync::endOfWhatNeverBeganEndsNothing()
{
    m_daemon->syncCompleted(m_account.toULongLong());
    Retrieval retrieval;
    const auto call = startFolders(retrieval);
    m_daemon->syncCompleted(m_account.toULongLong());
    m_daemon->requestCompleted(401, m_account.toULongLong(), call.requestId);
    verifyFailed(retrieval.watcher, 1029);
    QCOMPARE(logCount("Would not determine"), 0);
}

void TestExternalSync::endsForTheNextActionThatWaitsForIt()
{
    showMarker();
    Retrieval waiting;
    retrieveFolders(waiting);
    settle();
    QCOMPARE(m_daemon->callCount("folderSync"), 0);
    m_daemon->syncCompleted(m_account.toULongLong());
    const auto call = m_daemon->waitForCall("folderSync");
    fail(waiting, call, 401, 1029);
    QCOMPARE(m_list->markers().at(0).endCount(), 1);
}

void TestExternalSync::isThereAtOnceForAServiceThatIsCreatedWhileItRuns()
{
    m_list.reset();
    QVERIFY(m_server->terminate());
    const auto state = publishProgress(300);
    QVERIFY(m_server->start());
    observe();
    QTRY_COMPARE(m_list->markers().size(), 1);
    QTRY_VERIFY(m_list->markers().at(0).progress.contains({301, 1000}));
    // The daemon says of the one that runs that it began, too.
    announceSync();
    QTRY_COMPARE(m_list->running(), 0);
    verifyFree();
    QCOMPARE(m_list->markers().size(), 1);
    QCOMPARE(m_list->markers().at(0).endCount(), 1);
}

void TestExternalSync::isNotThereForAServiceThatIsCreatedAfterADeadDaemon()
{
    m_list.reset();
    QVERIFY(m_server->terminate());
    // What the daemon published ends with it.
    publishProgress(300).reset();
    QVERIFY(m_server->start());
    observe();
    verifyFree();
    QCOMPARE(m_list->markers().size(), 0);
}

void TestExternalSync::survivesTheDaemonsDeath()
{
    auto state = publishProgress(999);
    showMarker();
    QTRY_VERIFY(m_list->markers().at(0).progress.contains({1000, 1000}));
    m_daemon->vanish();
    state.reset();
    // Beyond the poll at the full bar it goes on: only the daemon knows of its end.
    QTRY_VERIFY(m_list->markers().at(0).progress.contains({1001, 1100}));
    QVERIFY(m_server->isAlive());
    QCOMPARE(m_list->markers().at(0).endCount(), 0);
    // The next daemon's first synchronisation is the same marker's.
    QVERIFY(m_daemon->appear());
    announceSync();
    QTRY_COMPARE(m_list->running(), 0);
    QCOMPARE(m_list->markers().size(), 1);
    QCOMPARE(m_list->markers().at(0).endCount(), 1);
}

void TestExternalSync::isCancelledByAClient()
{
    showMarker().info->cancelOperation();
    const auto stop = m_daemon->waitForCall("stopSync");
    QCOMPARE(stop.arguments, QVariantList({m_account.toULongLong(), 1030}));
    QVERIFY(stop.wantsReply);
    QTRY_COMPARE(m_list->running(), 0);
    QCOMPARE(m_list->markers().at(0).activities.last(), QMailServiceAction::Failed);
    QCOMPARE(m_list->markers().at(0).endCount(), 1);
    // What the daemon says of the one that it stopped.
    m_daemon->syncCompleted(m_account.toULongLong());
    verifyFree();
    QCOMPARE(m_list->markers().size(), 1);
}

void TestExternalSync::twoAccountsSynchroniseOneAfterTheOtherInTheList()
{
    // Both markers are actions of one client, the server itself, which has one running at a time.
    const QMailAccountId other = addSecondAccount();
    showMarker();
    m_daemon->syncStarted(other.toULongLong());
    QTRY_COMPARE(logCount("Creating FAKE action"), 2);
    m_daemon->syncCompleted(m_account.toULongLong());
    QTRY_COMPARE(m_list->markers().size(), 2);
    QTRY_VERIFY(m_list->markers().at(1).accounts.contains(other));
    QTRY_COMPARE(m_list->running(), 1);
    m_daemon->syncCompleted(other.toULongLong());
    QTRY_COMPARE(m_list->running(), 0);
    for (const ActionList::Entry &marker : m_list->markers())
        QCOMPARE(marker.endCount(), 1);
}

void TestExternalSync::burstLeavesTheAccountFree()
{
    qint64 worst = 0;
    for (int round = 0; round < 50; ++round) {
        m_daemon->answer(ScriptedDaemon::Answer::nextId().completing(401));
        announceSync();
        // The action meets the marker on its way, or what it left.
        if (round % 2)
            settle();
        QElapsedTimer timer;
        timer.start();
        Retrieval next;
        retrieveFolders(next);
        // Its own outcome: a marker's end, had it hit this action, would be a success.
        verifyFailed(next.watcher, 1029, 1000);
        if (QTest::currentTestFailed())
            return;
        worst = qMax(worst, timer.elapsed());
        waitUntilNothingRuns();
    }
    qInfo("free again after at most %lld ms", worst);
    QVERIFY(worst < 1000);
    QTRY_COMPARE(logCount("Synchronize COMPLETED signal received"), 50);
    for (const ActionList::Entry &marker : m_list->markers())
        QCOMPARE(marker.endCount(), 1);
}

void TestExternalSync::burstWhileAnActionRunsEndsNothing()
{
    // The daemon synchronised by itself when the request came: its end is not the request's.
    Retrieval retrieval;
    const auto call = startFolders(retrieval);
    for (int times = 0; times < 10; ++times)
        announceSync();
    m_daemon->requestCompleted(401, m_account.toULongLong(), call.requestId);
    verifyFailed(retrieval.watcher, 1029);
    settle();
    QCOMPARE(m_list->markers().size(), 0);
}

void TestExternalSync::burstAndABeginningThatStays()
{
    announceSync();
    m_daemon->syncStarted(m_account.toULongLong());
    // The second one has the first one's marker or, where that was ending already, one of its own;
    // it runs until its own end.
    const auto stays = [&] {
        settle();
        return m_list->running() == 1 && m_list->markers().constLast().endCount() == 0
            && m_list->markers().constLast().info->activity() == QMailServiceAction::InProgress;
    };
    QTRY_VERIFY(stays() && stays());
    Retrieval waiting;
    retrieveFolders(waiting);
    settle();
    QCOMPARE(m_daemon->callCount("folderSync"), 0);
    m_daemon->syncCompleted(m_account.toULongLong());
    const auto call = m_daemon->waitForCall("folderSync");
    succeed(waiting, call);
    QTRY_COMPARE(m_list->running(), 0);
}

/** The broadcast is in the message server already when it asks whether the request lives. */
void TestExternalSync::endThatCrossesAPollKeepsItsOutcome()
{
    for (int round = 0; round < 50; ++round) {
        Retrieval retrieval;
        const auto call = startFolders(retrieval);
        m_daemon->syncStarted(m_account.toULongLong());
        m_daemon->complete(call.requestId, 401);
        m_daemon->syncCompleted(m_account.toULongLong());
        verifyFailed(retrieval.watcher, 1029);
        if (QTest::currentTestFailed())
            return;
    }
    waitUntilNothingRuns();
    QCOMPARE(logCount("Would not determine"), 0);
}

/** An action of a person and up to three synchronisations, at any distance. */
ScriptedDaemon::Call TestExternalSync::startAmongSyncs(Retrieval &retrieval, QRandomGenerator &dice)
{
    // A gap is what is tried here, not a wait for something.
    const auto gap = [&dice] { QTest::qWait(int(dice.bounded(3) == 0 ? 0 : dice.bounded(40))); };
    const int syncs = 1 + int(dice.bounded(3));
    const int turn = int(dice.bounded(2 * syncs + 1));
    for (int step = 0; step <= 2 * syncs; ++step) {
        if (step == turn)
            retrieveFolders(retrieval);
        if (step == 2 * syncs)
            break;
        if (step % 2 == 0)
            m_daemon->syncStarted(m_account.toULongLong());
        else
            m_daemon->syncCompleted(m_account.toULongLong());
        gap();
    }
    return m_daemon->waitForCall("folderSync");
}

void TestExternalSync::anyOrderEndsEachActionOnce()
{
    constexpr int Rounds = 80;
    QRandomGenerator dice(testSeed());
    for (int round = 0; round < Rounds; ++round) {
        Retrieval retrieval;
        const auto call = startAmongSyncs(retrieval, dice);
        QVERIFY(call.isValid());
        m_daemon->complete(call.requestId, 401);
        // Its own outcome: a marker's end, had it hit this action, would be a success.
        verifyFailed(retrieval.watcher, 1029);
        if (QTest::currentTestFailed())
            return;
    }
    waitUntilNothingRuns();
    for (const ActionList::Entry &marker : m_list->markers())
        QCOMPARE(marker.endCount(), 1);
    QCOMPARE(logCount("Would not determine"), 0);
    // Nor does the service wait for anything: the next action opens its waiting itself.
    const int opened = logCount("start waiting for the signal");
    verifyFree();
    QCOMPARE(logCount("start waiting for the signal"), opened + 1);
    tellRounds(Rounds);
}

QTEST_GUILESS_MAIN(TestExternalSync)

#include "tst_externalsync.moc"
