// SPDX-License-Identifier: LGPL-2.1-or-later
#include "tests/support/easserver.h"

#include <QNetworkAccessManager>
#include <QNetworkReply>
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
};

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

QTEST_GUILESS_MAIN(TestEasServer)
#include "tst_easserver.moc"
