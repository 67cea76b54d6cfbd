// SPDX-License-Identifier: LGPL-2.1-or-later
//
// ItemOperations: whole messages and attachments, byte for byte, and what has gone meanwhile.
#include "eas/base64decoder.h"
#include "eas/fetchattachmentcommand.h"
#include "eas/fetchmessagecommand.h"
#include "eas/wbxmlwriter.h"
#include "tests/eas/sessionfixture.h"
#include "tests/eas/wbxmlxml.h"
#include "tests/support/folderliteral.h"

#include <QBuffer>
#include <QRandomGenerator>
#include <QSignalSpy>
#include <QtTest>

using namespace Eas;

namespace {

const ItemLocator Locator {"box%2F1"_folder, QStringLiteral("12"), {}};

QByteArray fetched(const QByteArray &content, const QByteArray &status = "1")
{
    return "<ItemOperations xmlns=\"ItemOperations:\"><Status>1</Status><Response><Fetch><Status>"
        + status + "</Status>" + content + "</Fetch></Response></ItemOperations>";
}

/** A device that is full after some bytes. */
class FullDevice : public QBuffer
{
public:
    FullDevice() { open(QIODevice::WriteOnly); }

protected:
    qint64 writeData(const char *data, qint64 size) override
    {
        if (pos() + size > 100) {
            setErrorString(QStringLiteral("full"));
            return -1;
        }
        return QBuffer::writeData(data, size);
    }
};

QByteArray randomBytes(int size)
{
    QByteArray bytes(size, '\0');
    QRandomGenerator random(4711);
    random.fillRange(reinterpret_cast<quint32 *>(bytes.data()), size / 4);
    return bytes;
}

} // namespace

class TestFetch : public QObject
{
    Q_OBJECT

private slots:
    void init();
    void base64InPiecesOfAnySize();
    void base64Oddities_data();
    void base64Oddities();
    void aWholeMessageComesByteForByte();
    void aMessageFoundBySearchIsAskedForByItsLongId();
    void anotherFormOfTheBody();
    void anEmptyMessage();
    void aMessageThatIsGone_data();
    void aMessageThatIsGone();
    void messageStatuses_data();
    void messageStatuses();
    void aMessageThatCannotBeWritten();
    void anAttachmentComesDecoded();
    void anEmptyAttachment_data();
    void anEmptyAttachment();
    void anAttachmentThatIsGone_data();
    void anAttachmentThatIsGone();
    void anAttachmentThatIsNoBase64();
    void anAttachmentThatCannotBeWritten();
    void anAttachmentThatIsCut();
    void deletingTheCommandWhileItWrites();
    void provisioningInBetweenWritesNothing();

private:
    QBuffer m_target;
};

void TestFetch::init()
{
    m_target.close();
    m_target.setData(QByteArray());
    m_target.open(QIODevice::WriteOnly);
}

void TestFetch::base64InPiecesOfAnySize()
{
    const QByteArray bytes = randomBytes(4000);
    for (int length = 0; length < 40; ++length) {
        const QByteArray text = bytes.left(3960 + length).toBase64();
        for (int step : {1, 2, 3, 5, 64, 10000}) {
            Base64Decoder decoder;
            QByteArray decoded;
            for (int i = 0; i < text.size(); i += step)
                decoded += decoder.decode(text.mid(i, step));
            QVERIFY(decoder.isComplete());
            QCOMPARE(decoded, bytes.left(3960 + length));
        }
    }
}

void TestFetch::base64Oddities_data()
{
    QTest::addColumn<QByteArray>("text");
    QTest::addColumn<QByteArray>("bytes");
    QTest::addColumn<bool>("complete");
    QTest::newRow("nothing") << QByteArray() << QByteArray() << true;
    QTest::newRow("lines") << QByteArray("aGVs\r\nbG8=\r\n") << QByteArray("hello") << true;
    QTest::newRow("no padding") << QByteArray("aGVsbG8") << QByteArray("hello") << true;
    QTest::newRow("a lone character") << QByteArray("aGVsb") << QByteArray("hel") << false;
    QTest::newRow("text behind the padding") << QByteArray("aGk=aGk=") << QByteArray("hi") << false;
    QTest::newRow("another character") << QByteArray("aG(k") << QByteArray("h") << false;
    QTest::newRow("eight bits") << QByteArray("aG\xc3\xa4k") << QByteArray("h") << false;
}

void TestFetch::base64Oddities()
{
    QFETCH(QByteArray, text);
    QFETCH(QByteArray, bytes);
    QFETCH(bool, complete);
    Base64Decoder decoder;
    QCOMPARE(decoder.decode(text), bytes);
    QCOMPARE(decoder.isComplete(), complete);
}

void TestFetch::aWholeMessageComesByteForByte()
{
    QByteArray mime = "From: a@there.example\r\nSubject: =?koi8-r?B?8g==?=\r\n\r\n";
    for (int i = 0; i < 3000000; ++i)
        mime.append(char(i * 7 % 255 + 1));
    SessionFixture fixture;
    const QByteArray frame =
        WbxmlXml::encode(fetched("<CollectionId xmlns=\"AirSync:\">box%2F1</CollectionId><ServerId "
                                 "xmlns=\"AirSync:\">12</ServerId>"
                                 "<Properties><Subject xmlns=\"Email:\">Hello</Subject><Body "
                                 "xmlns=\"AirSyncBase:\"><Type>4</Type>"
                                 "<Truncated>0</Truncated><Data>HERE</Data><EstimatedDataSize>9</"
                                 "EstimatedDataSize></Body></Properties>"));
    fixture.server.enqueue(ScriptedServer::http(200, QByteArray(frame).replace("HERE", mime)));
    FetchMessageCommand command(fixture.session.get(), Locator, &m_target);
    QVERIFY(fixture.run(&command));
    QVERIFY2(command.result().ok(), qPrintable(command.result().text));
    QVERIFY(m_target.data() == mime);
    QCOMPARE(*command.item().subject, QStringLiteral("Hello"));
    QCOMPARE(command.item().serverId, QStringLiteral("12"));
    QVERIFY(command.item().body->type == Mime && !command.item().body->truncated
            && command.item().body->data.isEmpty());
    QCOMPARE(fixture.xml(),
             QByteArray("<ItemOperations xmlns=\"ItemOperations:\"><Fetch><Store>Mailbox</Store>"
                        "<CollectionId xmlns=\"AirSync:\">box%2F1</CollectionId><ServerId "
                        "xmlns=\"AirSync:\">12</ServerId>"
                        "<Options><MIMESupport xmlns=\"AirSync:\">2</MIMESupport><BodyPreference "
                        "xmlns=\"AirSyncBase:\">"
                        "<Type>4</Type></BodyPreference></Options></Fetch></ItemOperations>"));
}

void TestFetch::aMessageFoundBySearchIsAskedForByItsLongId()
{
    SessionFixture fixture;
    fixture.server.enqueue(ScriptedServer::document(
        fetched("<Properties><Body "
                "xmlns=\"AirSyncBase:\"><Type>4</Type><Data>x</Data></Body></Properties>")));
    FetchMessageCommand command(fixture.session.get(), {{}, {}, QStringLiteral("long+1")},
                                &m_target);
    QVERIFY(fixture.run(&command));
    QVERIFY(command.result().ok());
    QVERIFY(fixture.xml().contains(
        "<Store>Mailbox</Store><LongId xmlns=\"Search:\">long+1</LongId><Options>"));
}

void TestFetch::anotherFormOfTheBody()
{
    SessionFixture fixture;
    fixture.server.enqueue(
        ScriptedServer::document(fetched("<Properties><Body "
                                         "xmlns=\"AirSyncBase:\"><Type>1</Type><Truncated>1</"
                                         "Truncated><Data>text</Data></Body></Properties>")));
    FetchMessageCommand command(fixture.session.get(), Locator, &m_target);
    BodyPreference html;
    html.type = Html;
    html.truncation = 500;
    command.setBodyPreference(html);
    QVERIFY(fixture.run(&command));
    QVERIFY(command.result().ok());
    const QByteArray xml = fixture.xml();
    const int plain = xml.indexOf("<Type>1</Type><TruncationSize>500</TruncationSize>");
    const int last = xml.indexOf("<Type>2</Type><TruncationSize>500</TruncationSize>");
    QVERIFY2(plain > 0 && last > plain, xml.constData());
    // It belongs to Sync alone.
    QVERIFY2(!xml.contains("MIMETruncation"), xml.constData());
    QVERIFY(command.item().body->type == PlainText && command.item().body->truncated);
    QCOMPARE(m_target.data(), QByteArray("text"));
}

void TestFetch::anEmptyMessage()
{
    SessionFixture fixture;
    fixture.server.enqueue(ScriptedServer::document(fetched(
        "<Properties><Body xmlns=\"AirSyncBase:\"><Type>4</Type><Data/></Body></Properties>")));
    FetchMessageCommand command(fixture.session.get(), Locator, &m_target);
    QVERIFY(fixture.run(&command));
    QVERIFY(command.result().ok());
    QVERIFY(m_target.data().isEmpty());
}

void TestFetch::aMessageThatIsGone_data()
{
    QTest::addColumn<QByteArray>("answer");
    QTest::newRow("status 6") << fetched({}, "6");
    QTest::newRow("status 150") << fetched({}, "150");
    QTest::newRow("bare properties") << fetched(
        "<Properties><DateReceived xmlns=\"Email:\">2026-11-21T04:30:49.170Z</DateReceived>"
        "<Read xmlns=\"Email:\">0</Read></Properties>");
    QTest::newRow("no properties") << fetched({});
}

void TestFetch::aMessageThatIsGone()
{
    QFETCH(QByteArray, answer);
    SessionFixture fixture;
    fixture.server.enqueue(ScriptedServer::document(answer));
    FetchMessageCommand command(fixture.session.get(), Locator, &m_target);
    QVERIFY(fixture.run(&command));
    QCOMPARE(command.result().code, int(NotFound));
    QVERIFY(m_target.data().isEmpty());
}

void TestFetch::messageStatuses_data()
{
    QTest::addColumn<int>("status");
    QTest::addColumn<int>("code");
    const QList<QPair<int, int>> rows = {{2, ServerFailed}, {3, ServerFailed},  {5, Forbidden},
                                         {11, NoRoom},      {14, ServerFailed}, {18, LoginRefused},
                                         {112, Forbidden},  {0, ServerFailed}};
    for (const auto &row : rows)
        QTest::newRow(QByteArray::number(row.first)) << row.first << row.second;
}

void TestFetch::messageStatuses()
{
    QFETCH(int, status);
    QFETCH(int, code);
    SessionFixture fixture;
    fixture.server.enqueue(ScriptedServer::document(fetched({}, QByteArray::number(status))));
    FetchMessageCommand command(fixture.session.get(), Locator, &m_target);
    QVERIFY(fixture.run(&command));
    QCOMPARE(command.result().code, code);
    QVERIFY(command.result().text.startsWith(QStringLiteral("status %1: ").arg(status)));
}

void TestFetch::aMessageThatCannotBeWritten()
{
    SessionFixture fixture;
    fixture.server.enqueue(ScriptedServer::document(
        fetched("<Properties><Body xmlns=\"AirSyncBase:\"><Type>4</Type><Data>"
                + QByteArray(500, 'x') + "</Data></Body></Properties>")));
    FullDevice full;
    FetchMessageCommand command(fixture.session.get(), Locator, &full);
    QVERIFY(fixture.run(&command));
    QCOMPARE(command.result().code, int(NoRoom));
    QVERIFY(command.result().text.contains(QLatin1String("full")));
}

void TestFetch::anAttachmentComesDecoded()
{
    const QByteArray content = randomBytes(5000000);
    SessionFixture fixture;
    fixture.server.enqueue(ScriptedServer::document(
        fetched("<FileReference xmlns=\"AirSyncBase:\">att/1%20</FileReference><Properties>"
                "<ContentType xmlns=\"AirSyncBase:\">image/png</ContentType><Data>"
                + content.toBase64() + "</Data></Properties>")));
    FetchAttachmentCommand command(fixture.session.get(), QStringLiteral("att/1%20"), &m_target);
    QSignalSpy written(&command, &FetchAttachmentCommand::written);
    QSignalSpy progressed(&command, &Command::progressed);
    QVERIFY(fixture.run(&command));
    QVERIFY2(command.result().ok(), qPrintable(command.result().text));
    QVERIFY(m_target.data() == content);
    QVERIFY(written.size() > 5);
    QCOMPARE(written.last().first().toLongLong(), qint64(content.size()));
    QVERIFY(progressed.first().at(1).toLongLong() > content.size());
    QCOMPARE(
        fixture.xml(),
        QByteArray("<ItemOperations xmlns=\"ItemOperations:\"><Fetch><Store>Mailbox</Store>"
                   "<FileReference "
                   "xmlns=\"AirSyncBase:\">att/1%20</FileReference></Fetch></ItemOperations>"));
}

void TestFetch::anEmptyAttachment_data()
{
    QTest::addColumn<QByteArray>("answer");
    QTest::newRow("said by nothing") << fetched("<Properties><Data/></Properties>");
    QTest::newRow("said by null") << fetched(
        "<Properties><ContentType xmlns=\"AirSyncBase:\">application/octet-stream</ContentType>"
        "<Data>(null)</Data></Properties>");
}

void TestFetch::anEmptyAttachment()
{
    QFETCH(QByteArray, answer);
    SessionFixture fixture;
    fixture.server.enqueue(ScriptedServer::document(answer));
    FetchAttachmentCommand command(fixture.session.get(), QStringLiteral("a"), &m_target);
    QVERIFY(fixture.run(&command));
    QVERIFY(command.result().ok());
    QVERIFY(m_target.data().isEmpty());
}

void TestFetch::anAttachmentThatIsGone_data()
{
    QTest::addColumn<QByteArray>("answer");
    QTest::newRow("status 15") << fetched({}, "15");
    QTest::newRow("status 6") << fetched({}, "6");
    QTest::newRow("said by null") << fetched(
        "<Properties><ContentType "
        "xmlns=\"AirSyncBase:\">(null)/(null)</ContentType><Data>(null)</Data></Properties>");
    QTest::newRow("no data") << fetched("<Properties/>");
}

void TestFetch::anAttachmentThatIsGone()
{
    QFETCH(QByteArray, answer);
    SessionFixture fixture;
    fixture.server.enqueue(ScriptedServer::document(answer));
    FetchAttachmentCommand command(fixture.session.get(), QStringLiteral("a"), &m_target);
    QVERIFY(fixture.run(&command));
    QCOMPARE(command.result().code, int(NotFound));
    QVERIFY(m_target.data().isEmpty());
}

void TestFetch::anAttachmentThatIsNoBase64()
{
    for (const QByteArray &data :
         {QByteArray("(null)(null)"), QByteArray("<html>"), QByteArray("abcde")}) {
        SessionFixture fixture;
        fixture.server.enqueue(ScriptedServer::document(
            fetched("<Properties><Data>" + QString::fromLatin1(data).toHtmlEscaped().toLatin1()
                    + "</Data></Properties>")));
        FetchAttachmentCommand command(fixture.session.get(), QStringLiteral("a"), &m_target);
        QVERIFY(fixture.run(&command));
        QCOMPARE(command.result().code, int(InvalidAnswer));
    }
}

void TestFetch::anAttachmentThatCannotBeWritten()
{
    SessionFixture fixture;
    fixture.server.enqueue(ScriptedServer::document(
        fetched("<Properties><Data>" + QByteArray(500, 'A') + "</Data></Properties>")));
    FullDevice full;
    FetchAttachmentCommand command(fixture.session.get(), QStringLiteral("a"), &full);
    QVERIFY(fixture.run(&command));
    QCOMPARE(command.result().code, int(NoRoom));
}

void TestFetch::anAttachmentThatIsCut()
{
    SessionFixture fixture;
    const QByteArray whole = ScriptedServer::document(
        fetched("<Properties><Data>" + QByteArray(50000, 'A') + "</Data></Properties>"));
    fixture.server.enqueue(whole.left(30000), true);
    FetchAttachmentCommand command(fixture.session.get(), QStringLiteral("a"), &m_target);
    QVERIFY(fixture.run(&command));
    QCOMPARE(command.result().code, int(NoConnection));
    // Again, from the beginning.
    init();
    fixture.server.enqueue(whole);
    FetchAttachmentCommand again(fixture.session.get(), QStringLiteral("a"), &m_target);
    QVERIFY(fixture.run(&again));
    QVERIFY(again.result().ok());
    QCOMPARE(m_target.data().size(), 37500);
}

void TestFetch::deletingTheCommandWhileItWrites()
{
    SessionFixture fixture;
    fixture.server.enqueue(ScriptedServer::document(
        fetched("<Properties><Data>" + QByteArray(5000000, 'A') + "</Data></Properties>")));
    QPointer<FetchAttachmentCommand> command =
        new FetchAttachmentCommand(fixture.session.get(), QStringLiteral("a"), &m_target);
    connect(command, &FetchAttachmentCommand::written, this, [&command] { delete command; });
    command->start();
    QTRY_VERIFY(!command);
}

void TestFetch::provisioningInBetweenWritesNothing()
{
    SessionFixture fixture;
    fixture.server.enqueue(ScriptedServer::document(
        "<ItemOperations xmlns=\"ItemOperations:\"><Status>143</Status></ItemOperations>"));
    fixture.server.enqueue(ScriptedServer::document(
        "<Provision xmlns=\"Provision:\"><Status>1</Status><Policies><Policy>"
        "<Status>2</Status></Policy></Policies></Provision>"));
    fixture.server.enqueue(
        ScriptedServer::document(fetched("<Properties><Data>aGk=</Data></Properties>")));
    FetchAttachmentCommand command(fixture.session.get(), QStringLiteral("a"), &m_target);
    QVERIFY(fixture.run(&command));
    QVERIFY(command.result().ok());
    QCOMPARE(m_target.data(), QByteArray("hi"));
    QCOMPARE(fixture.commands(),
             (QList<QByteArray> {"ItemOperations", "Provision", "ItemOperations"}));
}

QTEST_GUILESS_MAIN(TestFetch)
#include "tst_fetch.moc"
