// SPDX-License-Identifier: LGPL-2.1-or-later
#include "accounts/folderview.h"
#include "accounts/setup/accountbook.h"
#include "accounts/window/accountrow.h"
#include "accounts/window/accountwindow.h"
#include "asclient/asdbusinterface.h"
#include "daemon/store/accountwipe.h"
#include "tests/accounts/busservice.h"
#include "tests/support/easserver.h"
#include "tests/support/scripteddaemon.h"
#include "tests/support/storefixture.h"

#include <QAccessible>
#include <QApplication>
#include <QCheckBox>
#include <QComboBox>
#include <QLabel>
#include <QLineEdit>
#include <QListWidget>
#include <qmailmessage.h>
#include <qmailstore.h>
#include <QMessageBox>
#include <QProgressBar>
#include <QPushButton>
#include <QScrollArea>
#include <QScrollBar>
#include <QTabBar>
#include <QTabWidget>
#include <QTcpServer>
#include <QTest>
#include <QTimer>

#include <cmath>
#include <functional>
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

QPalette darkPalette()
{
    QPalette palette(QColor(0x2b, 0x2b, 0x2b));
    palette.setColor(QPalette::Base, QColor(0x1e, 0x1e, 0x1e));
    palette.setColor(QPalette::Highlight, QColor(0x2a, 0x62, 0x9e));
    palette.setColor(QPalette::HighlightedText, Qt::white);
    return palette;
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
    void noTwoControlsHaveTheSameKey();
    void keysQuitAndSynchronise();
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
    void accountWipedWhileItIsShownGetsNoPasswordBack();
    void whatAnotherProgramChangesIsShown();
    void whatAnotherProgramHasChangedMeanwhileIsNotOverwritten();
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
    void stateOfTheAccountIsToldAndKeptUpToDate();
    void firstStepTellsWhatIsWrongAtItsField();
    void serverThatIsNotFoundIsAskedFor();
    void mailIsSynchronisedAndTheEndTold();
    void synchronisationIsCancelled();
    void accountThatIsNotUsedIsNotSynchronised();
    void optionsAreSavedWithoutALogin();
    void removalTellsWhatItTakesAlong();
    void waitingMailIsToldAndPutBackAmongTheDrafts();
    void waitingMailIsTriedAgain();
    void nothingIsCutOff();
    void everythingFitsOnAPhone();
    void problemsAreReadableInTheDark();
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
    QListWidget *list() const { return listOf("accounts"); }
    QListWidget *listOf(const char *name) const
    {
        return m_window->findChild<QListWidget *>(QLatin1String(name));
    }
    QComboBox *encryption() const
    {
        return m_window->findChild<QComboBox *>(QStringLiteral("encryptionIncoming"));
    }
    QCheckBox *box(const char *name) const
    {
        return m_window->findChild<QCheckBox *>(QLatin1String(name));
    }
    QTabWidget *tabs() const { return m_window->findChild<QTabWidget *>(); }
    /** Each step of what the window shows of the account that is chosen. */
    void forEachTab(const std::function<void()> &look);
    void byHand();
    void chooseAccount(int row);
    void verifyTabReachesAll();
    void verifyNames();
    void verifyKeys();
    void verifyFits();
    void type(const char *name, const QString &text);
    void press(const char *name);
    void fill(const QString &password = Password);
    QMailAccountId addAccount(const QString &name);
    /** With folders, a mail that the server has, a draft, and a mail that was not sent. */
    QMailAccountId addAccountWithMail();

    void take(const QByteArray &what);
    void takeAccount(const QByteArray &appearance);

    /** Where pictures go. */
    QString m_pictures;
    std::unique_ptr<EasServer> m_server;
    std::unique_ptr<AccountWindow> m_window;
};

void TestAccountWindow::initTestCase()
{
    QVERIFY(AccountBook::open().ok());
    EasServer::require();
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

/** Goes on without a search for the server. */
void TestAccountWindow::byHand()
{
    if (button("byHand")->isVisible())
        press("byHand");
}

void TestAccountWindow::chooseAccount(int row)
{
    QTRY_VERIFY(list()->count() > row);
    list()->setCurrentRow(row);
}

void TestAccountWindow::forEachTab(const std::function<void()> &look)
{
    for (int tab = 0; tab < tabs()->count(); ++tab) {
        if (!tabs()->isVisible() && tab > 0)
            return;
        tabs()->setCurrentIndex(tab);
        look();
    }
}

void TestAccountWindow::fill(const QString &password)
{
    byHand();
    type("accountName", QStringLiteral("Work"));
    type("mailUserInput", QStringLiteral("alice"));
    type("mailPasswInput", password);
    type("mailServerInput", QStringLiteral("127.0.0.1"));
    type("mailPortInput", QString::number(m_server->port()));
    type("mailEmailInput", QStringLiteral("alice@example.test"));
    encryption()->setCurrentIndex(0);
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

QMailAccountId TestAccountWindow::addAccountWithMail()
{
    const QMailAccountId id = addAccount(QStringLiteral("Work"));
    StoreFixture::addStandardFolders(id);
    const QMailAccount account(id);
    StoreFixture::addMessage(id, account.standardFolder(QMailFolder::InboxFolder),
                             QStringLiteral("From the server"), QMailMessage::Read,
                             QStringLiteral("1:1"));
    StoreFixture::addMessage(id, account.standardFolder(QMailFolder::DraftsFolder),
                             QStringLiteral("A draft"), QMailMessage::Draft);
    QMailMessage waiting(StoreFixture::addOutgoing(id, QStringLiteral("Not sent")));
    waiting.setCustomField(QStringLiteral("dontSend"), QStringLiteral("true"));
    waiting.setCustomField(QStringLiteral("orvmail-send-failure"),
                           QStringLiteral("403 the server answered HTTP 403"));
    if (!QMailStore::instance()->updateMessage(&waiting))
        qFatal("cannot change a message");
    return id;
}

void TestAccountWindow::newAccountIsSetUpByKeyboardAlone()
{
    QCOMPARE(QApplication::focusWidget(), line("firstAddress"));
    QTest::keyClicks(QApplication::focusWidget(), QStringLiteral("alice@example.test"));
    QTest::keyClick(QApplication::focusWidget(), Qt::Key_Tab);
    QTest::keyClicks(QApplication::focusWidget(), Password);
    QTest::keyClick(m_window.get(), Qt::Key_E, Qt::AltModifier);
    // What is known already stands there, and what is not is next.
    QTRY_COMPARE(QApplication::focusWidget(), line("mailServerInput"));
    QCOMPARE(line("mailUserInput")->text(), QStringLiteral("alice@example.test"));
    QCOMPARE(line("mailPasswInput")->text(), Password);
    QCOMPARE(line("mailEmailInput")->text(), QStringLiteral("alice@example.test"));
    QCOMPARE(line("mailPortInput")->text(), QStringLiteral("443"));
    QTest::keyClick(m_window.get(), Qt::Key_N, Qt::AltModifier);
    QCOMPARE(QApplication::focusWidget(), line("accountName"));
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
    forEachTab([this] { verifyTabReachesAll(); });
    press("add");
    verifyTabReachesAll();
}

void TestAccountWindow::verifyTabReachesAll()
{
    list()->setFocus();
    QSet<QWidget *> reached;
    for (int step = 0; step < 40; ++step) {
        reached.insert(QApplication::focusWidget());
        QTest::keyClick(QApplication::focusWidget(), Qt::Key_Tab);
    }
    QVERIFY(reached.contains(list()));
    int count = 0;
    for (QWidget *widget : m_window->findChildren<QWidget *>()) {
        const bool isControl = qobject_cast<QLineEdit *>(widget)
            || qobject_cast<QComboBox *>(widget) || qobject_cast<QAbstractButton *>(widget)
            || qobject_cast<QListWidget *>(widget);
        if (!isControl || !widget->isVisible() || !widget->isEnabled()
            || widget->focusPolicy() == Qt::NoFocus)
            continue;
        QVERIFY2(reached.contains(widget), qPrintable(widget->objectName()));
        ++count;
    }
    QVERIFY2(count >= 5, qPrintable(QString::number(count)));
}

void TestAccountWindow::everythingHasANameForAScreenReader()
{
    verifyNames();
    addAccountWithMail();
    chooseAccount(1);
    forEachTab([this] { verifyNames(); });
}

void TestAccountWindow::verifyNames()
{
    int count = 0;
    for (QWidget *widget : m_window->findChildren<QWidget *>()) {
        if (widget->focusPolicy() == Qt::NoFocus || !widget->isVisible())
            continue;
        QAccessibleInterface *accessible = QAccessible::queryAccessibleInterface(widget);
        QVERIFY2(
            accessible && !accessible->text(QAccessible::Name).isEmpty(),
            qPrintable(QLatin1String(widget->metaObject()->className()) + widget->objectName()));
        ++count;
    }
    QVERIFY2(count >= 6, qPrintable(QString::number(count)));
}

/** Of all that is seen at the same time. */
void TestAccountWindow::verifyKeys()
{
    QMap<QString, QString> owners;
    const auto note = [&owners](const QString &text) {
        const QKeySequence keys = QKeySequence::mnemonic(text);
        if (keys.isEmpty())
            return;
        QVERIFY2(!owners.contains(keys.toString()),
                 qPrintable(owners.value(keys.toString()) + QLatin1String(" and ") + text));
        owners.insert(keys.toString(), text);
    };
    for (const QLabel *label : m_window->findChildren<QLabel *>()) {
        if (label->isVisible() && label->buddy())
            note(label->text());
    }
    for (const QAbstractButton *button : m_window->findChildren<QAbstractButton *>()) {
        if (!button->isHidden() && button->parentWidget()->isVisible())
            note(button->text());
    }
    for (int tab = 0; tabs()->isVisible() && tab < tabs()->count(); ++tab)
        note(tabs()->tabText(tab));
    QVERIFY(owners.size() >= 5);
}

void TestAccountWindow::noTwoControlsHaveTheSameKey()
{
    button("cancel")->show();
    verifyKeys();
    addAccountWithMail();
    chooseAccount(1);
    button("saveUnchecked")->show();
    forEachTab([this] { verifyKeys(); });
}

void TestAccountWindow::keysQuitAndSynchronise()
{
    addAccount(QStringLiteral("Work"));
    chooseAccount(1);
    QTest::keyClick(m_window.get(), Qt::Key_F5);
    QTRY_VERIFY2(status().contains(QLatin1String("messageserver5")), qPrintable(status()));
    QTest::keyClick(m_window.get(), Qt::Key_Q, Qt::ControlModifier);
    QVERIFY(!m_window->isVisible());
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
        problem("password")->hide();
        press(button);
        QVERIFY(problem("password")->isVisible());
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
    m_server->fault("delay", "Sync", {{"seconds", 20}});
    fill();
    press("save");
    QTRY_VERIFY(m_server->control("faults")[QStringLiteral("faults")].toArray().isEmpty());
    QTRY_VERIFY(m_window->findChild<QProgressBar *>()->isVisible());
    m_server->endDelays();
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

void TestAccountWindow::accountWipedWhileItIsShownGetsNoPasswordBack()
{
    const QMailAccountId id = addAccount(QStringLiteral("One"));
    chooseAccount(1);
    QCOMPARE(line("mailPasswInput")->text(), Password);
    QTest::keyClick(box("push"), Qt::Key_Space);
    QVERIFY(Store::AccountWipe::forget(id).ok());
    QTRY_VERIFY(problem("password")->text().contains(QLatin1String("was wiped")));
    QCOMPARE(line("mailPasswInput")->text(), QString());
    press("save");
    QVERIFY(AccountBook::details(id).wiped);
    QCOMPARE(AccountBook::details(id).settings.password, QString());
}

void TestAccountWindow::whatAnotherProgramChangesIsShown()
{
    const QMailAccountId id = addAccount(QStringLiteral("One"));
    chooseAccount(1);
    Accounts::AccountDetails other = AccountBook::details(id);
    other.settings.password = QStringLiteral("An0ther-Passw0rd");
    other.push = !other.push;
    QVERIFY(AccountBook::update(id, other).ok());
    QTRY_COMPARE(line("mailPasswInput")->text(), other.settings.password);
    QCOMPARE(box("push")->isChecked(), other.push);
}

void TestAccountWindow::whatAnotherProgramHasChangedMeanwhileIsNotOverwritten()
{
    const QMailAccountId id = addAccount(QStringLiteral("One"));
    chooseAccount(1);
    type("fullName", QStringLiteral("Alice Example"));
    Accounts::AccountDetails other = AccountBook::details(id);
    other.settings.password = QStringLiteral("An0ther-Passw0rd");
    QVERIFY(AccountBook::update(id, other).ok());
    press("save");
    QCOMPARE(AccountBook::details(id).settings.password, other.settings.password);
    QCOMPARE(line("fullName")->text(), QStringLiteral("Alice Example"));
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
    byHand();
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
    byHand();
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
    byHand();
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
    byHand();
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

void TestAccountWindow::stateOfTheAccountIsToldAndKeptUpToDate()
{
    const auto *pane = m_window->findChild<QLabel *>(QStringLiteral("accountStatus"));
    QVERIFY(!pane->isVisible());
    const QMailAccountId id = addAccount(QStringLiteral("Work"));
    QTRY_COMPARE(list()->count(), 2);
    list()->setCurrentRow(1);
    QVERIFY(pane->isVisible());
    QVERIFY2(pane->text().contains(QLatin1String("synchronised: not yet")),
             qPrintable(pane->text()));
    QVERIFY2(pane->text().contains(QLatin1String("push: off")), qPrintable(pane->text()));

    // The daemon tells of a password that the server refuses, and then of the right one.
    const BusService daemon = BusService::daemon();
    Activesync::AsDBusInterface proxy(QDBusConnection::sessionBus(), nullptr);
    const auto synchroniseWith = [&](const QString &password) {
        Accounts::AccountDetails details = AccountBook::details(id);
        details.settings.password = password;
        QVERIFY(AccountBook::update(id, details).ok());
        QVERIFY(proxy.sync(id.toULongLong(), QDBus::Block).value() > 0);
    };
    synchroniseWith(QStringLiteral("Wrong-Passw0rd"));
    const QString refused = QStringLiteral("refuses the user name or the password since ");
    QTRY_VERIFY_WITH_TIMEOUT(pane->text().contains(refused), 30000);
    QCOMPARE(pane->accessibleName(), pane->text());
    QCOMPARE(list()->item(1)->data(Accounts::AccountRow::StateRole).toString(),
             QStringLiteral("password refused"));
    QCOMPARE(list()->item(1)->data(Qt::AccessibleTextRole).toString(),
             QStringLiteral("Work: password refused"));
    // The text is laid out when the event loop turns next.
    QTRY_VERIFY(pane->height() >= pane->heightForWidth(pane->width()));
    QVERIFY(m_window->rect().contains(QRect(pane->mapTo(m_window.get(), QPoint()), pane->size())));
    synchroniseWith(Password);
    QTRY_VERIFY_WITH_TIMEOUT(pane->text().contains(QLatin1String(", successfully")), 30000);
    QVERIFY2(!pane->text().contains(refused), qPrintable(pane->text()));
    QCOMPARE(list()->item(1)->data(Accounts::AccountRow::StateRole).toString(),
             QStringLiteral("all is well"));

    list()->setCurrentRow(0);
    QVERIFY(!pane->isVisible());
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

void TestAccountWindow::firstStepTellsWhatIsWrongAtItsField()
{
    const auto problemAt = [this](const char *name) {
        return m_window->findChild<QLabel *>(QLatin1String("firstProblem-") + QLatin1String(name));
    };
    type("firstAddress", QStringLiteral("nonsense"));
    press("find");
    QVERIFY(problemAt("email")->isVisible());
    QVERIFY(problemAt("email")->text().contains(QLatin1String("no mail address")));
    QCOMPARE(QApplication::focusWidget(), line("firstAddress"));
    QCOMPARE(line("firstAddress")->accessibleDescription(), problemAt("email")->text());
    type("firstAddress", QStringLiteral("alice@nowhere.invalid"));
    QTest::keyClick(line("firstAddress"), Qt::Key_Return);
    QVERIFY(!problemAt("email")->isVisible());
    QVERIFY(problemAt("password")->isVisible());
    QCOMPARE(QApplication::focusWidget(), line("firstPassword"));
    QVERIFY(!button("cancel")->isVisible());
}

void TestAccountWindow::serverThatIsNotFoundIsAskedFor()
{
    type("firstAddress", QStringLiteral("alice@nowhere.invalid"));
    type("firstPassword", Password);
    press("find");
    QVERIFY(button("cancel")->isVisible());
    QTRY_VERIFY_WITH_TIMEOUT(problem("server")->isVisible(), 20000);
    QVERIFY2(problem("server")->text().contains(
                 QLatin1String("autodiscover.nowhere.invalid: there is no host of this name")),
             qPrintable(problem("server")->text()));
    QCOMPARE(QApplication::focusWidget(), line("mailServerInput"));
    QCOMPARE(line("mailUserInput")->text(), QStringLiteral("alice@nowhere.invalid"));
    QCOMPARE(line("mailPasswInput")->text(), Password);
    QCOMPARE(line("mailEmailInput")->text(), QStringLiteral("alice@nowhere.invalid"));
    QVERIFY(!button("cancel")->isVisible());
    // The way back to the first step.
    answer(QMessageBox::Yes);
    press("add");
    QVERIFY(line("firstAddress")->isVisible());
    QCOMPARE(line("firstAddress")->text(), QString());
    QVERIFY(AccountBook::accounts().isEmpty());
}

void TestAccountWindow::mailIsSynchronisedAndTheEndTold()
{
    const BusService daemon = BusService::daemon();
    const BusService messageServer = BusService::messageServer();
    m_server->deliverText(QStringLiteral("alice"), QStringLiteral("Another"));
    const QMailAccountId id = addAccount(QStringLiteral("Work"));
    chooseAccount(1);
    press("synchronise");
    QVERIFY2(status().startsWith(QLatin1String("Synchronising \"Work\"")), qPrintable(status()));
    QVERIFY(m_window->findChild<QProgressBar *>()->isVisible());
    QVERIFY(button("cancel")->isVisible());
    QVERIFY(!button("synchronise")->isEnabled());
    QTRY_VERIFY_WITH_TIMEOUT(status().startsWith(QLatin1String("Synchronised")), 60000);
    QVERIFY(!m_window->findChild<QProgressBar *>()->isVisible());
    QVERIFY(!button("cancel")->isVisible());
    QVERIFY(button("synchronise")->isEnabled());
    const int atServer =
        m_server->messages(QStringLiteral("alice"), QStringLiteral("Inbox")).size();
    QVERIFY(atServer > 0);
    QTRY_COMPARE(QMailStore::instance()->countMessages(QMailMessageKey::parentAccountId(id)),
                 atServer);
    QTRY_COMPARE(list()->item(1)->data(Accounts::AccountRow::StateRole).toString(),
                 QStringLiteral("all is well"));
    // The folders that came can be made favourites now.
    QTRY_VERIFY(listOf("favourites")->count() > 0);
}

void TestAccountWindow::synchronisationIsCancelled()
{
    const ScriptedDaemon daemon;
    const BusService messageServer = BusService::messageServer();
    addAccount(QStringLiteral("Work"));
    chooseAccount(1);
    press("synchronise");
    QTRY_VERIFY_WITH_TIMEOUT(!daemon.calls("sync").isEmpty(), 60000);
    QTest::keyClick(m_window.get(), Qt::Key_Escape);
    QTRY_VERIFY_WITH_TIMEOUT(!button("cancel")->isVisible(), 20000);
    QVERIFY2(status().contains(QLatin1String("cancelled")), qPrintable(status()));
    QVERIFY(button("synchronise")->isEnabled());
}

void TestAccountWindow::accountThatIsNotUsedIsNotSynchronised()
{
    const QMailAccountId id = addAccount(QStringLiteral("Work"));
    Accounts::AccountDetails details = AccountBook::details(id);
    details.enabled = false;
    QVERIFY(AccountBook::update(id, details).ok());
    chooseAccount(1);
    QCOMPARE(list()->item(1)->data(Accounts::AccountRow::StateRole).toString(),
             QStringLiteral("not used"));
    press("synchronise");
    QVERIFY(problem("enabled")->isVisible());
    QCOMPARE(QApplication::focusWidget(), box("enabled"));
    QTest::keyClick(box("enabled"), Qt::Key_Space);
    press("save");
    QVERIFY(AccountBook::details(id).enabled);
    QVERIFY(!problem("enabled")->isVisible());
}

void TestAccountWindow::optionsAreSavedWithoutALogin()
{
    const QMailAccountId id = addAccountWithMail();
    chooseAccount(1);
    m_server->clearLog();
    QTest::keyClick(m_window.get(), Qt::Key_O, Qt::AltModifier);
    type("fullName", QStringLiteral("Alice Example"));
    QTest::keyClick(box("push"), Qt::Key_Space);
    QTest::keyClick(box("notifications"), Qt::Key_Space);
    auto *keep = m_window->findChild<QComboBox *>(QStringLiteral("keep"));
    QCOMPARE(keep->currentText(), QStringLiteral("30 days"));
    QTest::keyClick(keep, Qt::Key_Home);
    QListWidget *favourites = listOf("favourites");
    QCOMPARE(favourites->count(), 6);
    favourites->setFocus();
    favourites->setCurrentRow(0);
    QTest::keyClick(favourites, Qt::Key_Space);
    press("save");
    QCOMPARE(status(), QStringLiteral("Saved."));
    const Accounts::AccountDetails saved = AccountBook::details(id);
    QCOMPARE(saved.fullName, QStringLiteral("Alice Example"));
    QVERIFY(saved.push);
    QVERIFY(!saved.notifications);
    QCOMPARE(saved.keepDays, 1);
    QVERIFY(saved.enabled);
    QCOMPARE(saved.settings.password, Password);
    const QList<Accounts::FolderLine> folders = Accounts::foldersOf(id);
    QVERIFY(folders.first().favourite);
    QVERIFY(!folders.last().favourite);
    // Nothing is left that would have to be discarded.
    QVERIFY(m_window->close());
    QCOMPARE(m_server->log().size(), 0);
}

void TestAccountWindow::removalTellsWhatItTakesAlong()
{
    addAccountWithMail();
    chooseAccount(1);
    QString question;
    QTimer::singleShot(0, qApp, [&question] {
        auto *box = qobject_cast<QMessageBox *>(QApplication::activeModalWidget());
        question = box->text() + QLatin1Char('\n') + box->informativeText();
        // Escape keeps it.
        QTest::keyClick(box, Qt::Key_Escape);
    });
    press("remove");
    for (const char *text : {"\"Work\"", "Messages here: 3.", "not been sent, and is lost: 1",
                             "Drafts that are nowhere else, and are lost: 1"})
        QVERIFY2(question.contains(QLatin1String(text)), qPrintable(question));
    QCOMPARE(AccountBook::accounts().size(), 1);
}

void TestAccountWindow::waitingMailIsToldAndPutBackAmongTheDrafts()
{
    const QMailAccountId id = addAccountWithMail();
    chooseAccount(1);
    QTRY_COMPARE(tabs()->tabText(2), QStringLiteral("Out&box (1)"));
    QTRY_COMPARE(list()->item(1)->data(Accounts::AccountRow::StateRole).toString(),
                 QStringLiteral("mail not sent"));
    QTest::keyClick(m_window.get(), Qt::Key_B, Qt::AltModifier);
    QListWidget *outbox = listOf("outbox");
    QVERIFY(outbox->isVisible());
    const QString text = outbox->item(0)->text();
    for (const char *part : {"\"Not sent\"", "bob@example.com", "is not tried again by itself"})
        QVERIFY2(text.contains(QLatin1String(part)), qPrintable(text));
    QVERIFY(!button("toDrafts")->isEnabled());
    outbox->setFocus();
    QTest::keyClick(outbox, Qt::Key_Down);
    outbox->setCurrentRow(0);
    press("toDrafts");
    QTRY_COMPARE(status(), QStringLiteral("The mail is among the drafts."));
    QTRY_COMPARE(tabs()->tabText(2), QStringLiteral("Out&box"));
    const QMailMessageKey drafts = QMailMessageKey::parentAccountId(id)
        & QMailMessageKey::status(QMailMessage::Draft, QMailDataComparator::Includes);
    QTRY_COMPARE(QMailStore::instance()->countMessages(drafts), 2);
}

void TestAccountWindow::waitingMailIsTriedAgain()
{
    addAccountWithMail();
    chooseAccount(1);
    tabs()->setCurrentIndex(2);
    QTRY_COMPARE(listOf("outbox")->count(), 1);
    listOf("outbox")->setCurrentRow(0);
    // Nothing is there that could send it, and that is told beside it.
    press("retry");
    QTRY_VERIFY(problem("outbox")->isVisible());
    QVERIFY2(problem("outbox")->text().contains(QLatin1String("messageserver5")),
             qPrintable(problem("outbox")->text()));
    QCOMPARE(listOf("outbox")->count(), 1);

    const BusService daemon = BusService::daemon();
    const BusService messageServer = BusService::messageServer();
    press("retry");
    QVERIFY(!problem("outbox")->isVisible());
    QTRY_COMPARE_WITH_TIMEOUT(status(), QStringLiteral("The mail is sent."), 60000);
    QTRY_COMPARE(listOf("outbox")->count(), 0);
    QVERIFY(!listOf("outbox")->isVisible());
}

/** Whether nothing of what is shown lies beyond the window's sides. */
void TestAccountWindow::verifyFits()
{
    const QScrollBar *bar = m_window->findChild<QScrollArea *>()->horizontalScrollBar();
    QTRY_VERIFY(!bar->isVisible());
    int count = 0;
    for (QWidget *widget : m_window->findChildren<QWidget *>()) {
        const bool isText = qobject_cast<QLabel *>(widget);
        const bool isControl = qobject_cast<QAbstractButton *>(widget)
            || qobject_cast<QLineEdit *>(widget) || qobject_cast<QComboBox *>(widget);
        if (!widget->isVisible() || (!isText && !isControl)
            || qobject_cast<QTabBar *>(widget->parentWidget()))
            continue;
        const int left = widget->mapTo(m_window.get(), QPoint()).x();
        const QString what =
            QStringLiteral("%1 %2 from %3 to %4")
                .arg(QLatin1String(widget->metaObject()->className()), widget->objectName())
                .arg(left)
                .arg(left + widget->width());
        QVERIFY2(left >= 0 && left + widget->width() <= m_window->width(), qPrintable(what));
        QVERIFY2(widget->width() >= widget->minimumSizeHint().width(), qPrintable(what));
        if (widget->hasHeightForWidth())
            QTRY_VERIFY2(widget->height() >= widget->heightForWidth(widget->width()),
                         qPrintable(what));
        ++count;
    }
    QVERIFY(count >= 8);
}

void TestAccountWindow::everythingFitsOnAPhone()
{
    m_window->resize(360, 640);
    QTRY_COMPARE(m_window->size(), QSize(360, 640));
    verifyFits();
    addAccountWithMail();
    chooseAccount(1);
    forEachTab([this] { verifyFits(); });
    // What is wrong is told beneath its field where there is no room beside it.
    type("mailPasswInput", QStringLiteral("Wrong-Passw0rd"));
    press("save");
    QTRY_VERIFY(problem("password")->isVisible());
    verifyFits();
    const QRect input = line("mailPasswInput")->geometry();
    QTRY_VERIFY(problem("password")->geometry().top() > input.bottom());
    QCOMPARE(problem("password")->geometry().left(), input.left());
    // What has the cursor is scrolled to.
    const auto place = [this] {
        QWidget *password = line("mailPasswInput");
        return QRect(password->mapTo(m_window.get(), QPoint()), password->size());
    };
    QTRY_VERIFY(m_window->rect().contains(place()));
}

void TestAccountWindow::problemsAreReadableInTheDark()
{
    const QPalette before = QApplication::palette();
    const auto luminance = [](const QColor &colour) {
        const auto part = [](qreal value) {
            return value <= 0.03928 ? value / 12.92 : std::pow((value + 0.055) / 1.055, 2.4);
        };
        return 0.2126 * part(colour.redF()) + 0.7152 * part(colour.greenF())
            + 0.0722 * part(colour.blueF());
    };
    const auto contrast = [&](const QWidget *widget) {
        const qreal text = luminance(widget->palette().color(QPalette::WindowText));
        const qreal ground = luminance(widget->palette().color(QPalette::Window));
        return (qMax(text, ground) + 0.05) / (qMin(text, ground) + 0.05);
    };
    QVERIFY(contrast(problem("password")) >= 4.5);
    const auto isDark = [&] {
        return problem("password")->palette().color(QPalette::Window).lightness() < 128;
    };
    QVERIFY(!isDark());
    QApplication::setPalette(darkPalette());
    QTRY_VERIFY(isDark());
    QTRY_VERIFY(problem("password")->palette().color(QPalette::WindowText).red() > 200);
    QVERIFY(contrast(problem("password")) >= 4.5);
    QApplication::setPalette(before);
    QTRY_VERIFY(!isDark());
    QVERIFY(contrast(problem("password")) >= 4.5);
}

void TestAccountWindow::takesPictures()
{
    m_pictures = qEnvironmentVariable("ORVMAIL_BUILD_DIR");
    if (m_pictures.isEmpty())
        QSKIP("no build folder named in ORVMAIL_BUILD_DIR");
    addAccount(QStringLiteral("Private"));
    addAccountWithMail();
    QTRY_COMPARE(list()->count(), 3);
    fill(QStringLiteral("Wrong-Passw0rd"));
    type("accountName", QStringLiteral("University"));
    press("save");
    QTRY_VERIFY(problem("password")->isVisible());
    take("refused");
    m_window = std::make_unique<AccountWindow>();
    m_window->show();
    QVERIFY(QTest::qWaitForWindowExposed(m_window.get()));
    for (const char *appearance : {"", "-dark", "-phone"}) {
        takeAccount(appearance);
        if (qstrcmp(appearance, "-dark") == 0)
            m_window->resize(360, 640);
    }
}

/** The account's pages as they look just now. */
void TestAccountWindow::takeAccount(const QByteArray &appearance)
{
    const QPalette before = QApplication::palette();
    if (appearance == "-dark")
        QApplication::setPalette(darkPalette());
    list()->setCurrentRow(0);
    take("start" + appearance);
    list()->setCurrentRow(2);
    take("account" + appearance);
    tabs()->setCurrentIndex(1);
    take("options" + appearance);
    tabs()->setCurrentIndex(2);
    take("outbox" + appearance);
    QApplication::setPalette(before);
}

void TestAccountWindow::take(const QByteArray &what)
{
    // What has changed is laid out and drawn in the event loop.
    const QScrollBar *bar = m_window->findChild<QScrollArea *>()->horizontalScrollBar();
    QTRY_VERIFY2(!bar->isVisible(), what.constData());
    const QPixmap picture = m_window->grab();
    QVERIFY(picture.save(QStringLiteral("%1/account-window-%2-%3.png")
                             .arg(m_pictures, QString::fromLatin1(what))
                             .arg(qRound(picture.devicePixelRatio() * 100))));
}

QTEST_MAIN(TestAccountWindow)
#include "tst_accountwindow.moc"
