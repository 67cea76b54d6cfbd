// SPDX-License-Identifier: LGPL-2.1-or-later
// The program finds the server of an address by real names, at the real port, with a certificate
// that the system trusts; only the world behind the names is the test's own.
#include "accounts/setup/accountbook.h"
#include "tests/accounts/accountprogram.h"
#include "tests/accounts/discoveryservice.h"
#include "tests/accounts/nameserver.h"
#include "tests/accounts/terminal.h"
#include "tests/support/easserver.h"
#include "tests/support/storefixture.h"

#include <qmailstore.h>
#include <QTest>

#include <memory>

using AccountProgram::Program;

namespace {

const QByteArray Password = "autodiscover-Passw0rd";
constexpr quint16 OtherPort = 8443;

/** Reads the terminal while this process answers for the world as well. */
bool awaitText(Terminal &terminal, const QByteArray &text)
{
    return QTest::qWaitFor([&] { return terminal.waitFor(text, 10); }, 20000);
}

} // namespace

class TestAutodiscoverNames : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase();
    void init();

    void serverIsFoundFromTheAddressAlone();
    void loginHasTheDomainInFront();
    void loginHasItsUmlauts();
    void passwordThatCannotBeKeptIsSentNowhere();
    void serviceRecordIsAskedForAfterTheHosts();
    void serviceRecordOfTheLowestPriorityIsTaken();
    void domainWithoutTheServiceLeadsNowhere();
    void everyHostIsToldWithItsReason();
    void refusedLoginAsksForThePasswordAloneAgain();
    void hostElsewhereIsLeftWhereNobodyCanConfirm();
    void searchGoesOnBehindAHostThatNobodyConfirms();
    void refusedLoginIsToldBeforeAHostThatNobodyConfirms();
    void acceptRedirectsTrustsHostsElsewhere();
    void personConfirmsEachHostElsewhere();
    void personWhoDoesNotConfirmGetsNoAccount();

private:
    QStringList arguments(const char *email, const char *more = "") const;
    int add(const QStringList &arguments, const QByteArray &password = Password);
    QString serverAt(const char *host) const;
    AccountSettings saved() const;

    std::unique_ptr<NameServer> m_names;
    std::unique_ptr<EasServer> m_mail;
    std::unique_ptr<DiscoveryService> m_usual;
    std::unique_ptr<DiscoveryService> m_other;
    QByteArray m_error;
    QByteArray m_output;
};

void TestAutodiscoverNames::initTestCase()
{
    EasServer::require();
    QVERIFY(Accounts::AccountBook::open().ok());
    m_names = std::make_unique<NameServer>();
    QVERIFY(m_names->start());
    for (const char *host : {"example.test", "mail.example.test", "discover.service.test",
                             "mail.service.test", "first.several.test", "second.several.test",
                             "mail.several.test", "discover.hosting.test", "mail.hosting.test",
                             "other.test", "both.test", "autodiscover.both.test", "mail.both.test"})
        m_names->addHost(host);
    m_names->addService("_autodiscover._tcp.service.test", 0, OtherPort, "discover.service.test");
    m_names->addService("_autodiscover._tcp.several.test", 20, 443, "second.several.test");
    m_names->addService("_autodiscover._tcp.several.test", 10, OtherPort, "first.several.test");
    m_names->addService("_autodiscover._tcp.none.test", 0, 0, "");
    m_names->addService("_autodiscover._tcp.moved.test", 0, OtherPort, "discover.hosting.test");

    const QString certificatePath = qEnvironmentVariable("CERTIFICATE");
    const QString keyPath = qEnvironmentVariable("KEY");
    m_mail = std::make_unique<EasServer>();
    m_mail->addArguments({QStringLiteral("--tls"), certificatePath, keyPath,
                          QStringLiteral("--users"),
                          QStringLiteral("alice:") + QString::fromUtf8(Password)});
    QVERIFY(m_mail->start());
    m_usual = std::make_unique<DiscoveryService>(443);
    m_other = std::make_unique<DiscoveryService>(OtherPort);
}

void TestAutodiscoverNames::init()
{
    StoreFixture::clear();
    m_names->forgetQuestions();
}

QStringList TestAutodiscoverNames::arguments(const char *email, const char *more) const
{
    return QStringList {QStringLiteral("add"), QStringLiteral("--user"), QStringLiteral("alice"),
                        QStringLiteral("--email"), QLatin1String(email)}
    + AccountProgram::words(more);
}

/** Runs the program while this one plays the world; returns its exit code. */
int TestAutodiscoverNames::add(const QStringList &arguments, const QByteArray &password)
{
    const AccountProgram::Run run =
        AccountProgram::run(arguments + QStringList(QStringLiteral("--password-stdin")), password);
    m_error = run.err;
    m_output = run.out;
    return run.exit;
}

QString TestAutodiscoverNames::serverAt(const char *host) const
{
    return QStringLiteral("https://%1:%2/Microsoft-Server-ActiveSync")
        .arg(QLatin1String(host))
        .arg(m_mail->port());
}

AccountSettings TestAutodiscoverNames::saved() const
{
    const QMailAccountIdList ids = Accounts::AccountBook::accounts();
    return ids.isEmpty() ? AccountSettings() : Accounts::AccountBook::details(ids.first()).settings;
}

void TestAutodiscoverNames::serverIsFoundFromTheAddressAlone()
{
    m_usual->tell(serverAt("mail.example.test"));
    QCOMPARE(add(arguments("alice@example.test")), 0);
    QCOMPARE(m_error, QByteArray());
    QVERIFY(m_output.contains("Found mail.example.test"));
    QVERIFY(m_output.contains("Inbox"));
    QCOMPARE(saved().server, QStringLiteral("mail.example.test"));
    QCOMPARE(saved().port, int(m_mail->port()));
    QCOMPARE(saved().encryption, 1);
}

void TestAutodiscoverNames::loginHasTheDomainInFront()
{
    m_usual->enqueue(
        ScriptedServer::http(401, QByteArray(), {{"WWW-Authenticate", "Basic realm=\"x\""}}));
    m_usual->tell(serverAt("mail.example.test"));
    QCOMPARE(add(arguments("alice@example.test", "--domain EXAMPLE --no-check")), 0);
    QCOMPARE(m_usual->requests().last().headers.value("authorization"),
             "Basic " + ("EXAMPLE\\alice:" + Password).toBase64());
}

void TestAutodiscoverNames::loginHasItsUmlauts()
{
    const QByteArray password = Password + "-\xc3\xbc";
    m_usual->enqueue(
        ScriptedServer::http(401, QByteArray(), {{"WWW-Authenticate", "Basic realm=\"x\""}}));
    m_usual->tell(serverAt("mail.example.test"));
    QCOMPARE(add(arguments("alice@example.test", "--no-check"), password), 0);
    QCOMPARE(m_usual->requests().last().headers.value("authorization"),
             "Basic " + ("alice:" + password).toBase64());
    QCOMPARE(saved().password, QString::fromUtf8(password));
}

void TestAutodiscoverNames::passwordThatCannotBeKeptIsSentNowhere()
{
    const int before = m_usual->connections();
    QCOMPARE(add(arguments("alice@example.test"), Password + "-\xce\xa9"), 1);
    QVERIFY2(m_error.contains("cannot keep this password"), m_error.constData());
    QCOMPARE(m_usual->connections(), before);
    QCOMPARE(m_names->questions(), QStringList());
    QVERIFY(Accounts::AccountBook::accounts().isEmpty());
}

void TestAutodiscoverNames::serviceRecordIsAskedForAfterTheHosts()
{
    m_other->tell(serverAt("mail.service.test"));
    QCOMPARE(add(arguments("alice@service.test")), 0);
    QCOMPARE(saved().server, QStringLiteral("mail.service.test"));
    QStringList questions = m_names->questions();
    questions.removeDuplicates();
    QCOMPARE(questions,
             (QStringList {QStringLiteral("host service.test"),
                           QStringLiteral("host autodiscover.service.test"),
                           QStringLiteral("SRV _autodiscover._tcp.service.test"),
                           QStringLiteral("host discover.service.test"),
                           QStringLiteral("host mail.service.test")}));
}

void TestAutodiscoverNames::serviceRecordOfTheLowestPriorityIsTaken()
{
    m_other->tell(serverAt("mail.several.test"));
    QCOMPARE(add(arguments("alice@several.test")), 0);
    QVERIFY(m_names->questions().contains(QLatin1String("host first.several.test")));
    QVERIFY(!m_names->questions().contains(QLatin1String("host second.several.test")));
}

void TestAutodiscoverNames::domainWithoutTheServiceLeadsNowhere()
{
    const int before = m_usual->connections() + m_other->connections();
    QCOMPARE(add(arguments("alice@none.test", "--accept-redirects")), 1);
    QCOMPARE(m_error.count('\n'), 1);
    QVERIFY2(m_error.contains("cannot be found"), m_error.constData());
    QCOMPARE(m_usual->connections() + m_other->connections(), before);
    QVERIFY(m_names->questions().contains(QLatin1String("SRV _autodiscover._tcp.none.test")));
    QVERIFY(Accounts::AccountBook::accounts().isEmpty());
}

void TestAutodiscoverNames::everyHostIsToldWithItsReason()
{
    QCOMPARE(add(arguments("alice@other.test")), 1);
    QCOMPARE(m_error.count('\n'), 1);
    for (const char *reason : {"other.test: its certificate is not trusted",
                               "autodiscover.other.test: there is no host of this name",
                               "service record of other.test: there is none"})
        QVERIFY2(m_error.contains(reason), m_error.constData());
}

void TestAutodiscoverNames::refusedLoginAsksForThePasswordAloneAgain()
{
    m_usual->enqueue(
        ScriptedServer::http(401, QByteArray(), {{"WWW-Authenticate", "Basic realm=\"x\""}}));
    m_usual->enqueue(
        ScriptedServer::http(401, QByteArray(), {{"WWW-Authenticate", "Basic realm=\"x\""}}));
    m_usual->tell(serverAt("mail.example.test"));
    Terminal terminal(Program, arguments("alice@example.test"));
    QVERIFY(awaitText(terminal, "Password: "));
    terminal.type("Not-the-Passw0rd");
    QVERIFY(awaitText(terminal, "user name or password refused"));
    QVERIFY(awaitText(terminal, "Password: "));
    terminal.type(Password);
    QVERIFY(awaitText(terminal, "is ready"));
    QCOMPARE(terminal.finish(), 0);
    QVERIFY(!terminal.screen().contains("Server"));
    QCOMPARE(saved().password, QString::fromUtf8(Password));
}

void TestAutodiscoverNames::hostElsewhereIsLeftWhereNobodyCanConfirm()
{
    const int before = m_other->connections();
    QCOMPARE(add(arguments("alice@moved.test")), 1);
    QCOMPARE(m_error.count('\n'), 1);
    QVERIFY2(m_error.contains("discover.hosting.test was not confirmed"), m_error.constData());
    QVERIFY(m_error.contains("--accept-redirects"));
    QCOMPARE(m_other->connections(), before);
    QVERIFY(Accounts::AccountBook::accounts().isEmpty());
}

void TestAutodiscoverNames::searchGoesOnBehindAHostThatNobodyConfirms()
{
    const QByteArray elsewhere =
        QStringLiteral("https://discover.hosting.test:%1/").arg(OtherPort).toUtf8();
    m_usual->enqueue(ScriptedServer::http(302, QByteArray(), {{"Location", elsewhere}}));
    m_usual->tell(serverAt("mail.both.test"));
    const int before = m_other->connections();
    const int exit = add(arguments("alice@both.test"));
    QVERIFY2(exit == 0, m_error.constData());
    QCOMPARE(saved().server, QStringLiteral("mail.both.test"));
    QCOMPARE(m_usual->requests().last().headers.value("host"),
             QByteArray("autodiscover.both.test"));
    QCOMPARE(m_other->connections(), before);
}

void TestAutodiscoverNames::refusedLoginIsToldBeforeAHostThatNobodyConfirms()
{
    const QByteArray elsewhere =
        QStringLiteral("https://discover.hosting.test:%1/").arg(OtherPort).toUtf8();
    m_usual->enqueue(ScriptedServer::http(302, QByteArray(), {{"Location", elsewhere}}));
    for (int i = 0; i < 2; ++i) {
        m_usual->enqueue(
            ScriptedServer::http(401, QByteArray(), {{"WWW-Authenticate", "Basic realm=\"x\""}}));
    }
    QCOMPARE(add(arguments("alice@both.test")), 1);
    QVERIFY2(m_error.contains("user name or password refused"), m_error.constData());
    QVERIFY2(!m_error.contains("--accept-redirects"), m_error.constData());
}

void TestAutodiscoverNames::acceptRedirectsTrustsHostsElsewhere()
{
    m_other->tell(serverAt("mail.hosting.test"));
    QCOMPARE(add(arguments("alice@moved.test", "--accept-redirects")), 0);
    QCOMPARE(m_error, QByteArray());
    QCOMPARE(saved().server, QStringLiteral("mail.hosting.test"));
    QCOMPARE(saved().encryption, 1);
}

void TestAutodiscoverNames::personConfirmsEachHostElsewhere()
{
    m_other->tell(serverAt("mail.hosting.test"));
    Terminal terminal(Program, arguments("alice@moved.test"));
    QVERIFY(awaitText(terminal, "Password: "));
    terminal.type(Password);
    QVERIFY(awaitText(terminal, "leads to discover.hosting.test. Send the login there?"));
    terminal.type("yes");
    QVERIFY(awaitText(terminal, "leads to mail.hosting.test. Send the login there?"));
    terminal.type("yes");
    QVERIFY(awaitText(terminal, "is ready"));
    QCOMPARE(terminal.finish(), 0);
    QCOMPARE(saved().server, QStringLiteral("mail.hosting.test"));
}

void TestAutodiscoverNames::personWhoDoesNotConfirmGetsNoAccount()
{
    m_other->tell(serverAt("mail.hosting.test"));
    Terminal terminal(Program, arguments("alice@moved.test"));
    QVERIFY(awaitText(terminal, "Password: "));
    terminal.type(Password);
    QVERIFY(awaitText(terminal, "leads to discover.hosting.test"));
    // The proposed answer is no.
    terminal.type("");
    QCOMPARE(terminal.finish(), 1);
    QVERIFY(terminal.screen().contains("was not confirmed"));
    QVERIFY(Accounts::AccountBook::accounts().isEmpty());
}

QTEST_GUILESS_MAIN(TestAutodiscoverNames)
#include "tst_autodiscovernames.moc"
