// SPDX-License-Identifier: LGPL-2.1-or-later
//
// Sync: what is asked, what each part of an answer becomes, and what one bad item cannot do.
#include "eas/synccommand.h"
#include "tests/eas/sessionfixture.h"
#include "tests/eas/wbxmlxml.h"
#include "tests/support/folderliteral.h"

#include <QtTest>

using namespace Eas;

namespace {

const FolderId Box = "box%2F11"_folder;

SyncRequest requestFor(const QString &key, const FolderId &collection = Box)
{
    SyncRequest request;
    request.collectionId = collection;
    request.syncKey = key;
    return request;
}

QByteArray collection(const QByteArray &content, const QByteArray &id = "box%2F11")
{
    return "<Sync xmlns=\"AirSync:\"><Collections><Collection><SyncKey>k2</SyncKey><CollectionId>"
        + id + "</CollectionId><Status>1</Status>" + content + "</Collection></Collections></Sync>";
}

QByteArray add(const QByteArray &properties, const QByteArray &id = "7")
{
    return "<Add><ServerId>" + id + "</ServerId><ApplicationData>" + properties
        + "</ApplicationData></Add>";
}

} // namespace

class TestSync : public QObject
{
    Q_OBJECT

private slots:
    void keyZeroAsksForNothingElse();
    void zeroIsNoKeyToGoOnWith();
    void theRequestHasItsElementsInOrder();
    void truncationIsToldInBothWays_data();
    void truncationIsToldInBothWays();
    void previewsAreAskedOfServersThatKnowThem();
    void localChangesTravel();
    void everyPropertyIsRead();
    void aConversationIsAnyBytes_data();
    void aConversationIsAnyBytes();
    void aChangeMayTellAConversation();
    void aBodyOfWholeMimeComesByteForByte();
    void aBodyIsCutWhereTheServerSendsMore_data();
    void aBodyIsCutWhereTheServerSendsMore();
    void aLongBodyDoesNotHoldUpItsFolder();
    void anEmptyAnswerMeansNoChange();
    void aFolderThatIsNotMentionedIsUnchanged();
    void severalFoldersInOneAnswer();
    void refusedChangesAreTold();
    void numbersBeyondAllSenseAreBounded();
    void countlessCollectionsAreRefused();
    void anItemThatCannotBeReadIsLeftOut();
    void aFlagTellsWhetherItHasDates();
    void oddValuesAreTakenAsAbsent();
    void aFolderStatus_data();
    void aFolderStatus();
    void aStatusForAllFolders_data();
    void aStatusForAllFolders();
    void damagedAnswersChangeNothing();
    void unknownElementsArePassedOver();

private:
    void answer(const QByteArray &xml, const QList<SyncRequest> &requests, SyncWindow *window);
};

/** The window that an answer makes of the first request. */
void TestSync::answer(const QByteArray &xml, const QList<SyncRequest> &requests, SyncWindow *window)
{
    SessionFixture fixture;
    fixture.server.enqueue(ScriptedServer::document(xml));
    SyncCommand command(fixture.session.get(), requests);
    QVERIFY(fixture.run(&command));
    QVERIFY2(command.result().ok(), qPrintable(command.result().text));
    QCOMPARE(command.windows().size(), requests.size());
    *window = command.windows().first();
}

void TestSync::keyZeroAsksForNothingElse()
{
    SessionFixture fixture;
    fixture.server.enqueue(ScriptedServer::document(
        "<Sync "
        "xmlns=\"AirSync:\"><Collections><Collection><Class>Email</Class><SyncKey>-1</SyncKey>"
        "<CollectionId>box%2F11</CollectionId><Status>1</Status></Collection></Collections></"
        "Sync>"));
    SyncCommand command(fixture.session.get(), {requestFor(QStringLiteral("0"))});
    QVERIFY(fixture.run(&command));
    QVERIFY(command.result().ok());
    QCOMPARE(fixture.xml(),
             QByteArray("<Sync xmlns=\"AirSync:\"><Collections><Collection><SyncKey>0</SyncKey>"
                        "<CollectionId>box%2F11</CollectionId></Collection></Collections></Sync>"));
    const SyncWindow &window = command.windows().first();
    QVERIFY(window.initial && !window.unchanged);
    QCOMPARE(window.syncKey, QStringLiteral("-1"));
    QCOMPARE(window.collectionId, Box);
}

void TestSync::zeroIsNoKeyToGoOnWith()
{
    for (const auto &key : {QStringLiteral("0"), QStringLiteral("k1")}) {
        SessionFixture fixture;
        fixture.server.enqueue(
            ScriptedServer::document(collection({}).replace("k2</SyncKey>", "0</SyncKey>")));
        SyncCommand command(fixture.session.get(), {requestFor(key)});
        QVERIFY(fixture.run(&command));
        QCOMPARE(command.result().code, int(InvalidAnswer));
    }
}

void TestSync::theRequestHasItsElementsInOrder()
{
    SessionFixture fixture;
    fixture.server.enqueue(ScriptedServer::document(collection({})));
    SyncRequest request = requestFor(QStringLiteral("k1"));
    request.windowSize = 1000;
    request.filter = FilterType::TwoWeeks;
    request.body.truncation = 4096;
    request.deletesAsMoves = false;
    request.getChanges = false;
    request.deleted = QStringList {QStringLiteral("9")};
    SyncCommand command(fixture.session.get(), {request});
    QVERIFY(fixture.run(&command));
    QCOMPARE(fixture.xml(),
             QByteArray("<Sync xmlns=\"AirSync:\"><Collections><Collection><SyncKey>k1</SyncKey>"
                        "<CollectionId>box%2F11</CollectionId><DeletesAsMoves>0</"
                        "DeletesAsMoves><GetChanges>0</GetChanges>"
                        "<WindowSize>512</WindowSize><Options><FilterType>4</"
                        "FilterType><MIMETruncation>1</MIMETruncation>"
                        "<BodyPreference "
                        "xmlns=\"AirSyncBase:\"><Type>1</Type><TruncationSize>4096</TruncationSize>"
                        "</BodyPreference></Options><Commands><Delete><ServerId>9</ServerId></"
                        "Delete></Commands>"
                        "</Collection></Collections></Sync>"));
    QVERIFY(!command.windows().first().initial);
}

void TestSync::truncationIsToldInBothWays_data()
{
    QTest::addColumn<qint64>("bytes");
    QTest::addColumn<int>("step");
    const QList<QPair<qint64, int>> rows = {{0, 0},      {1, 1},       {4096, 1},  {4097, 2},
                                            {5120, 2},   {20000, 5},   {51200, 6}, {102400, 7},
                                            {102401, 8}, {10000000, 8}};
    for (const auto &row : rows)
        QTest::newRow(QByteArray::number(row.first)) << row.first << row.second;
}

void TestSync::truncationIsToldInBothWays()
{
    QFETCH(qint64, bytes);
    QFETCH(int, step);
    SessionFixture fixture;
    fixture.server.enqueue(ScriptedServer::document(collection({})));
    SyncRequest request = requestFor(QStringLiteral("k1"));
    request.body.truncation = bytes;
    SyncCommand command(fixture.session.get(), {request});
    QVERIFY(fixture.run(&command));
    QVERIFY2(
        fixture.xml().contains("<MIMETruncation>" + QByteArray::number(step) + "</MIMETruncation>"),
        fixture.xml().constData());
    QVERIFY(fixture.xml().contains("<TruncationSize>" + QByteArray::number(bytes)
                                   + "</TruncationSize>"));
}

void TestSync::previewsAreAskedOfServersThatKnowThem()
{
    for (const char *version : {"12.1", "14.0", "14.1"}) {
        SessionFixture fixture(version);
        fixture.server.enqueue(ScriptedServer::document(collection({})));
        SyncRequest request = requestFor(QStringLiteral("k1"));
        request.body.type = Mime;
        request.body.preview = 1000;
        SyncCommand command(fixture.session.get(), {request});
        QVERIFY(fixture.run(&command));
        QCOMPARE(fixture.xml().contains("<Preview>255</Preview>"), qstrcmp(version, "12.1") != 0);
        QVERIFY(fixture.xml().contains("<MIMESupport>2</MIMESupport>"));
        QVERIFY(!fixture.xml().contains("Truncation"));
        QCOMPARE(fixture.server.requests().last().headers.value("ms-asprotocolversion"),
                 QByteArray(version));
    }
}

void TestSync::localChangesTravel()
{
    SessionFixture fixture;
    fixture.server.enqueue(ScriptedServer::document(collection({})));
    SyncRequest request = requestFor(QStringLiteral("k1"));
    LocalChange read {QStringLiteral("1"), true, {}};
    LocalChange unread {QStringLiteral("2"), false, FlagStatus::Active};
    LocalChange cleared {QStringLiteral("3"), {}, FlagStatus::Clear};
    request.changed = {read, unread, cleared};
    request.deleted = QStringList {QStringLiteral("4"), QStringLiteral("5")};
    SyncCommand command(fixture.session.get(), {request});
    QVERIFY(fixture.run(&command));
    const QByteArray sent = fixture.xml();
    const QByteArray commands = sent.mid(sent.indexOf("<Commands>"));
    QCOMPARE(
        commands,
        QByteArray("<Commands>"
                   "<Change><ServerId>1</ServerId><ApplicationData><Read "
                   "xmlns=\"Email:\">1</Read></ApplicationData></Change>"
                   "<Change><ServerId>2</ServerId><ApplicationData><Read xmlns=\"Email:\">0</Read>"
                   "<Flag xmlns=\"Email:\"><Status>2</Status><FlagType>Flag for follow "
                   "up</FlagType></Flag>"
                   "</ApplicationData></Change>"
                   "<Change><ServerId>3</ServerId><ApplicationData><Flag "
                   "xmlns=\"Email:\"/></ApplicationData></Change>"
                   "<Delete><ServerId>4</ServerId></Delete><Delete><ServerId>5</ServerId></Delete>"
                   "</Commands></Collection></Collections></Sync>"));
}

void TestSync::everyPropertyIsRead()
{
    SessionFixture fixture;
    fixture.server.enqueue(ScriptedServer::http(200, WbxmlXml::fromFile("sync-first-window.xml")));
    SyncCommand command(fixture.session.get(), {requestFor(QStringLiteral("k1"))});
    QVERIFY(fixture.run(&command));
    QVERIFY2(command.result().ok(), qPrintable(command.result().text));
    const SyncWindow &window = command.windows().first();
    QCOMPARE(window.syncKey, QStringLiteral("7-81"));
    QVERIFY(window.result.ok());
    QVERIFY(window.moreAvailable && !window.unchanged && !window.initial);
    QCOMPARE(window.added.size(), 2);
    const MailItem &item = window.added.first();
    QCOMPARE(item.serverId, QStringLiteral("31"));
    QCOMPARE(*item.to, QStringLiteral("\"Wanda Field\" <wanda@here.example>, ops@here.example"));
    QCOMPARE(*item.cc, QStringLiteral("\"Third, Party\" <third@there.example>"));
    QCOMPARE(*item.from, QStringLiteral("\"Jörg Müller\" <jorg@there.example>"));
    QCOMPARE(*item.replyTo, QStringLiteral("answers@there.example"));
    QCOMPARE(*item.sender, QStringLiteral("boss@there.example"));
    QCOMPARE(*item.subject, QStringLiteral("Größe & Maß — 测试"));
    QCOMPARE(*item.dateReceived, QDateTime(QDate(2026, 3, 4), QTime(5, 6, 7, 89), Qt::UTC));
    QCOMPARE(*item.importance, 2);
    QCOMPARE(*item.read, false);
    QVERIFY(*item.flag == FlagStatus::Active);
    QCOMPARE(*item.conversationId, QByteArray("thread one"));
    QCOMPARE(*item.lastVerb, 3);
    QVERIFY(item.body->type == PlainText && item.body->truncated);
    QCOMPARE(item.body->data, QByteArray("Hello, wörld <all>"));
    QCOMPARE(item.body->estimatedSize, qint64(2048));
    QCOMPARE(item.body->preview, QStringLiteral("Hello"));
    QCOMPARE(item.attachments->size(), 2);
    QCOMPARE(item.attachments->at(0).displayName, QStringLiteral("plan ö.pdf"));
    QCOMPARE(item.attachments->at(0).fileReference, QStringLiteral("att/11/31/2"));
    QCOMPARE(item.attachments->at(0).estimatedSize, qint64(51234));
    QVERIFY(!item.attachments->at(0).isInline);
    QCOMPARE(item.attachments->at(1).contentId, QStringLiteral("logo@there"));
    QCOMPARE(item.attachments->at(1).contentLocation, QStringLiteral("logo.png"));
    QCOMPARE(item.attachments->at(1).method, 6);
    QVERIFY(item.attachments->at(1).isInline);
    const MailItem &second = window.added.at(1);
    QVERIFY(*second.read && *second.flag == FlagStatus::Clear);
    QVERIFY(!second.subject && !second.to && !second.body && !second.attachments
            && !second.dateReceived);
    QCOMPARE(window.changed.size(), 1);
    QCOMPARE(window.changed.first().serverId, QStringLiteral("20"));
    QVERIFY(*window.changed.first().read && !window.changed.first().flag
            && !window.changed.first().subject);
    QCOMPARE(window.removed, QStringList {QStringLiteral("18")});
    QCOMPARE(window.outOfRange, QStringList {QStringLiteral("5")});
    QVERIFY(window.refused.isEmpty() && window.unreadable.isEmpty());
}

void TestSync::aConversationIsAnyBytes_data()
{
    QTest::addColumn<QByteArray>("onTheWire");
    QTest::addColumn<QByteArray>("read");
    QTest::newRow("bytes") << QByteArray("\xc3\x04\x00\xff\x03\x80", 6)
                           << QByteArray("\x00\xff\x03\x80", 4);
    QTest::newRow("text") << QByteArray("\x03<ö@b>", 8) << QByteArray("<ö@b>");
    QTest::newRow("no bytes") << QByteArray("\xc3\x00", 2) << QByteArray();
    QTest::newRow("no text") << QByteArray("\x03\x00", 2) << QByteArray();
    QTest::newRow("a lot") << QByteArray("\xc3\x84\x80\x00", 4) + QByteArray(65536, 'x')
                           << QByteArray(65536, 'x');
}

void TestSync::aConversationIsAnyBytes()
{
    QFETCH(QByteArray, onTheWire);
    QFETCH(QByteArray, read);
    // Encoded by hand: XML could not carry it.
    const QByteArray before =
        WbxmlXml::encode(collection("<Commands>"
                                    + add("<ConversationId xmlns=\"Email2:\">HERE</ConversationId>"
                                          "<Subject xmlns=\"Email:\">After it</Subject>")
                                    + "</Commands>"));
    SessionFixture fixture;
    fixture.server.enqueue(ScriptedServer::http(
        200, QByteArray(before).replace(QByteArray("\xc3\x04HERE"), onTheWire)));
    SyncCommand command(fixture.session.get(), {requestFor(QStringLiteral("k1"))});
    QVERIFY(fixture.run(&command));
    QVERIFY2(command.result().ok(), qPrintable(command.result().text));
    const MailItem &item = command.windows().first().added.first();
    QCOMPARE(item.conversationId.value_or("none"), read);
    QCOMPARE(*item.subject, QStringLiteral("After it"));
}

void TestSync::aChangeMayTellAConversation()
{
    SyncWindow window;
    answer(collection("<Commands><Change><ServerId>7</ServerId><ApplicationData>"
                      "<ConversationId xmlns=\"Email2:\">other</ConversationId>"
                      "</ApplicationData></Change><Change><ServerId>8</ServerId><ApplicationData>"
                      "<Read xmlns=\"Email:\">1</Read></ApplicationData></Change></Commands>"),
           {requestFor(QStringLiteral("k1"))}, &window);
    QCOMPARE(window.changed.size(), 2);
    QCOMPARE(*window.changed.at(0).conversationId, QByteArray("other"));
    QVERIFY(!window.changed.at(1).conversationId);
}

void TestSync::aBodyOfWholeMimeComesByteForByte()
{
    QByteArray mime = "From: a@b\r\nContent-Type: text/plain; charset=koi8-r\r\n\r\n";
    for (int i = 1; i < 256; ++i)
        mime.append(char(i));
    // Encoded by hand: XML could not carry it.
    const QByteArray before = WbxmlXml::encode(collection(
        "<Commands>" + add("<Body xmlns=\"AirSyncBase:\"><Type>4</Type><Data>HERE</Data></Body>")
        + "</Commands>"));
    SessionFixture fixture;
    fixture.server.enqueue(ScriptedServer::http(200, QByteArray(before).replace("HERE", mime)));
    SyncCommand command(fixture.session.get(), {requestFor(QStringLiteral("k1"))});
    QVERIFY(fixture.run(&command));
    QCOMPARE(command.windows().first().added.first().body->data, mime);
    QVERIFY(command.windows().first().added.first().body->type == Mime);
}

void TestSync::aBodyIsCutWhereTheServerSendsMore_data()
{
    QTest::addColumn<int>("limit");
    QTest::addColumn<QString>("kept");
    QTest::newRow("none") << 0 << QString();
    QTest::newRow("in a letter of two bytes") << 2 << QStringLiteral("a");
    QTest::newRow("behind it") << 3 << QStringLiteral("aä");
    QTest::newRow("in a letter of three") << 5 << QStringLiteral("aä");
    QTest::newRow("behind that") << 6 << QStringLiteral("aä中");
    QTest::newRow("in one of four") << 9 << QStringLiteral("aä中");
    QTest::newRow("all") << 10 << QStringLiteral("aä中😀");
    QTest::newRow("more") << 100 << QStringLiteral("aä中😀");
}

void TestSync::aBodyIsCutWhereTheServerSendsMore()
{
    QFETCH(int, limit);
    QFETCH(QString, kept);
    SyncRequest request = requestFor(QStringLiteral("k1"));
    request.body.truncation = limit;
    SyncWindow window;
    answer(
        collection("<Commands>"
                   + add(QStringLiteral(
                             "<Body xmlns=\"AirSyncBase:\"><Type>1</Type><Truncated>0</Truncated>"
                             "<Data>aä中😀</Data></Body>")
                             .toUtf8())
                   + "</Commands>"),
        {request}, &window);
    QCOMPARE(QString::fromUtf8(window.added.first().body->data), kept);
    QCOMPARE(window.added.first().body->truncated, limit < 10);
}

void TestSync::aLongBodyDoesNotHoldUpItsFolder()
{
    SyncRequest request = requestFor(QStringLiteral("k1"));
    request.body.truncation = 1000;
    QByteArray items;
    for (int i = 0; i < 20; ++i)
        items += add("<Body xmlns=\"AirSyncBase:\"><Type>1</Type><Data>" + QByteArray(4000000, 'x')
                         + "</Data></Body>",
                     QByteArray::number(i));
    SyncWindow window;
    answer(collection("<Commands>" + items + "</Commands>"), {request}, &window);
    QCOMPARE(window.added.size(), 20);
    QCOMPARE(window.added.last().body->data.size(), 1000);
    QVERIFY(window.added.last().body->truncated);
}

void TestSync::anEmptyAnswerMeansNoChange()
{
    SessionFixture fixture;
    fixture.server.enqueue(ScriptedServer::http(200));
    SyncCommand command(
        fixture.session.get(),
        {requestFor(QStringLiteral("k1")), requestFor(QStringLiteral("k2"), "other"_folder)});
    QVERIFY(fixture.run(&command));
    QVERIFY(command.result().ok());
    QCOMPARE(command.windows().size(), 2);
    QVERIFY(command.windows().at(0).unchanged && command.windows().at(1).unchanged);
    QCOMPARE(command.windows().at(1).syncKey, QStringLiteral("k2"));
    QVERIFY(command.windows().at(1).result.ok());
}

void TestSync::aFolderThatIsNotMentionedIsUnchanged()
{
    SessionFixture fixture;
    fixture.server.enqueue(ScriptedServer::document(collection({}, "other")));
    SyncCommand command(
        fixture.session.get(),
        {requestFor(QStringLiteral("k1")), requestFor(QStringLiteral("k1"), "other"_folder)});
    QVERIFY(fixture.run(&command));
    QVERIFY(command.windows().at(0).unchanged && !command.windows().at(1).unchanged);
    QCOMPARE(command.windows().at(0).syncKey, QStringLiteral("k1"));
    QCOMPARE(command.windows().at(1).syncKey, QStringLiteral("k2"));
}

void TestSync::severalFoldersInOneAnswer()
{
    SessionFixture fixture;
    fixture.server.enqueue(
        ScriptedServer::document("<Sync xmlns=\"AirSync:\"><Collections>"
                                 "<Collection><SyncKey>b2</SyncKey><CollectionId>b</"
                                 "CollectionId><Status>1</Status><Commands>"
                                 + add({}, "1")
                                 + "</Commands></Collection>"
                                   "<Collection><SyncKey>0</SyncKey><CollectionId>a</"
                                   "CollectionId><Status>3</Status></Collection>"
                                   "<Collection><SyncKey>c2</SyncKey><CollectionId>nobody "
                                   "asked</CollectionId><Status>1</Status></Collection>"
                                   "</Collections></Sync>"));
    SyncCommand command(fixture.session.get(),
                        {requestFor(QStringLiteral("a1"), "a"_folder),
                         requestFor(QStringLiteral("b1"), "b"_folder)});
    QVERIFY(fixture.run(&command));
    QCOMPARE(command.windows().size(), 2);
    QCOMPARE(command.windows().at(0).result.outcome, Outcome::KeyLost);
    QCOMPARE(command.windows().at(1).syncKey, QStringLiteral("b2"));
    QCOMPARE(command.windows().at(1).added.size(), 1);
}

void TestSync::refusedChangesAreTold()
{
    SyncWindow window;
    answer(collection("<Responses>"
                      "<Change><ServerId>1</ServerId><Status>1</Status></Change>"
                      "<Change><ServerId>2</ServerId><Status>8</Status></Change>"
                      "<Delete><ServerId>3</ServerId><Status>7</Status></Delete></Responses>"
                      "<Commands><Change><ServerId>4</ServerId><ApplicationData><Read "
                      "xmlns=\"Email:\">1</Read>"
                      "</ApplicationData></Change></Commands>"),
           {requestFor(QStringLiteral("k1"))}, &window);
    const QMap<QString, ItemAnswer> refused = {{QStringLiteral("2"), ItemAnswer::Gone},
                                               {QStringLiteral("3"), ItemAnswer::Refused}};
    QCOMPARE(window.refused, refused);
    QCOMPARE(window.changed.size(), 1);
}

void TestSync::numbersBeyondAllSenseAreBounded()
{
    const QByteArray size = "<EstimatedDataSize>9223372036854775807</EstimatedDataSize>";
    SyncWindow window;
    answer(collection("<Commands>"
                      + add("<Body xmlns=\"AirSyncBase:\"><Type>2147483647</Type>" + size
                                + "</Body><Attachments xmlns=\"AirSyncBase:\"><Attachment>" + size
                                + "</Attachment></Attachments>",
                            "1")
                      + "</Commands>"),
           {requestFor(QStringLiteral("k1"))}, &window);
    QCOMPARE(window.added.size(), 1);
    const MailItem &item = window.added.first();
    QCOMPARE(int(item.body->type), int(PlainText));
    QCOMPARE(item.body->estimatedSize, Limits::DownloadSize);
    QCOMPARE(item.attachments->first().estimatedSize, Limits::DownloadSize);
}

void TestSync::countlessCollectionsAreRefused()
{
    // One byte each, and each a window to keep.
    SessionFixture fixture;
    fixture.server.enqueue(ScriptedServer::http(200,
                                                QByteArray::fromHex("03016a00455c")
                                                    + QByteArray(Limits::Elements, '\x0f')
                                                    + QByteArray::fromHex("0101")));
    SyncCommand command(fixture.session.get(), {requestFor(QStringLiteral("k1"))});
    QVERIFY(fixture.run(&command));
    QCOMPARE(command.result().code, int(InvalidAnswer));
}

void TestSync::anItemThatCannotBeReadIsLeftOut()
{
    QByteArray attachments = "<Attachments xmlns=\"AirSyncBase:\">";
    for (int i = 0; i <= Limits::Attachments; ++i)
        attachments += "<Attachment><DisplayName>x</DisplayName></Attachment>";
    attachments += "</Attachments>";
    SyncWindow window;
    answer(collection("<Commands>" + add("<Read xmlns=\"Email:\">1</Read>", "1")
                      + add(attachments, "2") + "<Add><ApplicationData/></Add>"
                      + add({}, QByteArray(Limits::ServerIdLength + 1, '9')) + "<Delete/>"
                      + add({}, "5") + "</Commands>"),
           {requestFor(QStringLiteral("k1"))}, &window);
    QCOMPARE(window.added.size(), 2);
    QCOMPARE(window.added.last().serverId, QStringLiteral("5"));
    QCOMPARE(window.unreadable.size(), 4);
    QVERIFY(window.unreadable.first().startsWith(QLatin1String("{2}: ")));
    QCOMPARE(window.syncKey, QStringLiteral("k2"));
}

void TestSync::aFlagTellsWhetherItHasDates()
{
    const QByteArray start = "<Flag xmlns=\"Email:\"><Status>2</Status><FlagType>x</FlagType>";
    const QByteArray due = "<DueDate xmlns=\"Tasks:\">2026-01-02T03:04:05.000Z</DueDate>";
    SyncWindow window;
    answer(collection("<Commands>" + add(start + due + "</Flag>", "8") + add(start + "</Flag>", "9")
                      + "</Commands>"),
           {requestFor(QStringLiteral("k1"))}, &window);
    QCOMPARE(window.added.size(), 2);
    QVERIFY(window.added.first().hasFlagDates);
    QVERIFY(*window.added.last().flag == FlagStatus::Active);
    QVERIFY(!window.added.last().hasFlagDates);
}

void TestSync::oddValuesAreTakenAsAbsent()
{
    SyncWindow window;
    answer(collection(
               "<Commands>"
               + add("<DateReceived xmlns=\"Email:\">yesterday</DateReceived><Importance "
                     "xmlns=\"Email:\">9</Importance>"
                     "<Read xmlns=\"Email:\"/><Flag xmlns=\"Email:\"><Status>x</Status></Flag>"
                     "<Body xmlns=\"AirSyncBase:\"><EstimatedDataSize>-4</EstimatedDataSize></Body>"
                     "<Attachments xmlns=\"AirSyncBase:\"/>")
               + add("<DateReceived xmlns=\"Email:\">2026-01-02T03:04:05</DateReceived>", "8")
               + "</Commands>"),
           {requestFor(QStringLiteral("k1"))}, &window);
    const MailItem &item = window.added.first();
    QVERIFY(!item.dateReceived);
    QCOMPARE(*item.importance, 2);
    QCOMPARE(*item.read, false);
    QVERIFY(*item.flag == FlagStatus::Clear);
    QCOMPARE(item.body->estimatedSize, qint64(0));
    QVERIFY(item.attachments && item.attachments->isEmpty());
    QCOMPARE(*window.added.last().dateReceived,
             QDateTime(QDate(2026, 1, 2), QTime(3, 4, 5), Qt::UTC));
}

void TestSync::aFolderStatus_data()
{
    QTest::addColumn<int>("status");
    QTest::addColumn<int>("code");
    QTest::newRow("3") << 3 << int(ServerFailed);
    QTest::newRow("4") << 4 << int(ServerFailed);
    QTest::newRow("5") << 5 << int(ServerFailed);
    QTest::newRow("8") << 8 << int(NotFound);
    QTest::newRow("9") << 9 << int(NoRoom);
    QTest::newRow("12") << 12 << int(NotFound);
    QTest::newRow("16") << 16 << int(ServerFailed);
    QTest::newRow("112") << 112 << int(Forbidden);
}

void TestSync::aFolderStatus()
{
    QFETCH(int, status);
    QFETCH(int, code);
    SyncWindow window;
    answer(collection({}).replace("<Status>1<", "<Status>" + QByteArray::number(status) + "<"),
           {requestFor(QStringLiteral("k1"))}, &window);
    QVERIFY(window.result.text.startsWith(QStringLiteral("status %1: ").arg(status)));
    QCOMPARE(window.result.code, code);
}

void TestSync::aStatusForAllFolders_data()
{
    QTest::addColumn<int>("status");
    QTest::addColumn<int>("code");
    QTest::newRow("13") << 13 << int(ServerFailed);
    QTest::newRow("12") << 12 << int(NotFound);
    QTest::newRow("9") << 9 << int(NoRoom);
    QTest::newRow("111") << 111 << int(ServerFailed);
    QTest::newRow("129") << 129 << int(Forbidden);
}

void TestSync::aStatusForAllFolders()
{
    QFETCH(int, status);
    QFETCH(int, code);
    SessionFixture fixture;
    fixture.server.enqueue(ScriptedServer::document(
        "<Sync xmlns=\"AirSync:\"><Status>" + QByteArray::number(status) + "</Status></Sync>"));
    SyncCommand command(fixture.session.get(), {requestFor(QStringLiteral("k1"))});
    QVERIFY(fixture.run(&command));
    QCOMPARE(command.result().code, code);
    QVERIFY(command.result().text.startsWith(QStringLiteral("status %1: ").arg(status)));
}

void TestSync::damagedAnswersChangeNothing()
{
    const QByteArray whole = WbxmlXml::fromFile("sync-first-window.xml");
    SessionFixture fixture;
    for (int length = 1; length < whole.size(); length += 37) {
        fixture.server.enqueue(ScriptedServer::http(200, whole.left(length)));
        SyncCommand command(fixture.session.get(), {requestFor(QStringLiteral("k1"))});
        QVERIFY(fixture.run(&command));
        QCOMPARE(command.result().code, int(InvalidAnswer));
        QVERIFY(command.windows().isEmpty());
    }
}

void TestSync::unknownElementsArePassedOver()
{
    // Page 99, token 0x05 with a text and a child, in front of the item's properties.
    QByteArray document = WbxmlXml::encode(collection(
        "<Commands>" + add("<Class>HERE</Class><Read xmlns=\"Email:\">1</Read>") + "</Commands>"));
    document.replace(QByteArray("\x50\x03HERE\x00\x01", 8),
                     QByteArray("\x00\x63\x45\x03x\x00\x46\x01\x01\x00\x00", 11));
    SessionFixture fixture;
    fixture.server.enqueue(ScriptedServer::http(200, document));
    SyncCommand command(fixture.session.get(), {requestFor(QStringLiteral("k1"))});
    QVERIFY(fixture.run(&command));
    QVERIFY2(command.result().ok(), qPrintable(command.result().text));
    QVERIFY(*command.windows().first().added.first().read);
}

QTEST_GUILESS_MAIN(TestSync)
#include "tst_sync.moc"
