// SPDX-License-Identifier: LGPL-2.1-or-later
#include "accounts/setup/autodiscover.h"
#include "tests/eas/scriptedserver.h"
#include "tests/eas/testcertificate.h"

#include <QElapsedTimer>
#include <QSslSocket>
#include <QTcpServer>
#include <QTest>

#include <memory>

using Accounts::Autodiscover;
using Accounts::AutodiscoverAnswer;

namespace {

const QString Email = QStringLiteral("alice@localhost");
/** With letters that Latin-1 has, and that it has not. */
const QString Password = QString::fromUtf8("autodiscover-Passw0rd-\xc3\xa4\xce\xa9");

QByteArray foundAnswer(const QByteArray &url, const QByteArray &type = "MobileSync")
{
    return "<?xml version=\"1.0\" encoding=\"utf-8\"?><Autodiscover><Response><Culture>en:us"
           "</Culture><User><DisplayName>Alice</DisplayName></User><Action><Settings><Server><Type>"
        + type + "</Type><Url>" + url + "</Url><Name>" + url
        + "</Name></Server></Settings></Action></Response></Autodiscover>";
}

QByteArray xmlAnswer(const QByteArray &document)
{
    return ScriptedServer::http(200, document, {{"Content-Type", "text/xml"}});
}

} // namespace

/** Finding the server from the address, against a scripted service over real TLS. */
class TestAutodiscover : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase();
    void init();

    void answerIsUnderstood_data();
    void answerIsUnderstood();
    void requestNamesAddressAndSchema();
    void addressLeadsToDomainAndItsHost();

    void serverIsFoundAtTheAddressesDomain();
    void passwordGoesOnlyToWhoAsksForIt();
    void basicIsTakenAmongOtherLogins();
    void loginOfAnotherKindIsToldAndNothingSent();
    void refusedLoginIsSentOnce();
    void untrustedCertificateGetsNothing();
    void serverWithoutTlsIsNotTaken();
    void serverElsewhereIsConfirmed();
    void serverElsewhereIsLeftWhenNotConfirmed();
    void redirectElsewhereIsConfirmed();
    void hostThatWasNotConfirmedIsNotAskedForAgain();
    void redirectWithoutTlsIsNotFollowed();
    void redirectInACircleEnds();
    void otherAddressIsConfirmed();
    void nobodyThereIsNotFound();
    void secondCandidateIsAskedWhereTheFirstIsNoService();
    void hugeAnswerIsCut();
    void silentHostLeavesTimeForTheOthers();
    void everyHostIsToldWithItsReason();
    void cancelEndsIt();

private:
    Eas::Result run(bool trusted = true);
    void prepare(
        const QList<QUrl> &candidates,
        const Autodiscover::Confirm &confirm = [](const QString &) { return false; });
    QUrl urlOf(const ScriptedServer &server, const char *host = "localhost") const;

    TestCertificate m_certificate;
    std::unique_ptr<ScriptedServer> m_server;
    std::unique_ptr<Autodiscover> m_search;
    QStringList m_asked;
    bool m_confirm = true;
};

void TestAutodiscover::initTestCase()
{
    if (!QSslSocket::supportsSsl())
        QSKIP("no TLS here");
    m_certificate = TestCertificate::make("localhost", "DNS:localhost,IP:127.0.0.1");
    QVERIFY(m_certificate.isValid());
}

void TestAutodiscover::init()
{
    m_server = std::make_unique<ScriptedServer>(m_certificate.certificate, m_certificate.key);
    m_asked.clear();
    m_confirm = true;
}

QUrl TestAutodiscover::urlOf(const ScriptedServer &server, const char *host) const
{
    QUrl url;
    url.setScheme(QStringLiteral("https"));
    url.setHost(QLatin1String(host));
    url.setPort(server.serverPort());
    url.setPath(QStringLiteral("/autodiscover/autodiscover.xml"));
    return url;
}

Eas::Result TestAutodiscover::run(bool trusted)
{
    m_search = std::make_unique<Autodiscover>(Email, QStringLiteral("alice"), Password,
                                              [this](const QString &host) {
                                                  m_asked.append(host);
                                                  return m_confirm;
                                              });
    m_search->setCandidates({urlOf(*m_server)});
    if (trusted) {
        QSslConfiguration tls = QSslConfiguration::defaultConfiguration();
        tls.setCaCertificates({m_certificate.certificate});
        m_search->setTlsConfiguration(tls);
    }
    return m_search->run();
}

void TestAutodiscover::answerIsUnderstood_data()
{
    QTest::addColumn<QByteArray>("document");
    QTest::addColumn<int>("kind");
    const QByteArray url = "https://mail.example.com/Microsoft-Server-ActiveSync";
    QTest::newRow("server") << foundAnswer(url) << int(AutodiscoverAnswer::Found);
    QTest::newRow("server of another kind")
        << foundAnswer(url, "CertEnroll") << int(AutodiscoverAnswer::NotUnderstood);
    QTest::newRow("other address")
        << QByteArray("<Autodiscover><Response><Action><Redirect>a@b.example</Redirect></Action>"
                      "</Response></Autodiscover>")
        << int(AutodiscoverAnswer::OtherAddress);
    QTest::newRow("error") << QByteArray("<Autodiscover><Response><Error><Status>1</Status>"
                                         "<Message>No such user</Message></Error></Response>"
                                         "</Autodiscover>")
                           << int(AutodiscoverAnswer::Failed);
    QTest::newRow("no answer") << QByteArray("<html><body>Welcome</body></html>")
                               << int(AutodiscoverAnswer::NotUnderstood);
    QTest::newRow("empty") << QByteArray() << int(AutodiscoverAnswer::NotUnderstood);
    QTest::newRow("cut") << foundAnswer(url).left(60) << int(AutodiscoverAnswer::NotUnderstood);
    QTest::newRow("entities") << QByteArray("<!DOCTYPE x [<!ENTITY a \"aaaa\">]>")
            + foundAnswer("https://&a;/")
                              << int(AutodiscoverAnswer::NotUnderstood);
}

void TestAutodiscover::answerIsUnderstood()
{
    QFETCH(QByteArray, document);
    QFETCH(int, kind);
    const AutodiscoverAnswer answer = AutodiscoverAnswer::parse(document);
    QCOMPARE(int(answer.kind), kind);
    if (kind == AutodiscoverAnswer::Found)
        QCOMPARE(answer.server.host(), QStringLiteral("mail.example.com"));
    if (kind == AutodiscoverAnswer::OtherAddress)
        QCOMPARE(answer.email, QStringLiteral("a@b.example"));
    if (kind == AutodiscoverAnswer::Failed)
        QCOMPARE(answer.reason, QStringLiteral("No such user"));
}

void TestAutodiscover::requestNamesAddressAndSchema()
{
    const QByteArray request = Accounts::autodiscoverRequest(QStringLiteral("a&b@example.com"));
    QVERIFY(request.contains("<EMailAddress>a&amp;b@example.com</EMailAddress>"));
    QVERIFY(request.contains("mobilesync/requestschema/2006"));
    QVERIFY(request.contains("mobilesync/responseschema/2006</AcceptableResponseSchema>"));
}

void TestAutodiscover::addressLeadsToDomainAndItsHost()
{
    const QList<QUrl> urls = Autodiscover::candidatesFor(QStringLiteral("a@example.com"));
    QCOMPARE(urls.size(), 2);
    QCOMPARE(urls.at(0).toString(),
             QStringLiteral("https://example.com/autodiscover/autodiscover.xml"));
    QCOMPARE(urls.at(1).toString(),
             QStringLiteral("https://autodiscover.example.com/autodiscover/autodiscover.xml"));
}

void TestAutodiscover::serverIsFoundAtTheAddressesDomain()
{
    m_server->enqueue(xmlAnswer(foundAnswer("https://mail.localhost:8443/x")));
    QVERIFY(run().ok());
    QCOMPARE(m_search->server().host(), QStringLiteral("mail.localhost"));
    QCOMPARE(m_search->server().port(), 8443);
    QCOMPARE(m_asked, QStringList());
    QCOMPARE(m_server->requests().size(), 1);
    QCOMPARE(m_server->requests().first().method, QByteArray("POST"));
    QVERIFY(m_server->requests().first().body.contains("<EMailAddress>alice@localhost<"));
}

void TestAutodiscover::passwordGoesOnlyToWhoAsksForIt()
{
    m_server->enqueue(
        ScriptedServer::http(401, QByteArray(), {{"WWW-Authenticate", "Basic realm=\"x\""}}));
    m_server->enqueue(xmlAnswer(foundAnswer("https://mail.localhost/x")));
    QVERIFY(run().ok());
    QCOMPARE(m_server->requests().size(), 2);
    QVERIFY(!m_server->requests().at(0).headers.contains("authorization"));
    QCOMPARE(m_server->requests().at(1).headers.value("authorization"),
             "Basic " + ("alice:" + Password.toUtf8()).toBase64());
}

void TestAutodiscover::basicIsTakenAmongOtherLogins()
{
    m_server->enqueue(ScriptedServer::http(401, QByteArray(),
                                           {{"WWW-Authenticate", "Negotiate"},
                                            {"WWW-Authenticate", "NTLM"},
                                            {"WWW-Authenticate", "basic realm=\"x\""}}));
    m_server->enqueue(xmlAnswer(foundAnswer("https://mail.localhost/x")));
    const Eas::Result result = run();
    QVERIFY2(result.ok(), qPrintable(result.text));
    QCOMPARE(m_server->requests().size(), 2);
    QCOMPARE(m_server->requests().last().headers.value("authorization"),
             "Basic " + ("alice:" + Password.toUtf8()).toBase64());
}

void TestAutodiscover::loginOfAnotherKindIsToldAndNothingSent()
{
    m_server->setAnswer([](const SeenRequest &) {
        return ScriptedAnswer {
            ScriptedServer::http(401, QByteArray(), {{"WWW-Authenticate", "NTLM"}})};
    });
    const Eas::Result result = run();
    QCOMPARE(result.code, int(Eas::NotFound));
    QVERIFY2(result.text.contains(QLatin1String("no login by HTTP Basic")),
             qPrintable(result.text));
    QCOMPARE(m_server->requests().size(), 1);
    QVERIFY(!m_server->requests().first().headers.contains("authorization"));
}

void TestAutodiscover::refusedLoginIsSentOnce()
{
    m_server->setAnswer([](const SeenRequest &) {
        return ScriptedAnswer {
            ScriptedServer::http(401, QByteArray(), {{"WWW-Authenticate", "Basic realm=\"x\""}})};
    });
    QCOMPARE(run().code, int(Eas::LoginRefused));
    int logins = 0;
    for (const SeenRequest &request : m_server->requests())
        logins += request.headers.contains("authorization");
    QCOMPARE(logins, 1);
}

void TestAutodiscover::untrustedCertificateGetsNothing()
{
    m_server->enqueue(xmlAnswer(foundAnswer("https://mail.localhost/x")));
    const Eas::Result result = run(false);
    QCOMPARE(result.code, int(Eas::NotFound));
    QVERIFY2(result.text.contains(QLatin1String("certificate")), qPrintable(result.text));
    QCOMPARE(m_server->requests().size(), 0);
}

void TestAutodiscover::serverWithoutTlsIsNotTaken()
{
    m_server->enqueue(xmlAnswer(foundAnswer("http://mail.localhost/x")));
    QVERIFY(!run().ok());
}

void TestAutodiscover::serverElsewhereIsConfirmed()
{
    m_server->enqueue(xmlAnswer(foundAnswer("https://hosting.example/x")));
    QVERIFY(run().ok());
    QCOMPARE(m_asked, QStringList(QStringLiteral("hosting.example")));
    QCOMPARE(m_search->server().host(), QStringLiteral("hosting.example"));
}

void TestAutodiscover::serverElsewhereIsLeftWhenNotConfirmed()
{
    m_confirm = false;
    m_server->enqueue(xmlAnswer(foundAnswer("https://hosting.example/x")));
    QCOMPARE(run().code, int(Eas::Cancelled));
    QVERIFY(m_search->server().isEmpty());
}

void TestAutodiscover::redirectElsewhereIsConfirmed()
{
    const QByteArray elsewhere = urlOf(*m_server, "127.0.0.1").toEncoded();
    m_server->enqueue(ScriptedServer::http(302, QByteArray(), {{"Location", elsewhere}}));
    m_server->enqueue(xmlAnswer(foundAnswer("https://mail.localhost/x")));
    QVERIFY(run().ok());
    QCOMPARE(m_asked, QStringList(QStringLiteral("127.0.0.1")));

    m_confirm = false;
    m_server->enqueue(ScriptedServer::http(302, QByteArray(), {{"Location", elsewhere}}));
    const int before = m_server->requests().size();
    QCOMPARE(run().code, int(Eas::Cancelled));
    QCOMPARE(m_server->requests().size(), before + 1);
}

void TestAutodiscover::hostThatWasNotConfirmedIsNotAskedForAgain()
{
    ScriptedServer second(m_certificate.certificate, m_certificate.key);
    m_server->enqueue(
        ScriptedServer::http(302, QByteArray(), {{"Location", "https://hosting.example/"}}));
    second.enqueue(xmlAnswer(foundAnswer("https://Hosting.example/x")));
    QStringList asked;
    prepare({urlOf(*m_server), urlOf(second)}, [&asked](const QString &host) {
        asked.append(host);
        return false;
    });
    const Eas::Result result = m_search->run();
    QCOMPARE(result.code, int(Eas::Cancelled));
    QCOMPARE(result.text, QStringLiteral("hosting.example was not confirmed"));
    QCOMPARE(second.requests().size(), 1);
    QCOMPARE(asked, QStringList(QStringLiteral("hosting.example")));
}

void TestAutodiscover::redirectWithoutTlsIsNotFollowed()
{
    m_server->enqueue(
        ScriptedServer::http(302, QByteArray(), {{"Location", "http://localhost/autodiscover"}}));
    QVERIFY(!run().ok());
    QCOMPARE(m_asked, QStringList());
    QCOMPARE(m_server->requests().size(), 1);
}

void TestAutodiscover::redirectInACircleEnds()
{
    const QByteArray here = urlOf(*m_server).toEncoded();
    m_server->setAnswer([&here](const SeenRequest &) {
        return ScriptedAnswer {ScriptedServer::http(302, QByteArray(), {{"Location", here}})};
    });
    QVERIFY(!run().ok());
    QCOMPARE(m_server->requests().size(), 11);
}

void TestAutodiscover::otherAddressIsConfirmed()
{
    m_confirm = false;
    m_server->enqueue(xmlAnswer("<Autodiscover><Response><Action><Redirect>a@hosting.example"
                                "</Redirect></Action></Response></Autodiscover>"));
    QCOMPARE(run().code, int(Eas::Cancelled));
    QCOMPARE(m_asked, QStringList(QStringLiteral("hosting.example")));
}

void TestAutodiscover::nobodyThereIsNotFound()
{
    m_server->close();
    QCOMPARE(run().code, int(Eas::NotFound));
}

void TestAutodiscover::secondCandidateIsAskedWhereTheFirstIsNoService()
{
    ScriptedServer second(m_certificate.certificate, m_certificate.key);
    m_server->enqueue(ScriptedServer::http(404));
    second.enqueue(xmlAnswer(foundAnswer("https://mail.localhost/x")));
    m_search = std::make_unique<Autodiscover>(Email, QStringLiteral("alice"), Password,
                                              [](const QString &) { return false; });
    m_search->setCandidates({urlOf(*m_server), urlOf(second)});
    QSslConfiguration tls = QSslConfiguration::defaultConfiguration();
    tls.setCaCertificates({m_certificate.certificate});
    m_search->setTlsConfiguration(tls);
    QVERIFY(m_search->run().ok());
    QCOMPARE(second.requests().size(), 1);
}

void TestAutodiscover::hugeAnswerIsCut()
{
    m_server->enqueue(xmlAnswer(QByteArray(8 * 1024 * 1024, ' ')));
    QVERIFY(!run().ok());
}

/** Nobody is told of by name, so that no name server is asked. */
void TestAutodiscover::prepare(const QList<QUrl> &candidates, const Autodiscover::Confirm &confirm)
{
    m_search = std::make_unique<Autodiscover>(Email, QStringLiteral("alice"), Password, confirm);
    m_search->setCandidates(candidates);
    QSslConfiguration tls = QSslConfiguration::defaultConfiguration();
    tls.setCaCertificates({m_certificate.certificate});
    m_search->setTlsConfiguration(tls);
}

void TestAutodiscover::silentHostLeavesTimeForTheOthers()
{
    QTcpServer silent;
    QVERIFY(silent.listen(QHostAddress::LocalHost));
    QUrl first = urlOf(*m_server);
    first.setPort(silent.serverPort());
    m_server->enqueue(xmlAnswer(foundAnswer("https://mail.localhost/x")));
    prepare({first, urlOf(*m_server)});
    m_search->setTimeLimit(10000);
    QElapsedTimer time;
    time.start();
    QVERIFY(m_search->run().ok());
    QVERIFY(time.elapsed() < 10000);
}

void TestAutodiscover::everyHostIsToldWithItsReason()
{
    QTcpServer silent;
    QVERIFY(silent.listen(QHostAddress::LocalHost));
    QUrl first = urlOf(*m_server, "127.0.0.1");
    first.setPort(silent.serverPort());
    m_server->setAnswer(
        [](const SeenRequest &) { return ScriptedAnswer {ScriptedServer::http(404)}; });
    prepare({first, urlOf(*m_server)});
    m_search->setTimeLimit(10000);
    const Eas::Result result = m_search->run();
    QCOMPARE(result.code, int(Eas::NotFound));
    QVERIFY2(result.text.startsWith(QLatin1String(
                 "127.0.0.1: no answer in time; localhost: no such service (HTTP 404); service "
                 "record of localhost: ")),
             qPrintable(result.text));
}

void TestAutodiscover::cancelEndsIt()
{
    QTcpServer silent;
    QVERIFY(silent.listen(QHostAddress::LocalHost));
    QUrl url = urlOf(*m_server);
    url.setPort(silent.serverPort());
    prepare({url});
    connect(&silent, &QTcpServer::newConnection, m_search.get(), &Autodiscover::cancel);
    const Eas::Result result = m_search->run();
    QCOMPARE(result.code, int(Eas::Cancelled));
    QCOMPARE(result.text, QString());
}

QTEST_GUILESS_MAIN(TestAutodiscover)
#include "tst_autodiscover.moc"
