// SPDX-License-Identifier: LGPL-2.1-or-later
//
// MoveItems, Search, Ping, Settings and the acknowledgement of a wipe.
#include "eas/httpchannel.h"
#include "eas/moveitemscommand.h"
#include "eas/pingcommand.h"
#include "eas/searchcommand.h"
#include "eas/settingscommand.h"
#include "eas/wipeacknowledgecommand.h"
#include "tests/eas/sessionfixture.h"
#include "tests/support/folderliteral.h"

#include <QtTest>

using namespace Eas;

namespace {

QByteArray searched(const QByteArray &store, const QByteArray &status = "1")
{
    return ScriptedServer::document("<Search xmlns=\"Search:\"><Status>" + status
                                    + "</Status><Response><Store>" + store
                                    + "</Store></Response></Search>");
}

} // namespace

class TestOtherCommands : public QObject
{
    Q_OBJECT

private slots:
    void movesAreMatchedWithTheirRequests();
    void moveStatuses_data();
    void moveStatuses();
    void aMoveIsNotRepeated();
    void aSearchAsksForAllThatIsWanted();
    void aSearchForLittle();
    void searchResultsAreRead();
    void aSearchWithoutResults_data();
    void aSearchWithoutResults();
    void searchStatuses_data();
    void searchStatuses();
    void aPingNamesItsFolders();
    void aPingThatSeesAChange();
    void pingStatuses_data();
    void pingStatuses();
    void aPingWaitsItsHeartbeat();
    void theDeviceIsDescribed();
    void aWipeIsAcknowledged_data();
    void aWipeIsAcknowledged();
};

void TestOtherCommands::movesAreMatchedWithTheirRequests()
{
    SessionFixture fixture;
    fixture.server.enqueue(ScriptedServer::document(
        "<MoveItems xmlns=\"Move:\">"
        "<Response><SrcMsgId>9</SrcMsgId><Status>1</Status></Response>"
        "<Response><SrcMsgId>2</SrcMsgId><DstMsgId>21</DstMsgId><Status>3</Status></Response>"
        "<Response><SrcMsgId>2</SrcMsgId><DstMsgId>22</DstMsgId><Status>3</Status></Response></"
        "MoveItems>"));
    const FolderId a = "a"_folder;
    const FolderId b = "b"_folder;
    const FolderId trash = "trash"_folder;
    MoveItemsCommand command(fixture.session.get(),
                             {{QStringLiteral("2"), a, trash},
                              {QStringLiteral("2"), b, trash},
                              {QStringLiteral("9"), a, b},
                              {QStringLiteral("5"), a, b}});
    QVERIFY(fixture.run(&command));
    QVERIFY2(command.result().ok(), qPrintable(command.result().text));
    QCOMPARE(command.outcomes().size(), 4);
    QCOMPARE(command.outcomes().at(0).newServerId, QStringLiteral("21"));
    QCOMPARE(command.outcomes().at(1).newServerId, QStringLiteral("22"));
    QCOMPARE(command.outcomes().at(1).kind, MoveOutcome::Moved);
    QCOMPARE(command.outcomes().at(2).kind, MoveOutcome::SourceGone);
    QCOMPARE(command.outcomes().at(3).kind, MoveOutcome::Refused);
    QVERIFY(fixture.xml().startsWith(
        "<MoveItems xmlns=\"Move:\"><Move><SrcMsgId>2</SrcMsgId><SrcFldId>a</SrcFldId>"
        "<DstFldId>trash</DstFldId></Move><Move>"));
}

void TestOtherCommands::moveStatuses_data()
{
    QTest::addColumn<int>("status");
    QTest::addColumn<int>("kind");
    const QList<QPair<int, int>> rows = {
        {1, MoveOutcome::SourceGone}, {2, MoveOutcome::DestinationGone}, {3, MoveOutcome::Moved},
        {4, MoveOutcome::SameFolder}, {5, MoveOutcome::Refused},         {7, MoveOutcome::Locked},
        {0, MoveOutcome::Refused},    {112, MoveOutcome::Refused}};
    for (const auto &row : rows)
        QTest::newRow(QByteArray::number(row.first)) << row.first << row.second;
}

void TestOtherCommands::moveStatuses()
{
    QFETCH(int, status);
    QFETCH(int, kind);
    SessionFixture fixture;
    fixture.server.enqueue(ScriptedServer::document(
        "<MoveItems xmlns=\"Move:\"><Response><SrcMsgId>2</SrcMsgId><Status>"
        + QByteArray::number(status) + "</Status></Response></MoveItems>"));
    const FolderId folder = "a"_folder;
    MoveItemsCommand command(fixture.session.get(), {{QStringLiteral("2"), folder, folder}});
    QVERIFY(fixture.run(&command));
    QCOMPARE(int(command.outcomes().first().kind), kind);
}

void TestOtherCommands::aMoveIsNotRepeated()
{
    SessionFixture fixture;
    fixture.server.enqueue(ScriptedServer::document(
        "<MoveItems xmlns=\"Move:\"><Response><SrcMsgId>1</SrcMsgId><Status>3</Status>"
        "</Response></MoveItems>"));
    fixture.server.enqueue({}, true);
    const QList<MoveRequest> moves = {{QStringLiteral("1"), "a"_folder, "b"_folder}};
    MoveItemsCommand first(fixture.session.get(), moves);
    QVERIFY(fixture.run(&first));
    MoveItemsCommand second(fixture.session.get(), moves);
    QVERIFY(fixture.run(&second));
    QCOMPARE(second.result().code, int(NoConnection));
    QVERIFY(second.isAnswerLost());
    QCOMPARE(fixture.server.requests().size(), 2);
}

void TestOtherCommands::aSearchAsksForAllThatIsWanted()
{
    SessionFixture fixture;
    fixture.server.enqueue(searched("<Status>1</Status>"));
    SearchRequest request;
    request.freeText = QStringLiteral("grüße & mehr");
    request.collectionId = "box%2F1"_folder;
    request.receivedAfter = QDateTime(QDate(2026, 3, 4), QTime(5, 6, 7, 8), Qt::UTC);
    request.receivedBefore = QDateTime(QDate(2026, 3, 5), QTime(1, 0), Qt::OffsetFromUTC, 3600);
    request.first = 100;
    request.last = 149;
    request.body.truncation = 200;
    SearchCommand command(fixture.session.get(), request);
    QVERIFY(fixture.run(&command));
    QVERIFY2(command.result().ok(), qPrintable(command.result().text));
    QCOMPARE(
        QString::fromUtf8(fixture.xml()),
        QStringLiteral("<Search xmlns=\"Search:\"><Store><Name>Mailbox</Name><Query><And><Class "
                       "xmlns=\"AirSync:\">Email</Class>"
                       "<CollectionId xmlns=\"AirSync:\">box%2F1</CollectionId><FreeText>grüße "
                       "&amp; mehr</FreeText>"
                       "<GreaterThan><DateReceived "
                       "xmlns=\"Email:\"/><Value>2026-03-04T05:06:07.008Z</Value></GreaterThan>"
                       "<LessThan><DateReceived "
                       "xmlns=\"Email:\"/><Value>2026-03-05T00:00:00.000Z</Value></LessThan>"
                       "</And></Query><Options><Range>100-149</Range><BodyPreference "
                       "xmlns=\"AirSyncBase:\"><Type>1</Type><TruncationSize>200</TruncationSize>"
                       "</BodyPreference></Options></Store></Search>"));
}

void TestOtherCommands::aSearchForLittle()
{
    SessionFixture fixture;
    fixture.server.enqueue(searched("<Status>1</Status>"));
    SearchRequest request;
    request.freeText = QStringLiteral("x");
    SearchCommand command(fixture.session.get(), request);
    QVERIFY(fixture.run(&command));
    QVERIFY(fixture.xml().contains(
        "<And><Class xmlns=\"AirSync:\">Email</Class><FreeText>x</FreeText></And>"));
    QVERIFY(
        fixture.xml().contains("<Options><RebuildResults/><DeepTraversal/><Range>0-99</Range>"));
}

void TestOtherCommands::searchResultsAreRead()
{
    SessionFixture fixture;
    fixture.server.enqueue(
        searched("<Status>1</Status>"
                 "<Result><LongId>box%2F1+3</LongId><CollectionId "
                 "xmlns=\"AirSync:\">box%2F1</CollectionId><Properties>"
                 "<Subject xmlns=\"Email:\">one</Subject><Body "
                 "xmlns=\"AirSyncBase:\"><Type>1</Type><Data>0123456789</Data></Body>"
                 "</Properties></Result>"
                 "<Result><LongId>box/2+4</LongId><Properties><Subject "
                 "xmlns=\"Email:\">two</Subject></Properties></Result>"
                 "<Range>0-1</Range><Total>7</Total>"));
    SearchRequest request;
    request.body.truncation = 4;
    SearchCommand command(fixture.session.get(), request);
    QVERIFY(fixture.run(&command));
    QVERIFY(command.result().ok());
    QCOMPARE(command.total(), 7);
    QCOMPARE(command.hits().size(), 2);
    QCOMPARE(command.hits().at(0).longId, QStringLiteral("box%2F1+3"));
    QCOMPARE(command.hits().at(0).collectionId, QStringLiteral("box%2F1"));
    QCOMPARE(*command.hits().at(0).item.subject, QStringLiteral("one"));
    QCOMPARE(command.hits().at(0).item.body->data, QByteArray("0123"));
    QVERIFY(command.hits().at(1).collectionId.isEmpty() && !command.hits().at(1).item.body);
}

void TestOtherCommands::aSearchWithoutResults_data()
{
    QTest::addColumn<QByteArray>("answer");
    QTest::newRow("no result") << searched("<Status>1</Status><Range>0-0</Range><Total>0</Total>");
    QTest::newRow("an empty result") << searched("<Status>1</Status><Result/>");
    QTest::newRow("past the end") << searched("<Status>12</Status>");
}

void TestOtherCommands::aSearchWithoutResults()
{
    QFETCH(QByteArray, answer);
    SessionFixture fixture;
    fixture.server.enqueue(answer);
    SearchCommand command(fixture.session.get(), {});
    QVERIFY(fixture.run(&command));
    QVERIFY(command.result().ok());
    QVERIFY(command.hits().isEmpty());
    QCOMPARE(command.total(), 0);
}

void TestOtherCommands::searchStatuses_data()
{
    QTest::addColumn<QByteArray>("answer");
    QTest::addColumn<int>("code");
    QTest::newRow("3 for all") << searched({}, "3") << int(ServerFailed);
    QTest::newRow("8 for the store") << searched("<Status>8</Status>") << int(ServerFailed);
    QTest::newRow("10") << searched("<Status>10</Status>") << int(Timeout);
    QTest::newRow("11") << searched("<Status>11</Status>") << int(NotFound);
    QTest::newRow("5") << searched("<Status>5</Status>") << int(Forbidden);
    QTest::newRow("14") << searched("<Status>14</Status>") << int(LoginRefused);
    QTest::newRow("none") << searched({}) << int(ServerFailed);
    QTest::newRow("HTTP 500") << ScriptedServer::http(500) << int(ServerFailed);
    QTest::newRow("empty") << ScriptedServer::http(200) << int(InvalidAnswer);
}

void TestOtherCommands::searchStatuses()
{
    QFETCH(QByteArray, answer);
    QFETCH(int, code);
    SessionFixture fixture;
    fixture.server.enqueue(answer);
    SearchCommand command(fixture.session.get(), {});
    QVERIFY(fixture.run(&command));
    QCOMPARE(command.result().code, code);
}

void TestOtherCommands::aPingNamesItsFolders()
{
    SessionFixture fixture;
    fixture.server.enqueue(
        ScriptedServer::document("<Ping xmlns=\"Ping:\"><Status>1</Status></Ping>"));
    PingCommand command(fixture.session.get(), 480, {"a"_folder, "b"_folder});
    QVERIFY(fixture.run(&command));
    QVERIFY(command.result().ok());
    QVERIFY(command.changedFolders().isEmpty());
    QCOMPARE(fixture.xml(),
             QByteArray("<Ping xmlns=\"Ping:\"><HeartbeatInterval>480</HeartbeatInterval><Folders>"
                        "<Folder><Id>a</Id><Class>Email</Class></Folder>"
                        "<Folder><Id>b</Id><Class>Email</Class></Folder></Folders></Ping>"));
}

void TestOtherCommands::aPingThatSeesAChange()
{
    SessionFixture fixture;
    fixture.server.enqueue(ScriptedServer::document(
        "<Ping xmlns=\"Ping:\"><Status>2</Status><Folders><Folder>b</Folder>"
        "<Folder>c</Folder></Folders></Ping>"));
    PingCommand command(fixture.session.get(), 480, {"b"_folder});
    QVERIFY(fixture.run(&command));
    QVERIFY(command.result().ok());
    QCOMPARE(command.changedFolders(), (QList<FolderId> {"b"_folder, "c"_folder}));
}

void TestOtherCommands::pingStatuses_data()
{
    QTest::addColumn<QByteArray>("content");
    QTest::addColumn<int>("code");
    QTest::addColumn<int>("heartbeat");
    QTest::addColumn<int>("folders");
    QTest::newRow("3") << QByteArray("<Status>3</Status>") << int(ServerFailed) << 0 << 0;
    QTest::newRow("5") << QByteArray("<Status>5</Status><HeartbeatInterval>600</HeartbeatInterval>")
                       << int(ServerFailed) << 600 << 0;
    QTest::newRow("6") << QByteArray("<Status>6</Status><MaxFolders>200</MaxFolders>")
                       << int(ServerFailed) << 0 << 200;
    QTest::newRow("7") << QByteArray("<Status>7</Status>") << int(NotFound) << 0 << 0;
    QTest::newRow("8") << QByteArray("<Status>8</Status>") << int(ServerFailed) << 0 << 0;
    QTest::newRow("129") << QByteArray("<Status>129</Status>") << int(Forbidden) << 0 << 0;
}

void TestOtherCommands::pingStatuses()
{
    QFETCH(QByteArray, content);
    QFETCH(int, code);
    QFETCH(int, heartbeat);
    QFETCH(int, folders);
    SessionFixture fixture;
    fixture.server.enqueue(
        ScriptedServer::document("<Ping xmlns=\"Ping:\">" + content + "</Ping>"));
    PingCommand command(fixture.session.get(), 480, {"b"_folder});
    QVERIFY(fixture.run(&command));
    QCOMPARE(command.result().code, code);
    QCOMPARE(command.heartbeat(), heartbeat);
    QCOMPARE(command.maxFolders(), folders);
}

void TestOtherCommands::aPingWaitsItsHeartbeat()
{
    SessionFixture fixture;
    HttpTimes times;
    times.answer = times.idle = 1;
    times.waitingGrace = 100;
    fixture.session->channel()->setTimes(times);
    QElapsedTimer timer;
    timer.start();
    PingCommand command(fixture.session.get(), 1, {"b"_folder});
    QVERIFY(fixture.run(&command));
    QCOMPARE(command.result().code, int(Timeout));
    QVERIFY(timer.elapsed() >= 1000);
}

void TestOtherCommands::theDeviceIsDescribed()
{
    SessionFixture fixture;
    fixture.server.enqueue(ScriptedServer::document(
        "<Settings xmlns=\"Settings:\"><Status>1</Status><DeviceInformation>"
        "<Status>1</Status></DeviceInformation></Settings>"));
    fixture.server.enqueue(
        ScriptedServer::document("<Settings xmlns=\"Settings:\"><Status>2</Status></Settings>"));
    SettingsCommand command(fixture.session.get());
    QVERIFY(fixture.run(&command));
    QVERIFY(command.result().ok());
    SettingsCommand refused(fixture.session.get());
    QVERIFY(fixture.run(&refused));
    QCOMPARE(refused.result().code, int(ServerFailed));
}

void TestOtherCommands::aWipeIsAcknowledged_data()
{
    QTest::addColumn<bool>("removed");
    QTest::newRow("removed") << true;
    QTest::newRow("not removed") << false;
}

void TestOtherCommands::aWipeIsAcknowledged()
{
    QFETCH(bool, removed);
    SessionFixture fixture;
    fixture.server.enqueue(
        ScriptedServer::document("<Provision xmlns=\"Provision:\"><Status>1</Status></Provision>"));
    WipeAcknowledgeCommand command(fixture.session.get(), removed);
    QVERIFY(fixture.run(&command));
    QVERIFY(command.result().ok());
    QCOMPARE(fixture.xml(),
             "<Provision xmlns=\"Provision:\"><RemoteWipe><Status>"
                 + QByteArray(removed ? "1" : "2") + "</Status></RemoteWipe></Provision>");
}

QTEST_GUILESS_MAIN(TestOtherCommands)
#include "tst_othercommands.moc"
