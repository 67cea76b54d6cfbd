// SPDX-License-Identifier: LGPL-2.1-or-later
#include "tests/messageserver/serverfixture.h"

#include <qmailstore.h>
#include <QTest>

using Answer = ScriptedDaemon::Answer;

/** One action and its end: synchronisation, the daemon's failures, cancellation. */
class TestMessageServer : public ServerFixture
{
    Q_OBJECT

private slots:
    void synchronises();
    void retrievesEverything();
    void retrievesAMessageList();
    void asksForTheNewsOfAFolderThatIsNotKnownYet();
    void tellsTheClientWhatTheDaemonsCodeMeans_data();
    void tellsTheClientWhatTheDaemonsCodeMeans();
    void failsWhileTheDaemonIsAbsent();
    void failsWhatTheDaemonRefuses();
    void failsWhatTheDaemonAnswersWithAnError();
    void failsWhenTheDaemonDiesInTheCall();
    void findsALostBroadcastWhenAnotherSynchronisationStarts();
    void cancels();
    void lateBroadcastOfACancelledRequestEndsNothingElse();
    void cancellationLeavesTheNextClientsActionAlone();
    void strayBroadcastsEndNothing();
    void repeatedBroadcastEndsNothingElse();
    void runsTwoAccountsAtOnce();
    void keepsTheAccountsApart();
    void asksAgainAfterAFailure();
    void keepsTheServiceWhenTheAccountIsChanged();
    void endsWithTheServerInTheMiddleOfAnAction();
    void endsWithAServerThatIsKilledInTheMiddleOfAnAction();
};

void TestMessageServer::synchronises()
{
    Retrieval retrieval;
    retrieval.action.synchronize(m_account, 20);
    // The message server makes three actions of it: changes, folders, messages.
    const auto changes = m_daemon->waitForCall("sync");
    QCOMPARE(changes.arguments, QVariantList {m_account.toULongLong()});
    m_daemon->complete(changes.requestId, 200);
    const auto folders = m_daemon->waitForCall("folderSync");
    QCOMPARE(folders.arguments, QVariantList {m_account.toULongLong()});
    QCOMPARE(retrieval.watcher.endCount(), 0);
    succeed(retrieval, folders);
    // The messages came with the first one, a moment ago.
    QCOMPARE(m_daemon->calls().size(), 2);
}

void TestMessageServer::retrievesEverything()
{
    m_daemon->answer("sync", Answer::nextId().completing(200));
    Retrieval retrieval;
    retrieval.action.retrieveAll(m_account);
    verifySucceeded(retrieval.watcher);
    QCOMPARE(m_daemon->callCount("sync"), 1);
}

void TestMessageServer::retrievesAMessageList()
{
    const QMailFolderId inbox = QMailAccount(m_account).standardFolder(QMailFolder::InboxFolder);
    m_daemon->answer(Answer::nextId().completing(200));
    Retrieval retrieval;
    retrieval.action.retrieveNewMessages(m_account, {inbox});
    verifySucceeded(retrieval.watcher);
    const auto call = m_daemon->waitForCall("syncSpecificFolders");
    QCOMPARE(call.arguments,
             QVariantList({m_account.toULongLong(),
                           QStringList(QString::number(inbox.toULongLong())), 30, 0}));
}

void TestMessageServer::asksForTheNewsOfAFolderThatIsNotKnownYet()
{
    m_daemon->answer(Answer::nextId().completing(200));
    Retrieval retrieval;
    retrieval.action.retrieveNewMessages(m_account, {QMailFolderId()});
    verifySucceeded(retrieval.watcher);
    // The daemon takes it for the inbox.
    QCOMPARE(m_daemon->waitForCall("syncSpecificFolders").arguments,
             QVariantList({m_account.toULongLong(), QStringList(QStringLiteral("0")), 30, 0}));
}

void TestMessageServer::tellsTheClientWhatTheDaemonsCodeMeans_data()
{
    QTest::addColumn<int>("daemonCode");
    QTest::addColumn<int>("errorCode");
    const QList<QPair<int, int>> codes {
        {200, 0},    {1001, 0},     {4001, 0},   {4015, 0},     {403, 1026},   {60299, 1026},
        {500, 1027}, {999, 1027},   {401, 1029}, {60204, 1029}, {0, 1030},     {1030, 1030},
        {1, 1031},   {507, 1031},   {902, 1034}, {60001, 1034}, {60007, 1036}, {60006, 1037},
        {-1, 1037},  {4007, 1037},  {400, 1038}, {404, 1038},   {501, 1039},   {1015, 1039},
        {901, 1040}, {60104, 1040},
    };
    for (const auto &[daemonCode, errorCode] : codes)
        QTest::addRow("%d", daemonCode) << daemonCode << errorCode;
}

void TestMessageServer::tellsTheClientWhatTheDaemonsCodeMeans()
{
    QFETCH(int, daemonCode);
    QFETCH(int, errorCode);
    m_daemon->answerOnce("folderSync", Answer::nextId().completing(daemonCode));
    Retrieval retrieval;
    retrieveFolders(retrieval);
    QVERIFY(retrieval.watcher.waitForEnd());
    QCOMPARE(retrieval.watcher.errorCode(), errorCode);
    QCOMPARE(retrieval.watcher.succeeded(), errorCode == 0);
    QCOMPARE(retrieval.watcher.endCount(), 1);
}

void TestMessageServer::failsWhileTheDaemonIsAbsent()
{
    m_daemon->vanish();
    Retrieval retrieval;
    retrieveFolders(retrieval);
    verifyFailed(retrieval.watcher, 1037);
    QVERIFY(
        m_server->log().contains(QLatin1String("\"org.freedesktop.DBus.Error.ServiceUnknown\"")));
}

void TestMessageServer::failsWhatTheDaemonRefuses()
{
    m_daemon->answer(Answer::id(-1));
    Retrieval retrieval;
    retrieveFolders(retrieval);
    verifyFailed(retrieval.watcher, 1037);
}

void TestMessageServer::failsWhatTheDaemonAnswersWithAnError()
{
    m_daemon->answer(Answer::error("com.example.Broken"));
    Retrieval retrieval;
    retrieveFolders(retrieval);
    verifyFailed(retrieval.watcher, 1037);
    QVERIFY(m_server->log().contains(QLatin1String("\"com.example.Broken\"")));
}

void TestMessageServer::failsWhenTheDaemonDiesInTheCall()
{
    m_daemon->answer(Answer::silence());
    Retrieval retrieval;
    QVERIFY(startFolders(retrieval).isValid());
    m_daemon->vanish();
    verifyFailed(retrieval.watcher, 1037);
}

void TestMessageServer::findsALostBroadcastWhenAnotherSynchronisationStarts()
{
    m_daemon->answerAlive(0);
    Retrieval retrieval;
    QVERIFY(startFolders(retrieval).isValid());
    m_daemon->syncStarted(m_account.toULongLong());
    verifySucceeded(retrieval.watcher);
    m_daemon->syncCompleted(m_account.toULongLong());
    QCOMPARE(retrieval.watcher.endCount(), 1);
}

void TestMessageServer::cancels()
{
    Retrieval retrieval;
    const auto call = startFolders(retrieval);
    QVERIFY(retrieval.watcher.waitForStart());
    retrieval.action.cancelOperation();
    const auto abort = m_daemon->waitForCall("abortRequest");
    QCOMPARE(abort.arguments, QVariantList({call.requestId, 1030}));
    verifyFailed(retrieval.watcher, 1030);
}

void TestMessageServer::lateBroadcastOfACancelledRequestEndsNothingElse()
{
    Retrieval cancelled;
    const auto call = startFolders(cancelled);
    QVERIFY(cancelled.watcher.waitForStart());
    cancelled.action.cancelOperation();
    QVERIFY(m_daemon->waitForCall("abortRequest").isValid());
    QVERIFY(cancelled.watcher.waitForEnd());

    Retrieval next;
    const auto nextCall = startFolders(next);
    m_daemon->requestCompleted(1030, m_account.toULongLong(), call.requestId);
    m_daemon->requestCompleted(401, m_account.toULongLong(), nextCall.requestId);
    // Had the late one ended it, it would have been cancelled and not refused.
    verifyFailed(next.watcher, 1029);
}

void TestMessageServer::cancellationLeavesTheNextClientsActionAlone()
{
    // As the real daemon does, the broadcast of an aborted request follows the call at once.
    m_daemon->completeAborted();
    for (int round = 0; round < 20; ++round) {
        Retrieval cancelled;
        const auto call = startFolders(cancelled);
        QVERIFY(cancelled.watcher.waitForStart());
        QProcess client;
        client.start(QStringLiteral(MAIL_CLIENT), {QString::number(m_account.toULongLong())});
        QVERIFY(client.waitForReadyRead());
        cancelled.action.cancelOperation();
        const auto abort = m_daemon->waitForCall("abortRequest");
        QCOMPARE(abort.arguments, QVariantList({call.requestId, 1030}));
        verifyFailed(cancelled.watcher, 1030);

        // The second client waited for the service; its action is its own.
        const auto next = m_daemon->waitForCall("folderSync");
        QVERIFY(next.isValid());
        m_daemon->complete(next.requestId, 401);
        QVERIFY(QTest::qWaitFor([&] { return client.state() == QProcess::NotRunning; }, 15000));
        QCOMPARE(client.readAllStandardOutput(), QByteArray("sent\n1 1029\n"));
    }
}

void TestMessageServer::strayBroadcastsEndNothing()
{
    Retrieval retrieval;
    const auto call = startFolders(retrieval);
    for (int id : {-2, -1, 0, call.requestId + 1})
        m_daemon->requestCompleted(500, m_account.toULongLong(), id);
    m_daemon->requestCompleted(401, m_account.toULongLong(), call.requestId);
    verifyFailed(retrieval.watcher, 1029);
}

void TestMessageServer::repeatedBroadcastEndsNothingElse()
{
    Retrieval retrieval;
    const auto call = startFolders(retrieval);
    for (int times = 0; times < 3; ++times)
        m_daemon->requestCompleted(200, m_account.toULongLong(), call.requestId);
    verifySucceeded(retrieval.watcher);
}

void TestMessageServer::runsTwoAccountsAtOnce()
{
    const QMailAccountId other = addSecondAccount();
    Retrieval mine;
    const auto myCall = startFolders(mine);

    QProcess client;
    client.start(QStringLiteral(MAIL_CLIENT), {QString::number(other.toULongLong())});
    const auto otherCall = m_daemon->waitForCall("folderSync");
    QCOMPARE(otherCall.accountId(), other.toULongLong());
    // Both run: the one that began later ends first, each with its own outcome.
    QCOMPARE(mine.watcher.endCount(), 0);
    m_daemon->complete(otherCall.requestId, 401);
    QVERIFY(QTest::qWaitFor([&] { return client.state() == QProcess::NotRunning; }, 15000));
    QCOMPARE(client.readAllStandardOutput(), QByteArray("sent\n1 1029\n"));
    QCOMPARE(mine.watcher.endCount(), 0);
    succeed(mine, myCall);
}

void TestMessageServer::keepsTheAccountsApart()
{
    const QMailAccountId other = addSecondAccount();
    Retrieval mine;
    const auto myCall = startFolders(mine);
    QVERIFY(mine.watcher.waitForStart());
    QProcess client;
    client.start(QStringLiteral(MAIL_CLIENT), {QString::number(other.toULongLong())});
    const auto otherCall = m_daemon->waitForCall("folderSync");
    mine.action.cancelOperation();
    const auto abort = m_daemon->waitForCall("abortRequest");
    QCOMPARE(abort.arguments, QVariantList({myCall.requestId, 1030}));
    verifyFailed(mine.watcher, 1030);
    m_daemon->complete(otherCall.requestId, 200);
    QVERIFY(QTest::qWaitFor([&] { return client.state() == QProcess::NotRunning; }, 15000));
    QCOMPARE(client.readAllStandardOutput(), QByteArray("sent\n1 0\n"));
    QCOMPARE(m_daemon->callCount("abortRequest"), 1);
}

void TestMessageServer::asksAgainAfterAFailure()
{
    m_daemon->answer("sync", Answer::nextId().completing(902));
    Retrieval first;
    first.action.retrieveAll(m_account);
    verifyFailed(first.watcher, 1034);
    m_daemon->answer("sync", Answer::nextId().completing(200));
    Retrieval second;
    second.action.retrieveAll(m_account);
    verifySucceeded(second.watcher);
    QCOMPARE(m_daemon->callCount("sync"), 2);
}

void TestMessageServer::keepsTheServiceWhenTheAccountIsChanged()
{
    Retrieval retrieval;
    const auto call = startFolders(retrieval);
    QMailAccount account(m_account);
    account.setName(QStringLiteral("Renamed"));
    QVERIFY(QMailStore::instance()->updateAccount(&account));
    fail(retrieval, call, 401, 1029);
    QVERIFY(!m_server->log().contains(QLatin1String("OrvService::~OrvService")));
}

void TestMessageServer::endsWithTheServerInTheMiddleOfAnAction()
{
    Retrieval retrieval;
    const auto call = startFolders(retrieval);
    QVERIFY(retrieval.watcher.waitForStart());
    QVERIFY(m_server->terminate());
    QVERIFY(m_server->exitedNormally());
    QVERIFY(m_server->log().contains(QLatin1String("OrvService::~OrvService")));
    m_daemon->complete(call.requestId, 200);
    QVERIFY(m_server->start());
    QVERIFY(retrieval.watcher.endCount() <= 1);
}

void TestMessageServer::endsWithAServerThatIsKilledInTheMiddleOfAnAction()
{
    Retrieval retrieval;
    const auto call = startFolders(retrieval);
    m_server->kill();
    QVERIFY(m_server->start());
    // The new server knows nothing of the old one's request.
    m_daemon->complete(call.requestId, 401);
    QVERIFY(!retrieval.watcher.succeeded());
}

QTEST_GUILESS_MAIN(TestMessageServer)

#include "tst_messageserver.moc"
