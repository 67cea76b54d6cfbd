// SPDX-License-Identifier: LGPL-2.1-or-later
//
// An account's address and login: what is refused before anything is sent, and what is sent.
#include "eas/serveraddress.h"

#include <QtTest>

using namespace Eas;

class TestServerAddress : public QObject
{
    Q_OBJECT

private slots:
    void wrongSettingsAreNamed_data();
    void wrongSettingsAreNamed();
    void urls_data();
    void urls();
    void theLoginsDomainsAreTheServersAndTheMails();
    void logins_data();
    void logins();
    void aLoginWithoutANameOrWithAColonIsRefused();
};

void TestServerAddress::wrongSettingsAreNamed_data()
{
    QTest::addColumn<QString>("host");
    QTest::addColumn<int>("port");
    QTest::addColumn<int>("encryption");
    QTest::addColumn<QString>("named");
    const QString host = QStringLiteral("mail.example.test");
    QTest::newRow("all is well") << host << 443 << 1 << "";
    QTest::newRow("no server") << "" << 443 << 1 << "server:";
    QTest::newRow("a blank") << " " << 443 << 1 << "server:";
    QTest::newRow("a URL") << "https://mail.example.test/" << 443 << 1 << "server:";
    QTest::newRow("with a port") << "mail.example.test:443" << 443 << 1 << "server:";
    QTest::newRow("a sentence") << "my server" << 443 << 1 << "server:";
    QTest::newRow("an empty label") << "mail..test" << 443 << 1 << "server:";
    QTest::newRow("only a dot") << "." << 443 << 1 << "server:";
    QTest::newRow("begins with a hyphen") << "-mail.test" << 443 << 1 << "server:";
    QTest::newRow("a label too long") << QString(64, QLatin1Char('a')) << 443 << 1 << "server:";
    QTest::newRow("a user in it") << "alice@mail.test" << 443 << 1 << "server:";
    QTest::newRow("port 0") << host << 0 << 1 << "port:";
    QTest::newRow("negative port") << host << -1 << 1 << "port:";
    QTest::newRow("port 65535") << host << 65535 << 0 << "";
    QTest::newRow("port 65536") << host << 65536 << 0 << "port:";
    QTest::newRow("encryption 2") << host << 80 << 2 << "encryption:";
    QTest::newRow("encryption -1") << host << 80 << -1 << "encryption:";
}

void TestServerAddress::wrongSettingsAreNamed()
{
    QFETCH(QString, host);
    QFETCH(int, port);
    QFETCH(int, encryption);
    QFETCH(QString, named);
    const Result result = ServerAddress {host, port, encryption}.check();
    QCOMPARE(result.code, named.isEmpty() ? int(Success) : int(BadConfiguration));
    QVERIFY2(named.isEmpty() || result.text.startsWith(named), qPrintable(result.text));
}

void TestServerAddress::urls_data()
{
    QTest::addColumn<QString>("host");
    QTest::addColumn<int>("port");
    QTest::addColumn<int>("encryption");
    QTest::addColumn<QString>("url");
    QTest::newRow("TLS") << "mail.example.test" << 443 << 1
                         << "https://mail.example.test:443/Microsoft-Server-ActiveSync";
    QTest::newRow("none") << "mail" << 8080 << 0 << "http://mail:8080/Microsoft-Server-ActiveSync";
    QTest::newRow("IPv4") << "127.0.0.1" << 80 << 0
                          << "http://127.0.0.1:80/Microsoft-Server-ActiveSync";
    QTest::newRow("IPv6") << "::1" << 80 << 0 << "http://[::1]:80/Microsoft-Server-ActiveSync";
    QTest::newRow("IPv6 in brackets")
        << "[::1]" << 80 << 0 << "http://[::1]:80/Microsoft-Server-ActiveSync";
    QTest::newRow("not ASCII") << QStringLiteral("bücher.example") << 443 << 1
                               << "https://xn--bcher-kva.example:443/Microsoft-Server-ActiveSync";
}

void TestServerAddress::urls()
{
    QFETCH(QString, host);
    QFETCH(int, port);
    QFETCH(int, encryption);
    QFETCH(QString, url);
    const ServerAddress address {host, port, encryption};
    QCOMPARE(address.check().text, QString());
    QCOMPARE(QString::fromLatin1(address.url().toEncoded()), url);
}

void TestServerAddress::theLoginsDomainsAreTheServersAndTheMails()
{
    ServerAddress address {QStringLiteral("mail.example.test"), 443, ServerAddress::Tls};
    const QStringList server {address.host};
    QCOMPARE(address.loginDomains(), server);
    address.mailAddress = QStringLiteral("\"a@b\"@example.org");
    QCOMPARE(address.loginDomains(), server + QStringList {QStringLiteral("example.org")});
    for (const char *useless : {"alice", "alice@", "alice@ "}) {
        address.mailAddress = QLatin1String(useless);
        QCOMPARE(address.loginDomains(), server);
    }
}

void TestServerAddress::logins_data()
{
    QTest::addColumn<QString>("user");
    QTest::addColumn<QString>("domain");
    QTest::addColumn<QString>("login");
    QTest::newRow("user") << "alice" << "" << "alice";
    QTest::newRow("address") << "alice@example.test" << "" << "alice@example.test";
    QTest::newRow("domain") << "alice" << "EXAMPLE" << "EXAMPLE\\alice";
}

void TestServerAddress::logins()
{
    QFETCH(QString, user);
    QFETCH(QString, domain);
    QFETCH(QString, login);
    const Credentials credentials {user, QStringLiteral("pass:wörd"), domain};
    QCOMPARE(credentials.check().code, int(Success));
    QCOMPARE(credentials.login(), login);
    QCOMPARE(credentials.authorization(),
             "Basic " + (login + QStringLiteral(":pass:wörd")).toUtf8().toBase64());
}

void TestServerAddress::aLoginWithoutANameOrWithAColonIsRefused()
{
    for (const QString &user : {QString(), QStringLiteral("a:b")}) {
        const Result result = Credentials {user, QStringLiteral("x"), {}}.check();
        QCOMPARE(result.code, int(BadConfiguration));
        QVERIFY(result.text.startsWith(QLatin1String("username:")));
    }
    QCOMPARE((Credentials {QStringLiteral("a"), QString(), {}}.check().code), int(Success));
}

QTEST_GUILESS_MAIN(TestServerAddress)
#include "tst_serveraddress.moc"
