// SPDX-License-Identifier: LGPL-2.1-or-later
#include "accounts/accountbook.h"
#include "accounts/window/accountwindow.h"
#include "daemon/store/accountwipe.h"
#include "tests/accounts/busservice.h"
#include "tests/support/easserver.h"
#include "tests/support/scripteddaemon.h"
#include "tests/support/storefixture.h"

#include <qmailmessage.h>
#include <qmailstore.h>

#include <QAccessible>
#include <QApplication>
#include <QComboBox>
#include <QLabel>
#include <QLineEdit>
#include <QListWidget>
#include <QMessageBox>
#include <QProgressBar>
#include <QPushButton>
#include <QTcpServer>
#include <QTest>
#include <QTimer>

#include <memory>

using Accounts::AccountBook;
using Accounts::AccountWindow;

namespace {

const QString Password = QStringLiteral("Window-Passw0rd");

/** Answers the question that is asked next. */
void answer(QMessageBox::StandardButton choice)
{
    QTimer::singleShot(0, qApp, [choice] {
        auto *question = qobject_cast<QMessageBox *>(QApplication::activeModalWidget());
        if (!question)
            qFatal("nobody asks");
        QTest::keyClick(question->button(choice), Qt::Key_Space);
    });
}

} // namespace

/** The window as a person at the keyboard has it; the form comes from the plugin that is built. */
class TestAccountWindow : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase();
    void init();
    void cleanup();

    void newAccountIsSetUpByKeyboardAlone();
    void tabReachesEverything();
    void everythingHasANameForAScreenReader();
    void accountsAreListedAndShown();
    void accountIsChanged();
    void wrongLoginIsSaidAtThePassword();
    void passwordThatCannotBeKeptIsRefusedUntried();
    void wrongAddressIsSaidAtTheAddress();
    void unknownHostIsSaidAtTheServer();
    void silentServerIsGivenUpAndSaidAtTheServer();
    void waitIsShownAndCancelled_data();
    void waitIsShownAndCancelled();
    void newAccountBringsItsMail();
    void newAccountIsKeptWhenItsMailIsCancelled();
    void newAccountTellsWhatIsMissing();
    void wipedAccountSaysSoUntilItHasAPassword();
    void takenNameIsSaidAtTheName();
    void refusedAccountIsSavedOnRequest();
    void loginIsTestedWithoutSaving();
    void settingsChangedDuringTheirTestAreNotSaved();
    void typedTextIsNotThrownAwayUnasked();
    void choiceOutlivesNewsThatComeDuringTheQuestion();
    void closingAsksForWhatIsNotSaved();
    void removeAsksFirst();
    void accountOfAnotherProgramAppears();
    void accountRemovedByAnotherProgramCanBeSavedAnew();
    void nothingIsCutOff();
    void takesPictures();

private:
    QLineEdit *line(const char *name) const
    {
        return m_window->findChild<QLineEdit *>(QLatin1String(name));
    }
    QPushButton *button(const char *name) const
    {
        return m_window->findChild<QPushButton *>(QLatin1String(name));
    }
    QLabel *problem(const char *setting) const
    {
        return m_window->findChild<QLabel *>(QStringLiteral("problem-") + QLatin1String(setting));
    }
    QString status() const
    {
        return m_window->findChild<QLabel *>(QStringLiteral("status"))->text();
    }
    QListWidget *list() const { return m_window->findChild<QListWidget *>(); }
    void type(const char *name, const QString &text);
    void press(const char *name);
    void fill(const QString &password = Password);
    QMailAccountId addAccount(const QString &name);

    std::unique_ptr<EasServer> m_server;
    std::unique_ptr<AccountWindow> m_window;
};

void TestAccountWindow::initTestCase()
{
    QVERIFY(AccountBook::open().ok());
    if (!EasServer::isAvailable())
        QSKIP("the test server needs Python 3.11");
    m_server = std::make_unique<EasServer>();
    m_server->addArguments({QStringLiteral("--users"), QStringLiteral("alice:") + Password});
    QVERIFY(m_server->start());
}

void TestAccountWindow::init()
{
    StoreFixture::clear();
    m_window = std::make_unique<AccountWindow>();
    QVERIFY(m_window->isUsable());
    m_window->show();
    QVERIFY(QTest::qWaitForWindowExposed(m_window.get()));
    m_window->activateWindow();
    QVERIFY(QTest::qWaitForWindowActive(m_window.get()));
}

void TestAccountWindow::cleanup()
{
    m_window.reset();
}

void TestAccountWindow::type(const char *name, const QString &text)
{
    line(name)->setFocus();
    line(name)->selectAll();
    QTest::keyClick(line(name), Qt::Key_Delete);
    QTest::keyClicks(line(name), text);
}

void TestAccountWindow::press(const char *name)
{
    button(name)->setFocus();
    QTest::keyClick(button(name), Qt::Key_Space);
}

void TestAccountWindow::fill(const QString &password)
{
    type("accountName", QStringLiteral("Work"));
    type("mailUserInput", QStringLiteral("alice"));
    type("mailPasswInput", password);
    type("mailServerInput", QStringLiteral("127.0.0.1"));
    type("mailPortInput", QString::number(m_server->port()));
    type("mailEmailInput", QStringLiteral("alice@example.test"));
    m_window->findChild<QComboBox *>()->setCurrentIndex(0);
}

QMailAccountId TestAccountWindow::addAccount(const QString &name)
{
    Accounts::AccountDetails details;
    details.name = name;
    details.settings = {QStringLiteral("alice"),
                        Password,
                        QStringLiteral("127.0.0.1"),
                        m_server->port(),
                        0,
                        QStringLiteral("alice@example.test"),
                        QString()};
    QMailAccountId id;
    if (!AccountBook::add(details, &id).ok())
        qFatal("cannot add an account");
    return id;
}

void TestAccountWindow::newAccountIsSetUpByKeyboardAlone()
{
    QCOMPARE(QApplication::focusWidget(), line("accountName"));
    QCOMPARE(line("mailPortInput")->text(), QStringLiteral("443"));
    const QStringList values {QStringLiteral("Work"),
                              QStringLiteral("alice"),
                              Password,
                              QStringLiteral("127.0.0.1"),
                              QString::number(m_server->port()),
                              QString(),
                              QString(),
                              QStringLiteral("alice@example.test")};
    for (const QString &value : values) {
        QWidget *focused = QApplication::focusWidget();
        if (qobject_cast<QComboBox *>(focused)) {
            QTest::keyClick(focused, Qt::Key_Up);
        } else if (!value.isEmpty()) {
            qobject_cast<QLineEdit *>(focused)->selectAll();
            QTest::keyClick(focused, Qt::Key_Delete);
            QTest::keyClicks(focused, value);
        }
        QTest::keyClick(QApplication::focusWidget(), Qt::Key_Tab);
    }
    QTest::keyClick(m_window.get(), Qt::Key_S, Qt::AltModifier);
    QTRY_COMPARE(AccountBook::accounts().size(), 1);
    const Accounts::AccountDetails saved = AccountBook::details(AccountBook::accounts().first());
    QCOMPARE(saved.name, QStringLiteral("Work"));
    QCOMPARE(saved.settings.userName, QStringLiteral("alice"));
    QCOMPARE(saved.settings.password, Password);
    QCOMPARE(saved.settings.server, QStringLiteral("127.0.0.1"));
    QCOMPARE(saved.settings.port, int(m_server->port()));
    QCOMPARE(saved.settings.encryption, 0);
    QCOMPARE(saved.settings.email, QStringLiteral("alice@example.test"));
    QTRY_COMPARE(list()->count(), 2);
    QCOMPARE(list()->currentRow(), 1);
}

void TestAccountWindow::tabReachesEverything()
{
    addAccount(QStringLiteral("One"));
    QTRY_COMPARE(list()->count(), 2);
    list()->setCurrentRow(1);
    QSet<QWidget *> reached;
    for (int step = 0; step < 40; ++step) {
        reached.insert(QApplication::focusWidget());
        QTest::keyClick(QApplication::focusWidget(), Qt::Key_Tab);
    }
    QVERIFY(reached.contains(list()));
    for (QLineEdit *input : m_window->findChildren<QLineEdit *>())
        QVERIFY2(reached.contains(input), qPrintable(input->objectName()));
    QVERIFY(reached.contains(m_window->findChild<QComboBox *>()));
    for (const char *name : {"add", "remove", "test", "save"})
        QVERIFY2(reached.contains(button(name)), name);
}

void TestAccountWindow::everythingHasANameForAScreenReader()
{
    int count = 0;
    for (QWidget *widget : m_window->findChildren<QWidget *>()) {
        if (widget->focusPolicy() == Qt::NoFocus || !widget->isVisible())
            continue;
        QAccessibleInterface *accessible = QAccessible::queryAccessibleInterface(widget);
        QVERIFY2(accessible && !accessible->text(QAccessible::Name).isEmpty(),
                 qPrintable(widget->objectName()));
        ++count;
    }
    QVERIFY(count >= 13);
}

void TestAccountWindow::accountsAreListedAndShown()
{
    addAccount(QStringLiteral("One"));
    addAccount(QStringLiteral("Two"));
    QTRY_COMPARE(list()->count(), 3);
    list()->setFocus();
    QTest::keyClick(list(), Qt::Key_Down);
    QTest::keyClick(list(), Qt::Key_End);
    QCOMPARE(line("accountName")->text(), QStringLiteral("Two"));
    QCOMPARE(line("mailServerInput")->text(), QStringLiteral("127.0.0.1"));
    QCOMPARE(line("mailPasswInput")->echoMode(), QLineEdit::Password);
}

void TestAccountWindow::accountIsChanged()
{
    const QMailAccountId id = addAccount(QStringLiteral("One"));
    QMailAccount account(id);
    account.setCustomField(QStringLiteral("pushEnabled"), QStringLiteral("1"));
    QVERIFY(QMailStore::instance()->updateAccount(&account));
    QTRY_COMPARE(list()->count(), 2);
    list()->setCurrentRow(1);
    type("accountName", QStringLiteral("Renamed"));
    type("mailDomainInput", QString());
    press("save");
    QTRY_COMPARE(AccountBook::details(id).name, QStringLiteral("Renamed"));
    QVERIFY(AccountBook::details(id).push);
    QTRY_COMPARE(list()->item(1)->text(), QStringLiteral("Renamed"));
}

void TestAccountWindow::wrongLoginIsSaidAtThePassword()
{
    fill(QStringLiteral("Wrong-Passw0rd"));
    press("save");
    QTRY_VERIFY(problem("password")->isVisible());
    QCOMPARE(line("accountName")->text(), QStringLiteral("Work"));
    QCOMPARE(line("mailPasswInput")->text(), QStringLiteral("Wrong-Passw0rd"));
    QVERIFY(problem("password")->text().contains(QLatin1String("user name or password")));
    QCOMPARE(QApplication::focusWidget(), line("mailPasswInput"));
    const QRect input = line("mailPasswInput")->geometry();
    QVERIFY(problem("password")->geometry().left() > input.right());
    QVERIFY(qAbs(problem("password")->geometry().center().y() - input.center().y()) < 4);
    QCOMPARE(line("mailPasswInput")->accessibleDescription(), problem("password")->text());
    QVERIFY(AccountBook::accounts().isEmpty());
}

void TestAccountWindow::passwordThatCannotBeKeptIsRefusedUntried()
{
    const QString password = QString::fromUtf8("\xd0\x9f\xd0\xb0\xd1\x80\xd0\xbe\xd0\xbb\xd1\x8c");
    m_server->clearLog();
    fill(QString());
    line("mailPasswInput")->insert(password);
    for (const char *button : {"test", "save"}) {
        press(button);
        QTRY_VERIFY(problem("password")->isVisible());
        QVERIFY(problem("password")->text().contains(QLatin1String("cannot keep this password")));
        QCOMPARE(line("mailPasswInput")->text(), password);
    }
    // Nobody was asked for leave with question marks in place of the letters.
    QCOMPARE(m_server->log().size(), 0);
    QVERIFY(AccountBook::accounts().isEmpty());
}

void TestAccountWindow::wrongAddressIsSaidAtTheAddress()
{
    fill();
    type("mailEmailInput", QStringLiteral("nonsense"));
    press("save");
    QVERIFY(problem("email")->isVisible());
    QVERIFY(AccountBook::accounts().isEmpty());
    type("mailEmailInput", QStringLiteral("alice@example.test"));
    press("test");
    QVERIFY(!problem("email")->isVisible());
}

void TestAccountWindow::unknownHostIsSaidAtTheServer()
{
    fill();
    type("mailServerInput", QStringLiteral("nowhere.invalid"));
    press("save");
    QTRY_VERIFY(problem("server")->isVisible());
    QVERIFY(problem("server")->text().contains(QLatin1String("nowhere.invalid")));
    QVERIFY(AccountBook::accounts().isEmpty());
}

void TestAccountWindow::silentServerIsGivenUpAndSaidAtTheServer()
{
    QTcpServer silent;
    QVERIFY(silent.listen(QHostAddress::LocalHost));
    fill();
    type("mailPortInput", QString::number(silent.serverPort()));
    m_window->setTimeLimit(1000);
    press("save");
    QVERIFY(button("cancel")->isVisible());
    QTRY_VERIFY_WITH_TIMEOUT(problem("server")->isVisible(), 15000);
    QVERIFY2(problem("server")->text().contains(QLatin1String("no answer within 1 s")),
             qPrintable(problem("server")->text()));
    QVERIFY(!button("cancel")->isVisible());
    QVERIFY(AccountBook::accounts().isEmpty());
}

void TestAccountWindow::waitIsShownAndCancelled_data()
{
    QTest::addColumn<bool>("byKey");
    QTest::newRow("button") << false;
    QTest::newRow("escape") << true;
}

void TestAccountWindow::waitIsShownAndCancelled()
{
    QFETCH(bool, byKey);
    QTcpServer silent;
    QVERIFY(silent.listen(QHostAddress::LocalHost));
    fill();
    type("mailPortInput", QString::number(silent.serverPort()));
    QVERIFY(!button("cancel")->isVisible());
    press("save");
    QVERIFY(button("cancel")->isVisible());
    QTRY_VERIFY2(status().startsWith(QLatin1String("Trying the login at 127.0.0.1... "))
                     && status().endsWith(QLatin1String(" s")),
                 qPrintable(status()));
    if (byKey)
        QTest::keyClick(m_window.get(), Qt::Key_Escape);
    else
        press("cancel");
    QTRY_COMPARE(status(), QStringLiteral("Cancelled."));
    QVERIFY(!button("cancel")->isVisible());
    QVERIFY(!button("saveUnchecked")->isVisible());
    QVERIFY(AccountBook::accounts().isEmpty());
}

void TestAccountWindow::newAccountBringsItsMail()
{
    const BusService daemon = BusService::daemon();
    const BusService messageServer = BusService::messageServer();
    m_server->deliverText(QStringLiteral("alice"), QStringLiteral("Hello"));
    fill();
    press("save");
    QTRY_VERIFY(m_window->findChild<QProgressBar *>()->isVisible());
    QTRY_COMPARE_WITH_TIMEOUT(status(), QStringLiteral("1 message has come."), 60000);
    QVERIFY(!m_window->findChild<QProgressBar *>()->isVisible());
    QVERIFY(!button("cancel")->isVisible());
    const QMailAccountId id = AccountBook::accounts().first();
    QCOMPARE(QMailStore::instance()->countMessages(QMailMessageKey::parentAccountId(id)), 1);
}

void TestAccountWindow::newAccountIsKeptWhenItsMailIsCancelled()
{
    const ScriptedDaemon daemon;
    const BusService messageServer = BusService::messageServer();
    fill();
    press("save");
    QTRY_VERIFY_WITH_TIMEOUT(!daemon.calls().isEmpty(), 60000);
    QVERIFY(!button("save")->isEnabled());
    QTest::keyClick(m_window.get(), Qt::Key_Escape);
    QTRY_VERIFY_WITH_TIMEOUT(status().contains(QLatin1String("mail does not come yet: cancelled")),
                             20000);
    QVERIFY(button("save")->isEnabled());
    QVERIFY(!button("cancel")->isVisible());
    QCOMPARE(AccountBook::accounts().size(), 1);
}

void TestAccountWindow::newAccountTellsWhatIsMissing()
{
    fill();
    press("save");
    QTRY_VERIFY2(status().startsWith(QLatin1String(
                     "No message has come. The account is saved, but its mail does not come yet: "))
                     && status().contains(QLatin1String("messageserver5")),
                 qPrintable(status()));
    QCOMPARE(AccountBook::accounts().size(), 1);
}

void TestAccountWindow::wipedAccountSaysSoUntilItHasAPassword()
{
    const QMailAccountId id = addAccount(QStringLiteral("One"));
    QVERIFY(Store::AccountWipe::forget(id).ok());
    QTRY_COMPARE(list()->count(), 2);
    list()->setCurrentRow(1);
    QVERIFY(problem("password")->isVisible());
    QVERIFY(problem("password")->text().contains(QLatin1String("was wiped")));
    m_server->clearLog();
    press("test");
    QVERIFY(problem("password")->text().contains(QLatin1String("was wiped")));
    QCOMPARE(m_server->log().size(), 0);
    type("mailPasswInput", Password);
    press("save");
    QTRY_VERIFY(AccountBook::details(id).enabled);
    QVERIFY(!AccountBook::details(id).wiped);
    QCOMPARE(AccountBook::details(id).settings.password, Password);
}

void TestAccountWindow::takenNameIsSaidAtTheName()
{
    addAccount(QStringLiteral("Work"));
    fill();
    press("save");
    QVERIFY(problem("name")->isVisible());
    QCOMPARE(QApplication::focusWidget(), line("accountName"));
    QCOMPARE(AccountBook::accounts().size(), 1);
}

void TestAccountWindow::refusedAccountIsSavedOnRequest()
{
    fill(QStringLiteral("Wrong-Passw0rd"));
    QVERIFY(!button("saveUnchecked")->isVisible());
    press("save");
    QTRY_VERIFY(button("saveUnchecked")->isVisible());
    press("saveUnchecked");
    QTRY_COMPARE(AccountBook::accounts().size(), 1);
    QVERIFY(!button("saveUnchecked")->isVisible());
}

void TestAccountWindow::loginIsTestedWithoutSaving()
{
    fill();
    press("test");
    auto *status = m_window->findChild<QLabel *>(QStringLiteral("status"));
    QTRY_VERIFY(status->text().contains(QLatin1String("accepts the login")));
    QVERIFY(AccountBook::accounts().isEmpty());
    QVERIFY(button("save")->isEnabled());
}

void TestAccountWindow::settingsChangedDuringTheirTestAreNotSaved()
{
    fill();
    press("save");
    type("mailPasswInput", QStringLiteral("Wrong-Passw0rd"));
    auto *status = m_window->findChild<QLabel *>(QStringLiteral("status"));
    QTRY_VERIFY(status->text().contains(QLatin1String("have changed since")));
    QVERIFY(AccountBook::accounts().isEmpty());
    QCOMPARE(line("mailPasswInput")->text(), QStringLiteral("Wrong-Passw0rd"));
}

void TestAccountWindow::typedTextIsNotThrownAwayUnasked()
{
    addAccount(QStringLiteral("One"));
    QTRY_COMPARE(list()->count(), 2);
    type("accountName", QStringLiteral("Half typed"));
    list()->setFocus();
    QCOMPARE(line("accountName")->text(), QStringLiteral("Half typed"));
    answer(QMessageBox::No);
    QTest::keyClick(list(), Qt::Key_Down);
    QCOMPARE(line("accountName")->text(), QStringLiteral("Half typed"));
    QCOMPARE(list()->currentRow(), 0);
    answer(QMessageBox::Yes);
    QTest::keyClick(list(), Qt::Key_Down);
    QCOMPARE(line("accountName")->text(), QStringLiteral("One"));
    QCOMPARE(list()->currentRow(), 1);
}

void TestAccountWindow::choiceOutlivesNewsThatComeDuringTheQuestion()
{
    addAccount(QStringLiteral("One"));
    QTRY_COMPARE(list()->count(), 2);
    type("accountName", QStringLiteral("Half typed"));
    list()->setFocus();
    QTimer::singleShot(0, qApp, [this] {
        addAccount(QStringLiteral("Two"));
        if (!QTest::qWaitFor([this] { return list()->count() == 3; }, 20000))
            qFatal("the new account does not appear");
        auto *question = qobject_cast<QMessageBox *>(QApplication::activeModalWidget());
        QTest::keyClick(question->button(QMessageBox::Yes), Qt::Key_Space);
    });
    QTest::keyClick(list(), Qt::Key_Down);
    QCOMPARE(line("accountName")->text(), QStringLiteral("One"));
    QCOMPARE(list()->currentRow(), 1);
}

void TestAccountWindow::closingAsksForWhatIsNotSaved()
{
    type("accountName", QStringLiteral("Half typed"));
    answer(QMessageBox::No);
    QVERIFY(!m_window->close());
    QVERIFY(m_window->isVisible());
    QCOMPARE(line("accountName")->text(), QStringLiteral("Half typed"));
    answer(QMessageBox::Yes);
    QVERIFY(m_window->close());
}

void TestAccountWindow::removeAsksFirst()
{
    addAccount(QStringLiteral("One"));
    QTRY_COMPARE(list()->count(), 2);
    list()->setCurrentRow(1);
    QVERIFY(button("remove")->isEnabled());
    answer(QMessageBox::No);
    press("remove");
    QCOMPARE(AccountBook::accounts().size(), 1);
    answer(QMessageBox::Yes);
    press("remove");
    QCOMPARE(AccountBook::accounts().size(), 0);
    QCOMPARE(list()->count(), 1);
    QVERIFY(!button("remove")->isEnabled());
    QCOMPARE(line("accountName")->text(), QString());
}

void TestAccountWindow::accountOfAnotherProgramAppears()
{
    type("accountName", QStringLiteral("Half typed"));
    addAccount(QStringLiteral("Elsewhere"));
    QTRY_COMPARE(list()->count(), 2);
    QCOMPARE(line("accountName")->text(), QStringLiteral("Half typed"));
}

void TestAccountWindow::accountRemovedByAnotherProgramCanBeSavedAnew()
{
    const QMailAccountId id = addAccount(QStringLiteral("One"));
    QTRY_COMPARE(list()->count(), 2);
    list()->setCurrentRow(1);
    type("accountName", QStringLiteral("Half typed"));
    QVERIFY(AccountBook::remove(id).ok());
    QTRY_COMPARE(list()->count(), 1);
    QCOMPARE(line("accountName")->text(), QStringLiteral("Half typed"));
    press("save");
    QTRY_COMPARE(AccountBook::accounts().size(), 1);
    QCOMPARE(AccountBook::details(AccountBook::accounts().first()).name,
             QStringLiteral("Half typed"));
}

void TestAccountWindow::nothingIsCutOff()
{
    fill(QStringLiteral("Wrong-Passw0rd"));
    press("save");
    QTRY_VERIFY(problem("password")->isVisible());
    QTRY_VERIFY(problem("password")->height()
                >= problem("password")->heightForWidth(problem("password")->width()));
    for (QWidget *widget : m_window->findChildren<QWidget *>()) {
        if (!widget->isVisible()
            || !(qobject_cast<QPushButton *>(widget) || qobject_cast<QLineEdit *>(widget)))
            continue;
        const QRect place(widget->mapTo(m_window.get(), QPoint()), widget->size());
        QVERIFY2(m_window->rect().contains(place), qPrintable(widget->objectName()));
        QVERIFY(widget->width() >= widget->minimumSizeHint().width());
        QVERIFY(widget->height() >= widget->minimumSizeHint().height());
    }
}

void TestAccountWindow::takesPictures()
{
    const QString folder = qEnvironmentVariable("ORVMAIL_BUILD_DIR");
    if (folder.isEmpty())
        QSKIP("no build folder named in ORVMAIL_BUILD_DIR");
    const auto take = [&](const char *what) {
        const QPixmap picture = m_window->grab();
        return picture.save(QStringLiteral("%1/account-window-%2-%3.png")
                                .arg(folder, QLatin1String(what))
                                .arg(qRound(picture.devicePixelRatio() * 100)));
    };
    addAccount(QStringLiteral("Private"));
    addAccount(QStringLiteral("University"));
    QTRY_COMPARE(list()->count(), 3);
    fill(QStringLiteral("Wrong-Passw0rd"));
    press("save");
    QTRY_VERIFY(problem("password")->isVisible());
    QTest::qWait(0);
    QVERIFY(take("refused"));
    m_window = std::make_unique<AccountWindow>();
    m_window->show();
    QVERIFY(QTest::qWaitForWindowExposed(m_window.get()));
    list()->setCurrentRow(1);
    QVERIFY(take("account"));
}

QTEST_MAIN(TestAccountWindow)
#include "tst_accountwindow.moc"
