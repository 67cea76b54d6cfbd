// SPDX-License-Identifier: LGPL-2.1-or-later
// The first step to an account in the window, by real names, at the real port, with a certificate
// that the system trusts; only the world behind the names is the test's own.
#include "accounts/setup/accountbook.h"
#include "accounts/window/accountwindow.h"
#include "tests/accounts/discoveryservice.h"
#include "tests/accounts/nameserver.h"
#include "tests/support/easserver.h"
#include "tests/support/storefixture.h"

#include <QApplication>
#include <QLabel>
#include <QLineEdit>
#include <QMessageBox>
#include <QPushButton>
#include <QTest>
#include <QTimer>

#include <memory>

using Accounts::AccountBook;

namespace {

const QString Password = QStringLiteral("first-step-Passw0rd");
constexpr quint16 OtherPort = 8443;

} // namespace

class TestAccountWindowNames : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase();
    void init();
    void cleanup() { m_window.reset(); }

    void addressAndPasswordAreEnough();
    void refusedLoginIsSaidAtThePasswordFirst();
    void personConfirmsEachHostElsewhere();
    void passwordStaysHereUnlessThePersonConfirms();
    void searchIsCancelled();

private:
    QLineEdit *line(const char *name) const
    {
        return m_window->findChild<QLineEdit *>(QLatin1String(name));
    }
    QPushButton *button(const char *name) const
    {
        return m_window->findChild<QPushButton *>(QLatin1String(name));
    }
    QLabel *label(const char *name) const
    {
        return m_window->findChild<QLabel *>(QLatin1String(name));
    }
    QString status() const { return label("status")->text(); }
    void search(const char *address);
    void answerAll(QMessageBox::StandardButton choice);
    QString serverAt(const char *host) const;

    std::unique_ptr<NameServer> m_names;
    std::unique_ptr<EasServer> m_mail;
    std::unique_ptr<DiscoveryService> m_usual;
    std::unique_ptr<DiscoveryService> m_other;
    std::unique_ptr<Accounts::AccountWindow> m_window;
    std::unique_ptr<QTimer> m_answerer;
    /** What a person was asked. */
    QStringList m_questions;
};

void TestAccountWindowNames::initTestCase()
{
    EasServer::require();
    QVERIFY(AccountBook::open().ok());
    m_names = std::make_unique<NameServer>();
    QVERIFY(m_names->start());
    for (const char *host :
         {"example.test", "mail.example.test", "discover.hosting.test", "mail.hosting.test"})
        m_names->addHost(host);
    m_names->addService("_autodiscover._tcp.moved.test", 0, OtherPort, "discover.hosting.test");
    m_mail = std::make_unique<EasServer>();
    m_mail->addArguments({QStringLiteral("--tls"), qEnvironmentVariable("CERTIFICATE"),
                          qEnvironmentVariable("KEY"), QStringLiteral("--users"),
                          QStringLiteral("alice:") + Password});
    QVERIFY(m_mail->start());
    m_usual = std::make_unique<DiscoveryService>(443);
    m_other = std::make_unique<DiscoveryService>(OtherPort);
}

void TestAccountWindowNames::init()
{
    StoreFixture::clear();
    m_questions.clear();
    m_answerer.reset();
    m_window = std::make_unique<Accounts::AccountWindow>();
    QVERIFY(m_window->isUsable());
    m_window->show();
    QVERIFY(QTest::qWaitForWindowExposed(m_window.get()));
    m_window->activateWindow();
    QVERIFY(QTest::qWaitForWindowActive(m_window.get()));
}

/** As a person at the keyboard does, from the field in which the cursor is at first. */
void TestAccountWindowNames::search(const char *address)
{
    QCOMPARE(QApplication::focusWidget(), line("firstAddress"));
    QTest::keyClicks(QApplication::focusWidget(), QLatin1String(address));
    QTest::keyClick(QApplication::focusWidget(), Qt::Key_Tab);
    QTest::keyClicks(QApplication::focusWidget(), Password);
    QTest::keyClick(QApplication::focusWidget(), Qt::Key_Return);
}

/** From now on, each question is answered as soon as it is there. */
void TestAccountWindowNames::answerAll(QMessageBox::StandardButton choice)
{
    m_answerer = std::make_unique<QTimer>();
    connect(m_answerer.get(), &QTimer::timeout, this, [this, choice] {
        auto *question = qobject_cast<QMessageBox *>(QApplication::activeModalWidget());
        if (!question)
            return;
        m_questions.append(question->text());
        QTest::keyClick(question->button(choice), Qt::Key_Space);
    });
    m_answerer->start(10);
}

QString TestAccountWindowNames::serverAt(const char *host) const
{
    return QStringLiteral("https://%1:%2/Microsoft-Server-ActiveSync")
        .arg(QLatin1String(host))
        .arg(m_mail->port());
}

void TestAccountWindowNames::addressAndPasswordAreEnough()
{
    m_usual->tell(serverAt("mail.example.test"));
    search("alice@example.test");
    // What brings the mail would live outside of this world, and is not there.
    QTRY_VERIFY_WITH_TIMEOUT(status().contains(QLatin1String("The account is saved")), 20000);
    QCOMPARE(AccountBook::accounts().size(), 1);
    const Accounts::AccountDetails saved = AccountBook::details(AccountBook::accounts().first());
    QCOMPARE(saved.name, QStringLiteral("alice@example.test"));
    QCOMPARE(saved.settings.userName, QStringLiteral("alice@example.test"));
    QCOMPARE(saved.settings.password, Password);
    QCOMPARE(saved.settings.server, QStringLiteral("mail.example.test"));
    QCOMPARE(saved.settings.port, int(m_mail->port()));
    QCOMPARE(saved.settings.encryption, 1);
    QCOMPARE(m_questions, QStringList());
}

void TestAccountWindowNames::refusedLoginIsSaidAtThePasswordFirst()
{
    const QByteArray refusal =
        ScriptedServer::http(401, QByteArray(), {{"WWW-Authenticate", "Basic realm=\"x\""}});
    m_usual->tell(serverAt("mail.example.test"));
    // Twice for each search: with and without the login.
    for (int i = 0; i < 4; ++i)
        m_usual->enqueue(refusal);
    search("alice@example.test");
    QTRY_VERIFY_WITH_TIMEOUT(label("firstProblem-password")->isVisible(), 20000);
    QVERIFY2(label("firstProblem-password")
                 ->text()
                 .contains(QLatin1String("user name or password refused")),
             qPrintable(label("firstProblem-password")->text()));
    QCOMPARE(QApplication::focusWidget(), line("firstPassword"));
    // The second time it may well be a host that knows nothing of the password.
    QTest::keyClick(line("firstPassword"), Qt::Key_Return);
    QTRY_VERIFY_WITH_TIMEOUT(label("problem-server")->isVisible(), 20000);
    QCOMPARE(QApplication::focusWidget(), line("mailServerInput"));
    QVERIFY(AccountBook::accounts().isEmpty());
}

void TestAccountWindowNames::personConfirmsEachHostElsewhere()
{
    m_other->tell(serverAt("mail.hosting.test"));
    answerAll(QMessageBox::Yes);
    search("alice@moved.test");
    QTRY_COMPARE_WITH_TIMEOUT(AccountBook::accounts().size(), 1, 30000);
    QCOMPARE(m_questions.size(), 2);
    QVERIFY(m_questions.first().contains(QLatin1String("leads to discover.hosting.test")));
    QVERIFY(m_questions.last().contains(QLatin1String("leads to mail.hosting.test")));
    QCOMPARE(AccountBook::details(AccountBook::accounts().first()).settings.server,
             QStringLiteral("mail.hosting.test"));
}

void TestAccountWindowNames::passwordStaysHereUnlessThePersonConfirms()
{
    m_other->tell(serverAt("mail.hosting.test"));
    const int before = m_other->connections();
    answerAll(QMessageBox::No);
    search("alice@moved.test");
    QTRY_COMPARE(status(), QStringLiteral("discover.hosting.test was not confirmed"));
    QCOMPARE(m_questions.size(), 1);
    QCOMPARE(m_other->connections(), before);
    QVERIFY(line("firstAddress")->isVisible());
    QVERIFY(!button("cancel")->isVisible());
    QVERIFY(AccountBook::accounts().isEmpty());
}

void TestAccountWindowNames::searchIsCancelled()
{
    m_usual->keepSilent();
    const int before = m_usual->connections();
    search("alice@example.test");
    QTRY_VERIFY(m_usual->connections() > before);
    QVERIFY(button("cancel")->isVisible());
    QVERIFY(line("firstPassword")->isReadOnly());
    QTest::keyClick(m_window.get(), Qt::Key_Escape);
    QTRY_COMPARE(status(), QStringLiteral("Cancelled."));
    QVERIFY(!button("cancel")->isVisible());
    QVERIFY(!line("firstPassword")->isReadOnly());
    QCOMPARE(line("firstAddress")->text(), QStringLiteral("alice@example.test"));
    QVERIFY(AccountBook::accounts().isEmpty());
}

QTEST_MAIN(TestAccountWindowNames)
#include "tst_accountwindownames.moc"
