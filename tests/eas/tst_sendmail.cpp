// SPDX-License-Identifier: LGPL-2.1-or-later
//
// Sending: what goes out in each version of the protocol, and that nothing goes out twice.
#include "eas/sendmailcommand.h"
#include "tests/eas/sessionfixture.h"
#include "tests/support/folderliteral.h"

#include <QBuffer>
#include <QSignalSpy>
#include <QtTest>

#include <netinet/in.h>
#include <netinet/tcp.h>
#include <sys/socket.h>

using namespace Eas;

namespace {

OutgoingMail mailOf(const QByteArray &content)
{
    OutgoingMail mail;
    mail.clientId = QStringLiteral("client-1");
    mail.size = content.size();
    mail.open = [content] {
        auto device = std::make_unique<QBuffer>();
        device->setData(content);
        device->open(QIODevice::ReadOnly);
        return device;
    };
    return mail;
}

/** TCP_NODELAY of each connection of this process that leads to the port. */
QList<int> noDelayOfConnectionsTo(quint16 port)
{
    QList<int> found;
    for (int fd = 0; fd < 1024; ++fd) {
        sockaddr_in peer {};
        socklen_t length = sizeof peer;
        if (getpeername(fd, reinterpret_cast<sockaddr *>(&peer), &length) != 0
            || peer.sin_family != AF_INET || ntohs(peer.sin_port) != port)
            continue;
        int value = 0;
        length = sizeof value;
        getsockopt(fd, IPPROTO_TCP, TCP_NODELAY, &value, &length);
        found.append(value);
    }
    return found;
}

QByteArray eightBit()
{
    QByteArray content = "From: a@b\r\nBcc: c@d\r\n\r\n";
    for (int i = 0; i < 512; ++i)
        content.append(char(i));
    return content;
}

} // namespace

class TestSendMail : public QObject
{
    Q_OBJECT

private slots:
    void aMessageInWbxmlIsByteForByteWhatWasGiven();
    void aMessageForAnOldServerGoesAsItIs();
    void repliesAndForwardsNameTheOriginal_data();
    void repliesAndForwardsNameTheOriginal();
    void aLongMessageIsStreamed();
    void theBodyDoesNotWaitForTheHeadersAcknowledgement();
    void statuses_data();
    void statuses();
    void aReplyRefusedInTheNameOfSendMailTellsWhy_data();
    void aReplyRefusedInTheNameOfSendMailTellsWhy();
    void aDuplicateIsASuccessThatTells();
    void httpFailuresOfAnOldServer();
    void whatIsTooLargeIsSentOnceOnly_data();
    void whatIsTooLargeIsSentOnceOnly();
    void aSizeThatWasRefusedIsForgottenAfterADay();
    void aCutConnectionSendsNothingTwice();
    void aCutOnAKeptConnectionSendsNothingTwice();
    void provisioningInBetweenSendsOnceMore();
    void aMessageThatCannotBeReadSendsNothing();
};

void TestSendMail::aMessageInWbxmlIsByteForByteWhatWasGiven()
{
    SessionFixture fixture;
    fixture.server.enqueue(ScriptedServer::http(200));
    SendMailCommand command(fixture.session.get(), mailOf(eightBit()));
    QVERIFY(fixture.run(&command));
    QVERIFY2(command.result().ok(), qPrintable(command.result().text));
    const SeenRequest &seen = fixture.server.requests().first();
    QCOMPARE(seen.query("Cmd"), QStringLiteral("SendMail"));
    QCOMPARE(seen.headers.value("content-type"), QByteArray("application/vnd.ms-sync.wbxml"));
    // SendMail, ClientId, SaveInSentItems, MIME with 0x217 opaque bytes.
    const QByteArray expected = QByteArray::fromHex("03016a000015455103") + "client-1"
        + QByteArray::fromHex("00010850c38417") + eightBit() + QByteArray::fromHex("0101");
    QCOMPARE(seen.body.toHex(), expected.toHex());
}

void TestSendMail::aMessageForAnOldServerGoesAsItIs()
{
    SessionFixture fixture("12.1");
    fixture.server.enqueue(ScriptedServer::http(200));
    fixture.server.enqueue(ScriptedServer::http(200));
    OutgoingMail mail = mailOf(eightBit());
    SendMailCommand command(fixture.session.get(), mail);
    QVERIFY(fixture.run(&command));
    QVERIFY(command.result().ok());
    QCOMPARE(fixture.server.requests().first().headers.value("content-type"),
             QByteArray("message/rfc822"));
    QCOMPARE(fixture.server.requests().first().body, eightBit());
    QCOMPARE(fixture.server.requests().first().query("SaveInSent"), QStringLiteral("T"));
    mail.kind = OutgoingMail::Reply;
    mail.original = {"box%2F1"_folder, QStringLiteral("3"), {}};
    SendMailCommand reply(fixture.session.get(), mail);
    QVERIFY(fixture.run(&reply));
    const SeenRequest &seen = fixture.server.requests().last();
    QCOMPARE(seen.query("Cmd"), QStringLiteral("SmartReply"));
    QCOMPARE(seen.query("CollectionId"), QStringLiteral("box%2F1"));
    QVERIFY(seen.target.contains("CollectionId=box%252F1"));
    QCOMPARE(seen.query("ItemId"), QStringLiteral("3"));
    QCOMPARE(seen.query("SaveInSent"), QStringLiteral("T"));
}

void TestSendMail::repliesAndForwardsNameTheOriginal_data()
{
    QTest::addColumn<int>("kind");
    QTest::addColumn<QString>("longId");
    QTest::addColumn<bool>("replace");
    QTest::addColumn<QByteArray>("xml");
    QTest::newRow("reply")
        << int(OutgoingMail::Reply) << QString() << false
        << QByteArray(
               "<SmartReply "
               "xmlns=\"ComposeMail:\"><ClientId>client-1</ClientId><Source><FolderId>box</"
               "FolderId>"
               "<ItemId>3</ItemId></Source><SaveInSentItems/><MIME>text</MIME></SmartReply>");
    QTest::newRow("forward of a found one, all in it")
        << int(OutgoingMail::Forward) << "long" << true
        << QByteArray("<SmartForward "
                      "xmlns=\"ComposeMail:\"><ClientId>client-1</ClientId><Source><LongId>long</"
                      "LongId></Source>"
                      "<SaveInSentItems/><ReplaceMime/><MIME>text</MIME></SmartForward>");
    QTest::newRow("plain")
        << int(OutgoingMail::Plain) << "long" << true
        << QByteArray(
               "<SendMail xmlns=\"ComposeMail:\"><ClientId>client-1</ClientId><SaveInSentItems/>"
               "<MIME>text</MIME></SendMail>");
}

void TestSendMail::repliesAndForwardsNameTheOriginal()
{
    QFETCH(int, kind);
    QFETCH(QString, longId);
    QFETCH(bool, replace);
    QFETCH(QByteArray, xml);
    SessionFixture fixture;
    fixture.server.enqueue(ScriptedServer::http(200));
    OutgoingMail mail = mailOf("text");
    mail.kind = OutgoingMail::Kind(kind);
    mail.original = {"box"_folder, QStringLiteral("3"), longId};
    mail.replaceMime = replace;
    SendMailCommand command(fixture.session.get(), mail);
    QVERIFY(fixture.run(&command));
    QVERIFY(command.result().ok());
    QCOMPARE(fixture.xml(), xml);
}

void TestSendMail::aLongMessageIsStreamed()
{
    const QByteArray content(8 * 1000 * 1000, 'x');
    SessionFixture fixture;
    fixture.server.enqueue(ScriptedServer::http(200));
    SendMailCommand command(fixture.session.get(), mailOf(content));
    QVERIFY(fixture.run(&command, 30000));
    QVERIFY(command.result().ok());
    QVERIFY(fixture.server.requests().first().body.contains(content));
}

void TestSendMail::theBodyDoesNotWaitForTheHeadersAcknowledgement()
{
    SessionFixture fixture;
    fixture.server.enqueue(ScriptedServer::http(200));
    SendMailCommand command(fixture.session.get(), mailOf("text"));
    QVERIFY(fixture.run(&command));
    const QList<int> options = noDelayOfConnectionsTo(fixture.server.serverPort());
    QCOMPARE(options, QList<int> {1});
}

void TestSendMail::statuses_data()
{
    QTest::addColumn<int>("status");
    QTest::addColumn<int>("code");
    const QList<QPair<int, int>> rows = {
        {103, InvalidAnswer}, {110, ServerFailed}, {113, NoRoom},       {115, NoRoom},
        {116, NotFound},      {119, NotFound},     {120, ServerFailed}, {122, InvalidAnswer},
        {129, Forbidden},     {150, NotFound},     {166, Forbidden}};
    for (const auto &row : rows)
        QTest::newRow(QByteArray::number(row.first)) << row.first << row.second;
}

void TestSendMail::statuses()
{
    QFETCH(int, status);
    QFETCH(int, code);
    SessionFixture fixture;
    fixture.server.enqueue(ScriptedServer::document("<SendMail xmlns=\"ComposeMail:\"><Status>"
                                                    + QByteArray::number(status)
                                                    + "</Status></SendMail>"));
    SendMailCommand command(fixture.session.get(), mailOf("text"));
    QVERIFY(fixture.run(&command));
    QCOMPARE(command.result().code, code);
    QVERIFY(command.result().text.startsWith(QStringLiteral("status %1: ").arg(status)));
}

void TestSendMail::aReplyRefusedInTheNameOfSendMailTellsWhy_data()
{
    QTest::addColumn<int>("kind");
    QTest::newRow("reply") << int(OutgoingMail::Reply);
    QTest::newRow("forward") << int(OutgoingMail::Forward);
}

/** As a real server answers to a recipient that it does not know. */
void TestSendMail::aReplyRefusedInTheNameOfSendMailTellsWhy()
{
    QFETCH(int, kind);
    SessionFixture fixture;
    fixture.server.enqueue(ScriptedServer::document(
        "<SendMail xmlns=\"ComposeMail:\"><Status>120</Status></SendMail>"));
    OutgoingMail mail = mailOf("text");
    mail.kind = OutgoingMail::Kind(kind);
    mail.original = {"5"_folder, QStringLiteral("3"), QString()};
    SendMailCommand command(fixture.session.get(), mail);
    QVERIFY(fixture.run(&command));
    QCOMPARE(command.result().code, int(ServerFailed));
    QCOMPARE(command.result().outcome, Outcome::NotSubmitted);
}

void TestSendMail::aDuplicateIsASuccessThatTells()
{
    SessionFixture fixture;
    fixture.server.enqueue(ScriptedServer::document(
        "<SendMail xmlns=\"ComposeMail:\"><Status>118</Status></SendMail>"));
    SendMailCommand command(fixture.session.get(), mailOf("text"));
    QVERIFY(fixture.run(&command));
    QVERIFY(command.result().ok());
    QVERIFY(command.result().text.startsWith(QLatin1String("status 118: ")));
}

void TestSendMail::httpFailuresOfAnOldServer()
{
    SessionFixture fixture("12.1");
    for (const auto &row : {qMakePair(500, int(ServerFailed)), qMakePair(507, int(NoRoom)),
                            qMakePair(413, int(NoRoom))}) {
        fixture.server.enqueue(ScriptedServer::http(row.first, "FATAL"));
        SendMailCommand command(fixture.session.get(), mailOf("text"));
        QVERIFY(fixture.run(&command));
        QCOMPARE(command.result().code, row.second);
    }
}

void TestSendMail::whatIsTooLargeIsSentOnceOnly_data()
{
    QTest::addColumn<QByteArray>("version");
    QTest::newRow("12.1") << QByteArray("12.1");
    QTest::newRow("14.1") << QByteArray("14.1");
}

void TestSendMail::whatIsTooLargeIsSentOnceOnly()
{
    QFETCH(QByteArray, version);
    SessionFixture fixture(version.constData());
    fixture.server.enqueue(ScriptedServer::http(413));
    fixture.server.enqueue(ScriptedServer::http(200));
    const QByteArray large(3000, 'x');
    for (const QByteArray &content : {large, large, QByteArray(large + 'y')}) {
        SendMailCommand command(fixture.session.get(), mailOf(content));
        QVERIFY(fixture.run(&command));
        QCOMPARE(command.result().code, int(NoRoom));
        QVERIFY(command.result().text.contains(QLatin1String("too large")));
        QCOMPARE(fixture.server.requests().size(), 1);
    }
    SendMailCommand smaller(fixture.session.get(), mailOf(large.mid(1)));
    QVERIFY(fixture.run(&smaller));
    QVERIFY(smaller.result().ok());
}

void TestSendMail::aSizeThatWasRefusedIsForgottenAfterADay()
{
    constexpr qint64 Start = 1700000000;
    SessionState state;
    QCOMPARE(state.maxMessageSize(Start), 0);
    state.noteRefusedSize(3000, Start);
    QCOMPARE(state.maxMessageSize(Start), 2999);
    state.noteRefusedSize(5000, Start + 10);
    QCOMPARE(state.maxMessageSize(Start + 10), 2999);
    state.noteRefusedSize(2000, Start + 20);
    QCOMPARE(state.maxMessageSize(Start + 20 + 86399), 1999);
    QCOMPARE(state.maxMessageSize(Start + 20 + 86400), 0);
    // The clock was set back.
    QCOMPARE(state.maxMessageSize(Start), 0);
}

void TestSendMail::aCutConnectionSendsNothingTwice()
{
    SessionFixture fixture;
    fixture.server.setAnswer([](const SeenRequest &) { return ScriptedAnswer {{}, true}; });
    SendMailCommand command(fixture.session.get(), mailOf("text"));
    QVERIFY(fixture.run(&command));
    QCOMPARE(command.result().code, int(NoConnection));
    QVERIFY(command.isAnswerLost());
    QTest::qWait(50);
    QCOMPARE(fixture.server.requests().size(), 1);
}

void TestSendMail::aCutOnAKeptConnectionSendsNothingTwice()
{
    SessionFixture fixture;
    fixture.server.enqueue(ScriptedServer::http(200));
    fixture.server.enqueue({}, true);
    for (const int code : {int(Success), int(NoConnection)}) {
        SendMailCommand command(fixture.session.get(), mailOf(QByteArray(300000, 'x')));
        QVERIFY(fixture.run(&command));
        QCOMPARE(command.result().code, code);
    }
    QTest::qWait(50);
    QCOMPARE(fixture.server.requests().size(), 2);
}

void TestSendMail::provisioningInBetweenSendsOnceMore()
{
    SessionFixture fixture;
    fixture.server.enqueue(ScriptedServer::document(
        "<SendMail xmlns=\"ComposeMail:\"><Status>144</Status></SendMail>"));
    fixture.server.enqueue(ScriptedServer::document(
        "<Provision xmlns=\"Provision:\"><Status>1</Status><Policies><Policy>"
        "<Status>2</Status></Policy></Policies></Provision>"));
    fixture.server.enqueue(ScriptedServer::http(200));
    SendMailCommand command(fixture.session.get(), mailOf("text"));
    QVERIFY(fixture.run(&command));
    QVERIFY(command.result().ok());
    QCOMPARE(fixture.server.requests().size(), 3);
    QCOMPARE(fixture.server.requests().at(0).body, fixture.server.requests().at(2).body);
}

void TestSendMail::aMessageThatCannotBeReadSendsNothing()
{
    SessionFixture fixture;
    OutgoingMail mail = mailOf("text");
    mail.open = [] { return std::unique_ptr<QIODevice>(); };
    SendMailCommand command(fixture.session.get(), mail);
    QVERIFY(fixture.run(&command));
    QCOMPARE(command.result().code, int(NotFound));
    QVERIFY(!command.isAnswerLost());
    QCOMPARE(fixture.server.connections(), 0);
}

QTEST_GUILESS_MAIN(TestSendMail)
#include "tst_sendmail.moc"
