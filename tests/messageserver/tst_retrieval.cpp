// SPDX-License-Identifier: LGPL-2.1-or-later
#include "asclient/attachmentnotifier.h"
#include "tests/messageserver/serverfixture.h"

#include <QFile>
#include <QLocalServer>
#include <QLocalSocket>
#include <QTest>

using Answer = ScriptedDaemon::Answer;

/** Message lists, whole messages, and message parts with the progress of their download. */
class TestRetrieval : public ServerFixture
{
    Q_OBJECT

private slots:
    void asksForOneFoldersList_data();
    void asksForOneFoldersList();
    void asksForEverythingWithoutAFolder();
    void asksForSeveralFoldersInTheOrderOfTheClient();
    void asksForTheListsOfNoFolder();
    void passesOnAFolderThatIsGone();
    void failsAListThatTheDaemonFails();

    void retrievesEachMessageByARequest_data();
    void retrievesEachMessageByARequest();
    void lastMessageDecidesTheOutcome();
    void retrievesNoMessages();
    void retrievesAMessageThatIsGone();
    void retrievesMessagesOfTwoAccounts();
    void cancelsEveryMessage();
    void endsWhenOneBroadcastOfManyIsLost();

    void showsAPartsProgress();
    void showsOnlyTheLastOfABurst();
    void showsRecordsThatArriveInPieces();
    void negativeRecordsShowNothing();
    void showsMoreThanEverything();
    void closesTheSecondConnection();
    void goesOnWhenTheProgressBreaksOff_data();
    void goesOnWhenTheProgressBreaksOff();
    void endsAPartWithoutAnyProgress();
    void endsAPartWhoseNameIsTaken();
    void endsAPartWhoseSocketAKilledServerLeft();
    void cancelledPartLeavesNoSocket();
    void failedPartLeavesNoSocket();
    void partOfADaemonThatDiedWithoutProgressEnds();
    void partOfADaemonThatDiedWithProgressEnds();
    void partOfADaemonThatDiedWithProgressCanBeCancelled();

private:
    void fillStore() override;
    QMailMessageIdList addMessages(int count) const;
    ScriptedDaemon::Call startPart(Retrieval &retrieval);
    QString socketPath() const;
    std::unique_ptr<QLocalSocket> connectProgress() const;

    QMailMessageId m_message;
};

namespace {

/** Writes records in one piece, as a daemon does that reports quickly. */
void report(QLocalSocket &socket, const QList<qint32> &values)
{
    QByteArray records;
    for (qint32 value : values)
        records.append(reinterpret_cast<const char *>(&value), sizeof value);
    socket.write(records);
    socket.flush();
}

bool shows(const ActionWatcher &watcher, uint value)
{
    return watcher.progress().contains({value, 100});
}

} // namespace

void TestRetrieval::fillStore()
{
    m_message = addMessages(1).constFirst();
}

QMailMessageIdList TestRetrieval::addMessages(int count) const
{
    QMailMessageIdList ids;
    for (int i = 0; i < count; ++i)
        ids.append(StoreFixture::addMessage(m_account, folder(QMailFolder::InboxFolder)));
    return ids;
}

/** Has the client retrieve the second part of a message; the daemon's call for it. */
ScriptedDaemon::Call TestRetrieval::startPart(Retrieval &retrieval)
{
    QMailMessagePart::Location location(QStringLiteral("2"));
    location.setContainingMessageId(m_message);
    retrieval.action.retrieveMessagePart(location);
    return m_daemon->waitForCall("downloadAttachment");
}

QString TestRetrieval::socketPath() const
{
    return Activesync::attachmentDowloadNotifierPath(QString::number(m_message.toULongLong()),
                                                     QStringLiteral("2"));
}

/** The daemon's end of the progress socket. */
std::unique_ptr<QLocalSocket> TestRetrieval::connectProgress() const
{
    auto socket = std::make_unique<QLocalSocket>();
    socket->connectToServer(socketPath());
    if (!socket->waitForConnected(5000))
        qWarning("nobody listens for the progress: %s", qPrintable(socket->errorString()));
    return socket;
}

void TestRetrieval::asksForOneFoldersList_data()
{
    QTest::addColumn<uint>("minimum");
    QTest::addRow("no minimum") << 0u;
    QTest::addRow("one message") << 1u;
    QTest::addRow("many messages") << 5000u;
}

void TestRetrieval::asksForOneFoldersList()
{
    QFETCH(uint, minimum);
    m_daemon->answer(Answer::nextId().completing(200));
    const QMailFolderId drafts = folder(QMailFolder::DraftsFolder);
    Retrieval retrieval;
    retrieval.action.retrieveMessageList(m_account, drafts, minimum);
    verifySucceeded(retrieval.watcher);
    QCOMPARE(m_daemon->calls().size(), 1);
    QCOMPARE(m_daemon->waitForCall("syncSpecificFolders").arguments,
             QVariantList({m_account.toULongLong(),
                           QStringList(QString::number(drafts.toULongLong())), 0, 0}));
    QCOMPARE(logCount("retrieving messages list for folder "), 1);
}

void TestRetrieval::asksForEverythingWithoutAFolder()
{
    m_daemon->answer(Answer::nextId().completing(200));
    for (int times = 0; times < 2; ++times) {
        // The second one comes too soon after the first to be worth a call.
        Retrieval retrieval;
        retrieval.action.retrieveMessageList(m_account, QMailFolderId(), 20);
        verifySucceeded(retrieval.watcher);
    }
    QCOMPARE(m_daemon->calls().size(), 1);
    QCOMPARE(m_daemon->waitForCall("sync").arguments, QVariantList {m_account.toULongLong()});
}

void TestRetrieval::asksForSeveralFoldersInTheOrderOfTheClient()
{
    m_daemon->answer(Answer::nextId().completing(200));
    const QMailFolderId sent = folder(QMailFolder::SentFolder);
    const QMailFolderId inbox = folder(QMailFolder::InboxFolder);
    Retrieval retrieval;
    retrieval.action.retrieveMessageLists(m_account, {sent, inbox, sent}, 7);
    verifySucceeded(retrieval.watcher);
    const QString sentText = QString::number(sent.toULongLong());
    const QString inboxText = QString::number(inbox.toULongLong());
    QCOMPARE(m_daemon->waitForCall("syncSpecificFolders").arguments,
             QVariantList(
                 {m_account.toULongLong(), QStringList({sentText, inboxText, sentText}), 30, 0}));
    QCOMPARE(logCount("retrieving messages list for folders in account "), 1);
    QCOMPARE(m_daemon->calls().size(), 1);
}

void TestRetrieval::asksForTheListsOfNoFolder()
{
    // The message server sees nothing to do.
    Retrieval retrieval;
    retrieval.action.retrieveMessageLists(m_account, {}, 7);
    verifySucceeded(retrieval.watcher);
    QCOMPARE(m_daemon->calls().size(), 0);
}

void TestRetrieval::passesOnAFolderThatIsGone()
{
    m_daemon->answer(Answer::nextId().completing(200));
    Retrieval retrieval;
    retrieval.action.retrieveMessageLists(m_account, {QMailFolderId(987654)}, 7);
    verifySucceeded(retrieval.watcher);
    QCOMPARE(m_daemon->waitForCall("syncSpecificFolders").arguments.at(1),
             QVariant(QStringList(QStringLiteral("987654"))));
}

void TestRetrieval::failsAListThatTheDaemonFails()
{
    m_daemon->answer("syncSpecificFolders", Answer::nextId().completing(902));
    Retrieval retrieval;
    retrieval.action.retrieveNewMessages(m_account, {folder(QMailFolder::InboxFolder)});
    verifyFailed(retrieval.watcher, 1034);
}

void TestRetrieval::retrievesEachMessageByARequest_data()
{
    QTest::addColumn<QMailRetrievalAction::RetrievalSpecification>("wanted");
    QTest::addRow("flags") << QMailRetrievalAction::Flags;
    QTest::addRow("meta data") << QMailRetrievalAction::MetaData;
    QTest::addRow("content") << QMailRetrievalAction::Content;
    QTest::addRow("auto") << QMailRetrievalAction::Auto;
}

void TestRetrieval::retrievesEachMessageByARequest()
{
    QFETCH(QMailRetrievalAction::RetrievalSpecification, wanted);
    const QMailMessageIdList ids = addMessages(3);
    Retrieval retrieval;
    retrieval.action.retrieveMessages(ids, wanted);
    QList<int> requests;
    for (const QMailMessageId &id : ids) {
        const auto call = m_daemon->waitForCall("downloadMessage");
        QCOMPARE(call.arguments, QVariantList({m_account.toULongLong(), id.toULongLong()}));
        requests.append(call.requestId);
    }
    for (int request : {requests.at(1), requests.at(2)})
        m_daemon->complete(request, 200);
    settle();
    QCOMPARE(retrieval.watcher.endCount(), 0);
    m_daemon->complete(requests.at(0), 200);
    verifySucceeded(retrieval.watcher);
    QCOMPARE(m_daemon->callCount("downloadMessage"), 3);
    QCOMPARE(logCount("Retrieving message "), 3);
}

void TestRetrieval::lastMessageDecidesTheOutcome()
{
    const auto outcome = [this](int first, int last) {
        Retrieval retrieval;
        retrieval.action.retrieveMessages(addMessages(2), QMailRetrievalAction::Content);
        const auto one = m_daemon->waitForCall("downloadMessage");
        const auto two = m_daemon->waitForCall("downloadMessage");
        m_daemon->complete(one.requestId, first);
        m_daemon->complete(two.requestId, last);
        retrieval.watcher.waitForEnd();
        return retrieval.watcher.endCount() == 1 ? retrieval.watcher.errorCode() : -1;
    };
    QCOMPARE(outcome(404, 200), 0);
    QCOMPARE(outcome(200, 404), 1038);
}

void TestRetrieval::retrievesNoMessages()
{
    // The message server finds no account to ask.
    Retrieval retrieval;
    retrieval.action.retrieveMessages({}, QMailRetrievalAction::Content);
    verifyEnded(retrieval.watcher);
    QCOMPARE(m_daemon->calls().size(), 0);
}

void TestRetrieval::retrievesAMessageThatIsGone()
{
    Retrieval retrieval;
    retrieval.action.retrieveMessages({QMailMessageId(987654)}, QMailRetrievalAction::Content);
    QVERIFY(retrieval.watcher.waitForEnd());
    QVERIFY(!retrieval.watcher.succeeded());
    QCOMPARE(retrieval.watcher.endCount(), 1);
    QCOMPARE(m_daemon->calls().size(), 0);
}

void TestRetrieval::retrievesMessagesOfTwoAccounts()
{
    const QMailAccountId other = addSecondAccount();
    const QMailFolderId inbox =
        StoreFixture::addFolder(other, QStringLiteral("Inbox"), QMailFolder::InboxFolder);
    const QMailMessageIdList ids {addMessages(1).constFirst(),
                                  StoreFixture::addMessage(other, inbox)};
    Retrieval retrieval;
    retrieval.action.retrieveMessages(ids, QMailRetrievalAction::Content);
    QMap<qulonglong, ScriptedDaemon::Call> calls;
    for (int i = 0; i < 2; ++i) {
        const auto call = m_daemon->waitForCall("downloadMessage");
        calls.insert(call.accountId(), call);
    }
    QCOMPARE(calls.keys(), QList<qulonglong>({m_account.toULongLong(), other.toULongLong()}));
    QCOMPARE(calls.first().arguments.at(1).toULongLong(), ids.at(0).toULongLong());
    QCOMPARE(calls.last().arguments.at(1).toULongLong(), ids.at(1).toULongLong());
    // For the client the action ends with the first account that is done.
    m_daemon->complete(calls.last().requestId, 200);
    m_daemon->complete(calls.first().requestId, 200);
    verifySucceeded(retrieval.watcher);
    settle();
    QCOMPARE(retrieval.watcher.endCount(), 1);
}

void TestRetrieval::cancelsEveryMessage()
{
    Retrieval retrieval;
    retrieval.action.retrieveMessages(addMessages(3), QMailRetrievalAction::Content);
    QSet<int> requests;
    for (int i = 0; i < 3; ++i)
        requests.insert(m_daemon->waitForCall("downloadMessage").requestId);
    QVERIFY(retrieval.watcher.waitForStart());
    retrieval.action.cancelOperation();
    for (int i = 0; i < 3; ++i) {
        const auto abort = m_daemon->waitForCall("abortRequest");
        QCOMPARE(abort.arguments.at(1).toInt(), 1030);
        QVERIFY(requests.remove(abort.arguments.at(0).toInt()));
    }
    verifyFailed(retrieval.watcher, 1030);
}

void TestRetrieval::endsWhenOneBroadcastOfManyIsLost()
{
    const auto state = pollSoon();
    Retrieval retrieval;
    retrieval.action.retrieveMessages(addMessages(3), QMailRetrievalAction::Content);
    int lost = 0;
    for (int i = 0; i < 3; ++i) {
        const auto call = m_daemon->waitForCall("downloadMessage");
        if (i == 1)
            lost = call.requestId;
        else
            m_daemon->complete(call.requestId, 200);
    }
    m_daemon->answerAlive(0);
    QCOMPARE(m_daemon->waitForCall("isRequestAlive").arguments, QVariantList {lost});
    verifySucceeded(retrieval.watcher);
}

void TestRetrieval::showsAPartsProgress()
{
    Retrieval retrieval;
    const auto call = startPart(retrieval);
    QCOMPARE(call.arguments,
             QVariantList({m_account.toULongLong(), m_message.toULongLong(), QStringLiteral("2")}));
    const auto socket = connectProgress();
    for (qint32 percent : {0, 1, 50, 99, 100}) {
        report(*socket, {percent});
        QTRY_VERIFY(shows(retrieval.watcher, uint(percent)));
    }
    QCOMPARE(retrieval.watcher.endCount(), 0);
    socket->disconnectFromServer();
    succeed(retrieval, call);
    QVERIFY(!QFile::exists(socketPath()));
}

void TestRetrieval::showsOnlyTheLastOfABurst()
{
    Retrieval retrieval;
    const auto call = startPart(retrieval);
    const auto socket = connectProgress();
    report(*socket, {40, 60});
    QTRY_VERIFY(shows(retrieval.watcher, 60));
    QVERIFY(!shows(retrieval.watcher, 40));
    QList<qint32> many;
    for (int i = 0; i < 5000; ++i)
        many.append(61 + i / 200);
    report(*socket, many);
    QTRY_VERIFY(shows(retrieval.watcher, 85));
    succeed(retrieval, call);
}

void TestRetrieval::showsRecordsThatArriveInPieces()
{
    Retrieval retrieval;
    const auto call = startPart(retrieval);
    const auto socket = connectProgress();
    const qint32 second = 80;
    const QByteArray bytes(reinterpret_cast<const char *>(&second), sizeof second);
    const qint32 first = 70;
    socket->write(QByteArray(reinterpret_cast<const char *>(&first), sizeof first) + bytes.left(2));
    socket->flush();
    QTRY_VERIFY(shows(retrieval.watcher, 70));
    QVERIFY(!shows(retrieval.watcher, 80));
    socket->write(bytes.mid(2));
    socket->flush();
    QTRY_VERIFY(shows(retrieval.watcher, 80));
    succeed(retrieval, call);
}

void TestRetrieval::negativeRecordsShowNothing()
{
    Retrieval retrieval;
    const auto call = startPart(retrieval);
    const auto socket = connectProgress();
    report(*socket, {-1});
    report(*socket, {50, -7});
    report(*socket, {30});
    QTRY_VERIFY(shows(retrieval.watcher, 30));
    // What arrives behind it hides a good one.
    QVERIFY(!shows(retrieval.watcher, 50));
    QVERIFY(!shows(retrieval.watcher, uint(-1)));
    QVERIFY(!shows(retrieval.watcher, uint(-7)));
    succeed(retrieval, call);
}

void TestRetrieval::showsMoreThanEverything()
{
    Retrieval retrieval;
    const auto call = startPart(retrieval);
    const auto socket = connectProgress();
    report(*socket, {250});
    QTRY_COMPARE(logCount(" progress changed to  250 of 100"), 1);
    // The client library stops at the full bar.
    QTRY_VERIFY(shows(retrieval.watcher, 100));
    succeed(retrieval, call);
}

void TestRetrieval::closesTheSecondConnection()
{
    Retrieval retrieval;
    const auto call = startPart(retrieval);
    // Both may connect before the server looks at the first.
    const auto socket = connectProgress();
    QLocalSocket second;
    second.connectToServer(socketPath());
    report(*socket, {20});
    QTRY_VERIFY(shows(retrieval.watcher, 20));
    QTRY_COMPARE(second.state(), QLocalSocket::UnconnectedState);
    report(*socket, {40});
    QTRY_VERIFY(shows(retrieval.watcher, 40));
    QLocalSocket third;
    third.connectToServer(socketPath());
    QVERIFY(!third.waitForConnected(1000));
    succeed(retrieval, call);
}

void TestRetrieval::goesOnWhenTheProgressBreaksOff_data()
{
    QTest::addColumn<QByteArray>("lastWords");
    QTest::addRow("between records") << QByteArray();
    QTest::addRow("in the middle of a record") << QByteArray("\x21\x00", 2);
}

void TestRetrieval::goesOnWhenTheProgressBreaksOff()
{
    QFETCH(QByteArray, lastWords);
    Retrieval retrieval;
    const auto call = startPart(retrieval);
    auto socket = connectProgress();
    report(*socket, {20});
    socket->write(lastWords);
    socket->flush();
    QTRY_VERIFY(shows(retrieval.watcher, 20));
    socket->abort();
    QTRY_COMPARE(logCount("disconnected from path"), 1);
    settle();
    QCOMPARE(retrieval.watcher.endCount(), 0);
    fail(retrieval, call, 404, 1038);
}

void TestRetrieval::endsAPartWithoutAnyProgress()
{
    Retrieval retrieval;
    const auto call = startPart(retrieval);
    QVERIFY(QFile::exists(socketPath()));
    succeed(retrieval, call);
    QTRY_VERIFY(!QFile::exists(socketPath()));
}

void TestRetrieval::endsAPartWhoseNameIsTaken()
{
    Retrieval first;
    succeed(first, startPart(first));
    QTRY_VERIFY(!QFile::exists(socketPath()));
    QLocalServer squatter;
    QVERIFY(squatter.listen(socketPath()));

    Retrieval retrieval;
    const auto call = startPart(retrieval);
    QTRY_COMPARE(logCount("server is already listening path"), 1);
    // The bar of the timer instead.
    QTRY_VERIFY(retrieval.watcher.progress().contains({1, 1000}));
    succeed(retrieval, call);
    QVERIFY(!squatter.hasPendingConnections());
}

void TestRetrieval::endsAPartWhoseSocketAKilledServerLeft()
{
    Retrieval lost;
    QVERIFY(startPart(lost).isValid());
    m_server->kill();
    QVERIFY(QFile::exists(socketPath()));
    QVERIFY(m_server->start());
    Retrieval retrieval;
    const auto call = startPart(retrieval);
    QVERIFY(call.isValid());
    succeed(retrieval, call);
}

void TestRetrieval::cancelledPartLeavesNoSocket()
{
    Retrieval cancelled;
    const auto call = startPart(cancelled);
    const auto socket = connectProgress();
    report(*socket, {20});
    QTRY_VERIFY(shows(cancelled.watcher, 20));
    cancelled.action.cancelOperation();
    QCOMPARE(m_daemon->waitForCall("abortRequest").arguments, QVariantList({call.requestId, 1030}));
    verifyFailed(cancelled.watcher, 1030);
    QTRY_VERIFY(!QFile::exists(socketPath()));
    // The daemon finds its connection closed; the next download of the part has its own.
    QTRY_COMPARE(socket->state(), QLocalSocket::UnconnectedState);
    Retrieval again;
    const auto next = startPart(again);
    const auto fresh = connectProgress();
    report(*fresh, {30});
    QTRY_VERIFY(shows(again.watcher, 30));
    succeed(again, next);
}

void TestRetrieval::failedPartLeavesNoSocket()
{
    m_daemon->answerOnce("downloadAttachment", Answer::id(-1));
    Retrieval retrieval;
    QVERIFY(startPart(retrieval).isValid());
    verifyFailed(retrieval.watcher, 1037);
    QTRY_VERIFY(!QFile::exists(socketPath()));
}

void TestRetrieval::partOfADaemonThatDiedWithoutProgressEnds()
{
    const auto state = pollSoon();
    Retrieval retrieval;
    QVERIFY(startPart(retrieval).isValid());
    m_daemon->vanish();
    verifySucceeded(retrieval.watcher);
    // Nobody ended its listener, which keeps the name from the next one and then goes.
    QVERIFY(m_daemon->appear());
    Retrieval second;
    succeed(second, startPart(second));
    QTRY_VERIFY(!QFile::exists(socketPath()));
    Retrieval third;
    const auto call = startPart(third);
    const auto socket = connectProgress();
    report(*socket, {30});
    QTRY_VERIFY(shows(third.watcher, 30));
    succeed(third, call);
}

void TestRetrieval::partOfADaemonThatDiedWithProgressEnds()
{
    Retrieval retrieval;
    QVERIFY(startPart(retrieval).isValid());
    auto socket = connectProgress();
    report(*socket, {99});
    QTRY_VERIFY(shows(retrieval.watcher, 99));
    socket.reset();
    m_daemon->vanish();
    // The timer takes the bar over from the socket, and finds the request dead at its end.
    verifySucceeded(retrieval.watcher);
    QVERIFY(shows(retrieval.watcher, 100));
}

void TestRetrieval::partOfADaemonThatDiedWithProgressCanBeCancelled()
{
    Retrieval retrieval;
    QVERIFY(startPart(retrieval).isValid());
    auto socket = connectProgress();
    report(*socket, {20});
    QTRY_VERIFY(shows(retrieval.watcher, 20));
    socket.reset();
    m_daemon->vanish();
    retrieval.action.cancelOperation();
    verifyFailed(retrieval.watcher, 1030);
}

QTEST_GUILESS_MAIN(TestRetrieval)

#include "tst_retrieval.moc"
