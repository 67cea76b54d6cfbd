// SPDX-License-Identifier: LGPL-2.1-or-later
#include "tests/support/easserver.h"

#include <QNetworkAccessManager>
#include <QNetworkReply>
#include <QProcess>
#include <QSignalSpy>
#include <QTcpSocket>
#include <QTemporaryDir>
#include <QTest>

/** The test server as Qt tests use it. */
class TestEasServer : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase();
    void deliversAndTellsWhatItHas();
    void tellsWhatClientsAsked();
    void failsOnDemand();
    void stopsAndStartsOnTheSamePort();
    void diesAndForgets();
    void makesCertificates();
    void takesSamples();
    void aBrokenRuleFailsItsTest_data();
    void aBrokenRuleFailsItsTest();
};

/** A client that breaks a rule, in a process of its own; BreaksRules is set for it. */
class BreaksARule : public QObject
{
    Q_OBJECT

private slots:
    void thenStops();
    void thenKills();
    void thenGoes();
    void thenTakesIt();
};

const char BreaksRules[] = "EASSERVER_TEST_BREAKS_A_RULE";

void TestEasServer::initTestCase()
{
    if (!EasServer::isAvailable())
        QSKIP("python3 is not installed");
}

/** The status of an OPTIONS request with alice's login; 0 when there was no answer. */
static int askOptions(const EasServer &server)
{
    QNetworkAccessManager manager;
    QUrl url = server.url();
    url.setPath(QStringLiteral("/Microsoft-Server-ActiveSync"));
    QNetworkRequest request(url);
    request.setRawHeader("Authorization", "Basic " + QByteArray("alice:secret").toBase64());
    QNetworkReply *reply = manager.sendCustomRequest(request, "OPTIONS");
    QSignalSpy finished(reply, &QNetworkReply::finished);
    finished.wait();
    return reply->attribute(QNetworkRequest::HttpStatusCodeAttribute).toInt();
}

void TestEasServer::deliversAndTellsWhatItHas()
{
    EasServer server;
    QVERIFY(server.start());
    QCOMPARE(server.deliver(QStringLiteral("alice"), QStringLiteral("Inbox"),
                            "Subject: Gr\xc3\xbc\xc3\x9f"
                            "e\r\n\r\n\xff\x80"),
             QStringLiteral("1"));
    QCOMPARE(server.deliverText(QStringLiteral("alice"), QStringLiteral("Second")),
             QStringLiteral("2"));
    const QList<QJsonObject> messages =
        server.messages(QStringLiteral("alice"), QStringLiteral("Inbox"));
    QCOMPARE(messages.size(), 2);
    QCOMPARE(messages[0][QStringLiteral("subject")].toString(),
             QString::fromUtf8("Gr\xc3\xbc\xc3\x9f"
                               "e"));
    QCOMPARE(messages[0][QStringLiteral("read")].toBool(true), false);
    QVERIFY(!server.folderId(QStringLiteral("bob"), QStringLiteral("Inbox")).isEmpty());
    QVERIFY(server.folderId(QStringLiteral("bob"), QStringLiteral("None")).isEmpty());
}

void TestEasServer::tellsWhatClientsAsked()
{
    EasServer server;
    QVERIFY(server.start());
    QCOMPARE(server.requestCount("OPTIONS"), 0);
    QCOMPARE(askOptions(server), 200);
    const QList<QJsonObject> requests = server.requests("OPTIONS");
    QCOMPARE(requests.size(), 1);
    QCOMPARE(requests[0][QStringLiteral("status")].toInt(), 200);
    server.clearLog();
    QCOMPARE(server.requestCount("OPTIONS"), 0);
}

void TestEasServer::failsOnDemand()
{
    EasServer server;
    QVERIFY(server.start());
    server.fault({{QStringLiteral("kind"), QStringLiteral("http")},
                  {QStringLiteral("status"), 503},
                  {QStringLiteral("count"), -1}});
    QCOMPARE(askOptions(server), 503);
    QCOMPARE(askOptions(server), 503);
    server.clearFaults();
    QCOMPARE(askOptions(server), 200);
}

void TestEasServer::stopsAndStartsOnTheSamePort()
{
    QTemporaryDir place;
    EasServer server;
    server.addArguments({QStringLiteral("--state"), place.filePath(QStringLiteral("state"))});
    QVERIFY(server.start());
    const quint16 port = server.port();
    server.deliverText(QStringLiteral("alice"), QStringLiteral("Kept"));
    QVERIFY(server.stop());
    QCOMPARE(askOptions(server), 0);
    QVERIFY(server.start());
    QCOMPARE(server.port(), port);
    QCOMPARE(server.messages(QStringLiteral("alice"), QStringLiteral("Inbox")).size(), 1);
}

void TestEasServer::diesAndForgets()
{
    EasServer server;
    QVERIFY(server.start());
    server.deliverText(QStringLiteral("alice"), QStringLiteral("Lost"));
    server.kill();
    QVERIFY(server.start());
    QCOMPARE(server.messages(QStringLiteral("alice"), QStringLiteral("Inbox")).size(), 0);
}

void TestEasServer::makesCertificates()
{
    QTemporaryDir place;
    const QStringList files = EasServer::makeCertificate(place.path());
    QCOMPARE(files.size(), 2);
    EasServer server;
    server.addArguments({QStringLiteral("--tls"), files[0], files[1]});
    QVERIFY(server.start());
    QCOMPARE(server.url().scheme(), QStringLiteral("https"));
    // Nobody trusts it.
    QCOMPARE(askOptions(server), 0);
}

void TestEasServer::takesSamples()
{
    QTemporaryDir place;
    QVERIFY(EasServer::makeMail(place.path(), 20, 1000));
    EasServer server(place.path());
    QVERIFY(server.start());
    const QString alice = QStringLiteral("alice");
    QCOMPARE(server.messages(alice, QStringLiteral("Inbox")).size(), 20);
    const QHash<QString, QString> ids =
        server.load(alice, QStringLiteral("Junk"), EasServer::samples(), QStringLiteral("*.eml"));
    QVERIFY(ids.size() > 90);
    QVERIFY(ids.contains(QStringLiteral("charset-koi8r.eml")));
    QCOMPARE(server.messages(alice, QStringLiteral("Junk")).size(), ids.size());
    if (EasServer::pythonSamples().isEmpty())
        QSKIP("the messages of Python's own e-mail tests are not installed");
    QVERIFY(server
                .load(alice, QStringLiteral("Sent"), EasServer::pythonSamples(),
                      QStringLiteral("msg_*.txt"), 1000000000)
                .size()
            > 40);
}

/** Asks for folders without a key, and with an element that has no place there. */
static void breakARule(const EasServer &server)
{
    QNetworkAccessManager manager;
    QUrl url = server.url();
    url.setPath(QStringLiteral("/Microsoft-Server-ActiveSync"));
    url.setQuery(QStringLiteral("Cmd=FolderSync&User=alice&DeviceId=device1&DeviceType=Test"));
    QNetworkRequest request(url);
    request.setRawHeader("Authorization", "Basic " + QByteArray("alice:secret").toBase64());
    request.setRawHeader("MS-ASProtocolVersion", "14.1");
    request.setRawHeader("Content-Type", "application/vnd.ms-sync.wbxml");
    QNetworkReply *reply = manager.post(request, QByteArray::fromHex("03016a00000756570331000101"));
    QSignalSpy finished(reply, &QNetworkReply::finished);
    finished.wait();
}

void BreaksARule::thenStops()
{
    EasServer server;
    QVERIFY(server.start());
    breakARule(server);
    QVERIFY(server.stop());
}

void BreaksARule::thenKills()
{
    EasServer server;
    QVERIFY(server.start());
    breakARule(server);
    server.kill();
}

void BreaksARule::thenGoes()
{
    EasServer server;
    QVERIFY(server.start());
    breakARule(server);
}

void BreaksARule::thenTakesIt()
{
    EasServer server;
    QVERIFY(server.start());
    breakARule(server);
    QCOMPARE(server.takeViolations().size(), 2);
    QVERIFY(server.takeViolations().isEmpty());
}

void TestEasServer::aBrokenRuleFailsItsTest_data()
{
    QTest::addColumn<bool>("fails");
    QTest::newRow("thenStops") << true;
    QTest::newRow("thenKills") << true;
    QTest::newRow("thenGoes") << true;
    QTest::newRow("thenTakesIt") << false;
}

void TestEasServer::aBrokenRuleFailsItsTest()
{
    QFETCH(bool, fails);
    const QString function = QString::fromLatin1(QTest::currentDataTag());
    QProcess program;
    QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
    environment.insert(QString::fromLatin1(BreaksRules), QStringLiteral("1"));
    program.setProcessEnvironment(environment);
    program.start(QCoreApplication::applicationFilePath(), {function});
    QVERIFY(program.waitForFinished());
    QCOMPARE(program.exitCode(), fails ? 1 : 0);
    const QByteArray told = program.readAllStandardOutput();
    QCOMPARE(told.contains("FAIL!  : BreaksARule::" + function.toLatin1()), fails);
    QCOMPARE(told.contains("lacks FolderHierarchy:SyncKey"), fails);
}

int main(int argc, char **argv)
{
    QCoreApplication application(argc, argv);
    if (qEnvironmentVariableIsSet(BreaksRules)) {
        BreaksARule test;
        return QTest::qExec(&test, argc, argv);
    }
    TestEasServer test;
    return QTest::qExec(&test, argc, argv);
}
#include "tst_easserver.moc"
