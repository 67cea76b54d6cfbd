// SPDX-License-Identifier: LGPL-2.1-or-later
#include "tests/accounts/busservice.h"
#include "tests/daemon/daemonfixture.h"
#include "tests/daemon/notify/busmonitor.h"
#include "tests/daemon/sendingworld.h"
#include "tests/stage/desktop/notificationserver.h"

#include <QDBusConnectionInterface>
#include <QFile>
#include <qmailaccountconfiguration.h>
#include <qmailstore.h>
#include <QTest>

#include <memory>

namespace {

const QString Service = QStringLiteral("org.freedesktop.Notifications");
const QString Refused = QStringLiteral("Test: the password is refused");
const QString OneMail = QStringLiteral("Test: a mail could not be sent");
const QString TwoMails = QStringLiteral("Test: 2 mails could not be sent");

QString notify(const char *place, const QString &summary)
{
    return QStringLiteral("Notify %1 %2").arg(QLatin1String(place), summary);
}

QString closed(int number)
{
    return QStringLiteral("Close %1").arg(number);
}

} // namespace

/** What the daemon has the desktop tell a person, and that it does so once. */
class TestNotifications : public DaemonFixture<SendingWorld>
{
    Q_OBJECT

private slots:
    void init();
    void cleanup();

    void aRefusedPasswordIsToldOnceUntilItIsRight();
    void aNewPasswordThatIsRefusedIsToldAnew();
    void anUnmetPolicyIsToldUntilItIsMet();
    void aMailThatTheServerRefusesIsToldOnce();
    void oneMoreMailThatIsRefusedIsToldInTheSamePlace();
    void aMailThatIsTakenBackIsOver();
    void aMailThatIsTriedAgainIsToldWhenItIsGivenUp();
    void nothingPrivateIsTold();
    void theAdviceIsTypedAsItIsTold_data();
    void theAdviceIsTypedAsItIsTold();
    void whatIsToldStaysUntilItIsClosed();
    void anAccountThatIsSwitchedOffTellsNothing();
    void anAccountThatGoesTakesItsNotificationAlong();
    void withoutAServiceNothingIsAskedAndNothingStarted();
    void aServiceThatAppearsLaterTellsIt();
    void aServiceThatTheBusCanStartIsStarted();
    void aServiceThatDoesNotAnswerHoldsNothingUp();
    void whatAServiceTookAlongIsNotToldAgain();

private:
    void appear() { m_desktop = std::make_unique<NotificationServer>(); }
    void vanish()
    {
        m_desktop.reset();
        QTRY_VERIFY(!QDBusConnection::sessionBus().interface()->isServiceRegistered(Service));
    }
    QStringList calls() const { return m_desktop ? m_desktop->calls() : QStringList(); }
    void setServersPassword(const QString &password)
    {
        world().server.control("set-password",
                               {{QStringLiteral("user"), QStringLiteral("alice")},
                                {QStringLiteral("password"), password}});
    }
    void refusePassword() { setServersPassword(QStringLiteral("Tr0mbone")); }
    void acceptPassword() { setServersPassword(world().settings().password); }
    void restartDaemon()
    {
        QCOMPARE(world().endDaemon(), 0);
        QVERIFY(world().startDaemon());
    }
    /** A mail to somebody whom the server does not know. */
    QMailMessageId addRefusedMail(const QString &subject = QStringLiteral("Hello"))
    {
        QMailMessage draft = world().draft(subject);
        draft.setTo(QMailAddress(QStringLiteral("nobody@example.test")));
        return world().add(draft);
    }
    /** Sends it and puts it back, as the message server does. */
    void tryToSend(const QMailMessageId &id)
    {
        QCOMPARE(world().sendAndWait(id), 404);
        world().setOutbox(id, true);
    }
    void setNotifications(const QString &value);
    int linesOfLog(const char *text) { return world().daemon.log().count(QLatin1String(text)); }

    std::unique_ptr<NotificationServer> m_desktop;
};

void TestNotifications::init()
{
    DaemonFixture::init();
    QCOMPARE(world().syncAndWait(), 200);
}

void TestNotifications::cleanup()
{
    DaemonFixture::cleanup();
    vanish();
}

void TestNotifications::setNotifications(const QString &value)
{
    QMailAccount account(world().account);
    QMailAccountConfiguration configuration(world().account);
    configuration.serviceConfiguration(QStringLiteral("orvmail"))
        .setValue(QStringLiteral("notifications"), value);
    QVERIFY(QMailStore::instance()->updateAccount(&account, &configuration));
}

void TestNotifications::aRefusedPasswordIsToldOnceUntilItIsRight()
{
    appear();
    refusePassword();
    QCOMPARE(world().syncAndWait(), 401);
    QTRY_COMPARE(calls(), QStringList(notify("1", Refused)));
    QCOMPARE(world().syncAndWait(), 401);
    restartDaemon();
    QCOMPARE(world().syncAndWait(), 401);
    acceptPassword();
    QCOMPARE(world().syncAndWait(), 200);
    QTRY_COMPARE(calls().last(), closed(1));
    refusePassword();
    QCOMPARE(world().syncAndWait(), 401);
    const QStringList all {notify("1", Refused), closed(1), notify("2", Refused)};
    QTRY_COMPARE(calls(), all);
}

void TestNotifications::aNewPasswordThatIsRefusedIsToldAnew()
{
    appear();
    StoreFixture::Account settings = world().settings();
    settings.password = QStringLiteral("Tr0mbone");
    world().changeSettings(world().account, settings);
    QCOMPARE(world().syncAndWait(), 401);
    QTRY_COMPARE(calls(), QStringList(notify("1", Refused)));
    settings.password = QStringLiteral("Tr1angle");
    world().changeSettings(world().account, settings);
    QCOMPARE(world().syncAndWait(), 401);
    const QStringList all {notify("1", Refused), closed(1), notify("2", Refused)};
    QTRY_COMPARE(calls(), all);
}

void TestNotifications::anUnmetPolicyIsToldUntilItIsMet()
{
    appear();
    world().server.fault({{QStringLiteral("kind"), QStringLiteral("http")},
                          {QStringLiteral("status"), 449},
                          {QStringLiteral("count"), -1}});
    const QString told = notify("1", QStringLiteral("Test: the server's policy is not met"));
    QCOMPARE(world().syncAndWait(), 60007);
    QTRY_COMPARE(calls(), QStringList(told));
    QCOMPARE(world().syncAndWait(), 60007);
    world().server.clearFaults();
    QCOMPARE(world().syncAndWait(), 200);
    const QStringList all {told, closed(1)};
    QTRY_COMPARE(calls(), all);
}

void TestNotifications::aMailThatTheServerRefusesIsToldOnce()
{
    appear();
    const QMailMessageId id = addRefusedMail();
    tryToSend(id);
    QTRY_COMPARE(calls(), QStringList(notify("1", OneMail)));
    tryToSend(id);
    restartDaemon();
    tryToSend(id);
    // Its author mends it.
    QMailMessage message(id);
    message.setTo(QMailAddress(QStringLiteral("bob@example.test")));
    QVERIFY(QMailStore::instance()->updateMessage(&message));
    QCOMPARE(world().sendAndWait(id), 200);
    QTRY_COMPARE(calls().last(), closed(1));
    tryToSend(addRefusedMail());
    const QStringList all {notify("1", OneMail), closed(1), notify("2", OneMail)};
    QTRY_COMPARE(calls(), all);
}

void TestNotifications::oneMoreMailThatIsRefusedIsToldInTheSamePlace()
{
    appear();
    const QMailMessageId first = addRefusedMail(QStringLiteral("First"));
    const QMailMessageId second = addRefusedMail(QStringLiteral("Second"));
    tryToSend(first);
    QTRY_COMPARE(calls(), QStringList(notify("1", OneMail)));
    // The place of the first is known to the next daemon as well.
    restartDaemon();
    tryToSend(second);
    QStringList all {notify("1", OneMail), notify("1>1", TwoMails)};
    QTRY_COMPARE(calls(), all);
    QVERIFY(QMailStore::instance()->removeMessage(first));
    QVERIFY(QMailStore::instance()->removeMessage(second));
    QMailStore::instance()->flushIpcNotifications();
    all.append(closed(1));
    QTRY_COMPARE(calls(), all);
}

void TestNotifications::aMailThatIsTakenBackIsOver()
{
    appear();
    const QMailMessageId id = addRefusedMail();
    tryToSend(id);
    QTRY_COMPARE(calls(), QStringList(notify("1", OneMail)));
    QVERIFY(QMailStore::instance()->updateMessagesMetaData(QMailMessageKey::id(id),
                                                           QMailMessage::Draft, true));
    world().setOutbox(id, false);
    QMailStore::instance()->flushIpcNotifications();
    QStringList all {notify("1", OneMail), closed(1)};
    QTRY_COMPARE(calls(), all);
}

void TestNotifications::aMailThatIsTriedAgainIsToldWhenItIsGivenUp()
{
    appear();
    const QMailMessageId id = world().add(world().draft());
    world().server.control("network", {{QStringLiteral("up"), false}});
    QCOMPARE(world().sendAndWait(id), 902);
    world().setOutbox(id, true);
    // The message server counts its attempts, and gives up.
    SendingWorld::setField(id, "dontSend", QStringLiteral("1"));
    QMailStore::instance()->flushIpcNotifications();
    // A person is told of the other one, and so the daemon has seen the first as well.
    world().server.control("network", {{QStringLiteral("up"), true}});
    const QMailMessageId other = addRefusedMail(QStringLiteral("Other"));
    tryToSend(other);
    QTRY_COMPARE(calls(), QStringList(notify("1", OneMail)));
    SendingWorld::setField(id, "dontSend", QStringLiteral("true"));
    QMailStore::instance()->flushIpcNotifications();
    const QStringList all {notify("1", OneMail), notify("1>1", TwoMails)};
    QTRY_COMPARE(calls(), all);
}

void TestNotifications::nothingPrivateIsTold()
{
    appear();
    tryToSend(addRefusedMail(QStringLiteral("Our secret plan")));
    refusePassword();
    QCOMPARE(world().syncAndWait(), 401);
    const QStringList all {notify("1", OneMail), notify("2", Refused)};
    QTRY_COMPARE(calls(), all);
    for (const char *secret : {"secret", "plan", "nobody", "alice", "127.0.0.1", "example"})
        QVERIFY2(!m_desktop->texts().contains(QLatin1String(secret)), secret);
}

void TestNotifications::theAdviceIsTypedAsItIsTold_data()
{
    QTest::addColumn<QString>("name");
    QTest::addColumn<QString>("typed");
    const QString number = QStringLiteral("NUMBER");
    QTest::newRow("a word") << QStringLiteral("Work") << QStringLiteral("Work");
    QTest::newRow("words") << QStringLiteral("My work") << QStringLiteral("'My work'");
    QTest::newRow("an address, which is private") << QStringLiteral("alice@example.test") << number;
    QTest::newRow("what could be markup") << QStringLiteral("Research & Development") << number;
}

void TestNotifications::theAdviceIsTypedAsItIsTold()
{
    QFETCH(QString, name);
    QFETCH(QString, typed);
    QMailAccount account(world().account);
    account.setName(name);
    QVERIFY(QMailStore::instance()->updateAccount(&account));
    QMailStore::instance()->flushIpcNotifications();
    appear();
    refusePassword();
    QCOMPARE(world().syncAndWait(), 401);
    QTRY_COMPARE(calls().size(), 1);
    typed.replace(QLatin1String("NUMBER"), QString::number(world().account.toULongLong()));
    const QString advice = QStringLiteral("\"orvmail-account set %1 --ask-password\"").arg(typed);
    QVERIFY2(m_desktop->texts().contains(advice), qPrintable(m_desktop->texts()));
    QVERIFY(!m_desktop->texts().contains(QLatin1Char('@')));
}

void TestNotifications::whatIsToldStaysUntilItIsClosed()
{
    appear();
    refusePassword();
    QCOMPARE(world().syncAndWait(), 401);
    QTRY_COMPARE(m_desktop->lastExpiry(), 0);
}

void TestNotifications::anAccountThatIsSwitchedOffTellsNothing()
{
    appear();
    setNotifications(QStringLiteral("0"));
    refusePassword();
    QCOMPARE(world().syncAndWait(), 401);
    QCOMPARE(world().syncAndWait(), 401);
    acceptPassword();
    QCOMPARE(world().syncAndWait(), 200);
    setNotifications(QStringLiteral("1"));
    refusePassword();
    QCOMPARE(world().syncAndWait(), 401);
    // The first one that there is.
    QTRY_COMPARE(calls(), QStringList(notify("1", Refused)));
}

void TestNotifications::anAccountThatGoesTakesItsNotificationAlong()
{
    appear();
    refusePassword();
    QCOMPARE(world().syncAndWait(), 401);
    QTRY_COMPARE(calls(), QStringList(notify("1", Refused)));
    QVERIFY(QMailStore::instance()->removeAccount(world().account));
    const QStringList all {notify("1", Refused), closed(1)};
    QTRY_COMPARE(calls(), all);
}

void TestNotifications::withoutAServiceNothingIsAskedAndNothingStarted()
{
    BusMonitor monitor(Service);
    QVERIFY(monitor.isWatching());
    refusePassword();
    QCOMPARE(world().syncAndWait(), 401);
    QTRY_COMPARE(linesOfLog("there is no notification service"), 1);
    QCOMPARE(world().syncAndWait(), 401);
    acceptPassword();
    QCOMPARE(world().syncAndWait(), 200);
    QCOMPARE(linesOfLog("there is no notification service"), 1);
    QCOMPARE(monitor.calls(), 0);
}

void TestNotifications::aServiceThatAppearsLaterTellsIt()
{
    refusePassword();
    QCOMPARE(world().syncAndWait(), 401);
    QTRY_COMPARE(linesOfLog("there is no notification service"), 1);
    appear();
    QTRY_COMPARE(calls(), QStringList(notify("1", Refused)));
}

void TestNotifications::aServiceThatTheBusCanStartIsStarted()
{
    // It cannot run here.
    const QString mark = qEnvironmentVariable("TMPDIR") + QStringLiteral("/started");
    const BusService installed(Service, QStringLiteral("/bin/sh -c 'touch %1; exit 1'").arg(mark));
    refusePassword();
    QCOMPARE(world().syncAndWait(), 401);
    QTRY_VERIFY(QFile::exists(mark));
    QTRY_COMPARE(linesOfLog("a notification was not shown"), 1);
    // It is not started again and again.
    QVERIFY(QFile::remove(mark));
    QCOMPARE(world().syncAndWait(), 401);
    acceptPassword();
    QCOMPARE(world().syncAndWait(), 200);
    QCOMPARE(linesOfLog("a notification was not shown"), 1);
    QVERIFY(!QFile::exists(mark));
}

void TestNotifications::aServiceThatDoesNotAnswerHoldsNothingUp()
{
    appear();
    m_desktop->keepSilent();
    refusePassword();
    QCOMPARE(world().syncAndWait(), 401);
    QTRY_COMPARE(calls(), QStringList(notify("1", Refused)));
    // The daemon works on, and does not ask again.
    acceptPassword();
    QCOMPARE(world().syncAndWait(), 200);
    refusePassword();
    QCOMPARE(world().syncAndWait(), 401);
    QCOMPARE(calls().size(), 1);
    vanish();
    appear();
    QTRY_COMPARE(calls(), QStringList(notify("1", Refused)));
}

void TestNotifications::whatAServiceTookAlongIsNotToldAgain()
{
    appear();
    refusePassword();
    QCOMPARE(world().syncAndWait(), 401);
    QTRY_COMPARE(calls(), QStringList(notify("1", Refused)));
    vanish();
    appear();
    QCOMPARE(world().syncAndWait(), 401);
    acceptPassword();
    // Number 1 of this one would be another program's.
    QCOMPARE(world().syncAndWait(), 200);
    refusePassword();
    QCOMPARE(world().syncAndWait(), 401);
    QTRY_COMPARE(calls(), QStringList(notify("1", Refused)));
}

QTEST_GUILESS_MAIN(TestNotifications)
#include "tst_notifications.moc"
