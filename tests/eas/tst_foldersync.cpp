// SPDX-License-Identifier: LGPL-2.1-or-later
//
// FolderSync: the whole tree, what has changed, and what a server can say instead.
#include "eas/foldersynccommand.h"
#include "eas/wbxmlwriter.h"
#include "tests/eas/sessionfixture.h"
#include "tests/support/folderliteral.h"

#include <QtTest>

using namespace Eas;

namespace {

QByteArray answerWithStatus(int status)
{
    return ScriptedServer::document("<FolderSync xmlns=\"FolderHierarchy:\"><Status>"
                                    + QByteArray::number(status) + "</Status></FolderSync>");
}

} // namespace

class TestFolderSync : public QObject
{
    Q_OBJECT

private slots:
    void theWholeTree();
    void whatHasChanged();
    void nothingHasChanged();
    void aFolderWithoutAnIdIsLeftOut();
    void tooManyFoldersAreRefused();
    void aLongNameIsCut();
    void aLostAnswerIsKnown_data();
    void aLostAnswerIsKnown();
    void aRequestThatNeverLeftIsNotLost();
    void anAnswerToARepetitionIsNotTheFirst();
    void statuses_data();
    void statuses();
    void rubbishIsAnInvalidAnswer_data();
    void rubbishIsAnInvalidAnswer();
};

void TestFolderSync::theWholeTree()
{
    SessionFixture fixture;
    fixture.server.enqueue(
        ScriptedServer::document("<FolderSync "
                                 "xmlns=\"FolderHierarchy:\"><Status>1</Status><SyncKey>key-1</"
                                 "SyncKey><Changes><Count>3</Count>"
                                 "<Add><ServerId>box%2F1</ServerId><ParentId>0</"
                                 "ParentId><DisplayName>Inbox</DisplayName><Type>2</Type></Add>"
                                 "<Add><ServerId>box%2F2</ServerId><ParentId>box%2F1</"
                                 "ParentId><DisplayName>Grüße &amp; mehr</DisplayName>"
                                 "<Type>12</Type></Add>"
                                 "<Add><ServerId>cal</ServerId><ParentId>0</"
                                 "ParentId><DisplayName>Calendar</DisplayName><Type>8</Type></Add>"
                                 "</Changes></FolderSync>"));
    FolderSyncCommand command(fixture.session.get(), QStringLiteral("0"));
    QVERIFY(fixture.run(&command));
    QVERIFY2(command.result().ok(), qPrintable(command.result().text));
    QCOMPARE(
        fixture.xml(),
        QByteArray("<FolderSync xmlns=\"FolderHierarchy:\"><SyncKey>0</SyncKey></FolderSync>"));
    const FolderChanges &changes = command.changes();
    QCOMPARE(changes.syncKey, QStringLiteral("key-1"));
    QVERIFY(changes.complete);
    QCOMPARE(changes.added.size(), 3);
    QCOMPARE(changes.added.at(0).serverId, "box%2F1"_folder);
    QCOMPARE(changes.added.at(0).type, int(Inbox));
    QCOMPARE(changes.added.at(1).parentId, "box%2F1"_folder);
    QCOMPARE(changes.added.at(1).displayName, QStringLiteral("Grüße & mehr"));
    QVERIFY(changes.added.at(1).isMail());
    QVERIFY(!changes.added.at(2).isMail());
    QVERIFY(changes.updated.isEmpty() && changes.removed.isEmpty());
}

void TestFolderSync::whatHasChanged()
{
    SessionFixture fixture;
    fixture.server.enqueue(ScriptedServer::document(
        "<FolderSync "
        "xmlns=\"FolderHierarchy:\"><Status>1</Status><SyncKey>key-2</SyncKey><Changes><Count>3</"
        "Count>"
        "<Update><ServerId>a</ServerId><ParentId>0</ParentId><DisplayName>New "
        "name</DisplayName><Type>12</Type></Update>"
        "<Delete><ServerId>b</ServerId></Delete>"
        "<Add><ServerId>c</ServerId><ParentId>a</ParentId><DisplayName>C</DisplayName><Type>12</"
        "Type></Add>"
        "</Changes></FolderSync>"));
    FolderSyncCommand command(fixture.session.get(), QStringLiteral("key-1"));
    QVERIFY(fixture.run(&command));
    QVERIFY(command.result().ok());
    QVERIFY(!command.changes().complete);
    QCOMPARE(command.changes().updated.first().displayName, QStringLiteral("New name"));
    QCOMPARE(command.changes().removed, QList<FolderId> {"b"_folder});
    QCOMPARE(command.changes().added.first().serverId, "c"_folder);
}

void TestFolderSync::nothingHasChanged()
{
    SessionFixture fixture;
    fixture.server.enqueue(
        ScriptedServer::document("<FolderSync "
                                 "xmlns=\"FolderHierarchy:\"><Status>1</Status><SyncKey>key-1</"
                                 "SyncKey><Changes><Count>0</Count>"
                                 "</Changes></FolderSync>"));
    FolderSyncCommand command(fixture.session.get(), QStringLiteral("key-1"));
    QVERIFY(fixture.run(&command));
    QVERIFY(command.result().ok());
    QCOMPARE(command.changes().syncKey, QStringLiteral("key-1"));
    QVERIFY(command.changes().added.isEmpty());
}

void TestFolderSync::aFolderWithoutAnIdIsLeftOut()
{
    SessionFixture fixture;
    fixture.server.enqueue(ScriptedServer::document(
        "<FolderSync xmlns=\"FolderHierarchy:\"><Status>1</Status><SyncKey>k</SyncKey><Changes>"
        "<Add><ParentId>0</ParentId><DisplayName>Nobody</DisplayName><Type>12</Type></Add>"
        "<Add><ServerId>"
        + QByteArray(Limits::ServerIdLength + 1, 'x')
        + "</ServerId><Type>12</Type></Add>"
          "<Add><ServerId>a</ServerId><ParentId>0</ParentId><DisplayName>A</DisplayName><Type>12</"
          "Type></Add>"
          "</Changes></FolderSync>"));
    FolderSyncCommand command(fixture.session.get(), QStringLiteral("0"));
    QVERIFY(fixture.run(&command));
    QVERIFY(command.result().ok());
    QCOMPARE(command.changes().added.size(), 1);
    QCOMPARE(command.changes().added.first().serverId, "a"_folder);
}

void TestFolderSync::tooManyFoldersAreRefused()
{
    namespace F = Tags::FolderHierarchy;
    QByteArray bytes;
    WbxmlWriter writer(&bytes);
    writer.startDocument();
    writer.startElement(F::FolderSync);
    writer.element(F::Status, 1);
    writer.element(F::SyncKey, QStringLiteral("k"));
    writer.startElement(F::Changes);
    for (int i = 0; i <= Limits::Folders; ++i) {
        writer.startElement(F::Add);
        writer.element(F::ServerId, i);
        writer.endElement();
    }
    writer.endDocument();
    SessionFixture fixture;
    fixture.server.enqueue(ScriptedServer::http(200, bytes));
    FolderSyncCommand command(fixture.session.get(), QStringLiteral("0"));
    QVERIFY(fixture.run(&command));
    QCOMPARE(command.result().code, int(InvalidAnswer));
}

void TestFolderSync::aLongNameIsCut()
{
    SessionFixture fixture;
    fixture.server.enqueue(ScriptedServer::document(
        "<FolderSync "
        "xmlns=\"FolderHierarchy:\"><Status>1</Status><SyncKey>k</"
        "SyncKey><Changes><Add><ServerId>a</ServerId>"
        "<DisplayName>"
        + QByteArray(100000, 'n') + "</DisplayName></Add></Changes></FolderSync>"));
    FolderSyncCommand command(fixture.session.get(), QStringLiteral("0"));
    QVERIFY(fixture.run(&command));
    QCOMPARE(command.changes().added.first().displayName.size(), Limits::FolderNameLength);
}

void TestFolderSync::aLostAnswerIsKnown_data()
{
    QTest::addColumn<QByteArray>("answer");
    QTest::addColumn<bool>("isLost");
    const QByteArray whole = ScriptedServer::document(
        "<FolderSync xmlns=\"FolderHierarchy:\"><Status>1</Status><SyncKey>2</SyncKey>"
        "</FolderSync>");
    QTest::newRow("heard") << whole << false;
    QTest::newRow("none") << QByteArray() << true;
    QTest::newRow("cut") << whole.left(whole.size() - 3) << true;
    QTest::newRow("no document") << ScriptedServer::http(200, "<html>") << true;
    QTest::newRow("a gateway that waited in vain") << ScriptedServer::http(504) << true;
    QTest::newRow("busy") << ScriptedServer::http(503) << false;
    QTest::newRow("unheard by the server") << ScriptedServer::http(408) << false;
    QTest::newRow("its own refusal") << answerWithStatus(10) << false;
}

void TestFolderSync::aLostAnswerIsKnown()
{
    QFETCH(QByteArray, answer);
    QFETCH(bool, isLost);
    SessionFixture fixture;
    fixture.server.enqueue(answer, true);
    FolderSyncCommand command(fixture.session.get(), QStringLiteral("1"));
    QVERIFY(fixture.run(&command));
    QCOMPARE(command.isAnswerLost(), isLost);
}

void TestFolderSync::aRequestThatNeverLeftIsNotLost()
{
    SessionFixture fixture;
    fixture.server.close();
    FolderSyncCommand command(fixture.session.get(), QStringLiteral("1"));
    QVERIFY(fixture.run(&command));
    QCOMPARE(command.result().code, int(NoConnection));
    QVERIFY(!command.isAnswerLost());
}

void TestFolderSync::anAnswerToARepetitionIsNotTheFirst()
{
    const QByteArray answer = ScriptedServer::document(
        "<FolderSync xmlns=\"FolderHierarchy:\"><Status>1</Status><SyncKey>2</SyncKey>"
        "</FolderSync>");
    SessionFixture fixture;
    fixture.server.enqueue(answer);
    FolderSyncCommand first(fixture.session.get(), QStringLiteral("1"));
    QVERIFY(fixture.run(&first));
    QVERIFY(!first.isAnswerLost());
    fixture.server.enqueue({}, true);
    fixture.server.enqueue(answer);
    FolderSyncCommand second(fixture.session.get(), QStringLiteral("1"));
    QVERIFY(fixture.run(&second));
    QVERIFY2(second.result().ok(), qPrintable(second.result().text));
    QVERIFY(second.isAnswerLost());
    QCOMPARE(fixture.server.requests().size(), 3);
}

void TestFolderSync::statuses_data()
{
    QTest::addColumn<int>("status");
    QTest::addColumn<int>("code");
    QTest::addColumn<bool>("keyLost");
    QTest::newRow("server error") << 6 << int(ServerFailed) << false;
    QTest::newRow("key refused") << 9 << int(ServerFailed) << true;
    QTest::newRow("malformed") << 10 << int(ServerFailed) << false;
    QTest::newRow("unknown") << 77 << int(ServerFailed) << false;
    QTest::newRow("access denied") << 112 << int(Forbidden) << false;
    QTest::newRow("quota") << 113 << int(NoRoom) << false;
    QTest::newRow("device blocked") << 129 << int(Forbidden) << false;
    QTest::newRow("state lost") << 132 << int(ServerFailed) << true;
    QTest::newRow("state damaged") << 134 << int(ServerFailed) << true;
    QTest::newRow("device not provisionable") << 141 << int(PolicyDemanded) << false;
    QTest::newRow("externally managed") << 145 << int(PolicyDemanded) << false;
    QTest::newRow("too many devices") << 177 << int(Forbidden) << false;
    QTest::newRow("none") << 0 << int(ServerFailed) << false;
}

void TestFolderSync::statuses()
{
    QFETCH(int, status);
    QFETCH(int, code);
    QFETCH(bool, keyLost);
    SessionFixture fixture;
    fixture.server.enqueue(answerWithStatus(status));
    FolderSyncCommand command(fixture.session.get(), QStringLiteral("key"));
    QVERIFY(fixture.run(&command));
    QCOMPARE(command.result().code, code);
    QVERIFY(command.result().text.startsWith(QStringLiteral("status %1: ").arg(status)));
    QCOMPARE(command.result().outcome == Outcome::KeyLost, keyLost);
    QCOMPARE(fixture.server.requests().size(), 1);
}

void TestFolderSync::rubbishIsAnInvalidAnswer_data()
{
    QTest::addColumn<QByteArray>("body");
    QTest::newRow("nothing") << QByteArray();
    QTest::newRow("a page of the web") << QByteArray("<html>Welcome to the hotel</html>");
    QTest::newRow("another command's answer") << QByteArray::fromHex("03016a00454e033100 01 01");
    QTest::newRow("no key") << QByteArray::fromHex("03016a000007564c03310001"
                                                   "01");
    QTest::newRow("cut in the middle") << QByteArray::fromHex("03016a000007564c033100015203");
}

void TestFolderSync::rubbishIsAnInvalidAnswer()
{
    QFETCH(QByteArray, body);
    SessionFixture fixture;
    fixture.server.enqueue(ScriptedServer::http(200, body));
    FolderSyncCommand command(fixture.session.get(), QStringLiteral("0"));
    QVERIFY(fixture.run(&command));
    QCOMPARE(command.result().code, int(InvalidAnswer));
    QVERIFY(!command.result().text.isEmpty());
}

QTEST_GUILESS_MAIN(TestFolderSync)
#include "tst_foldersync.moc"
