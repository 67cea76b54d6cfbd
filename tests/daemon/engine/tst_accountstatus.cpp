// SPDX-License-Identifier: LGPL-2.1-or-later
#include "asclient/accountstatus.h"
#include "tests/daemon/daemonfixture.h"
#include "tests/daemon/sendingworld.h"

#include <QDateTime>
#include <QDBusInterface>
#include <QDBusReply>
#include <qmailstore.h>
#include <QSignalSpy>
#include <QTest>

#include <memory>

using Activesync::AccountStatus;
using Activesync::WaitingMail;

/** What the daemon tells of an account, to those who show it to a person. */
class TestAccountStatus : public DaemonFixture<SendingWorld>
{
    Q_OBJECT

private slots:
    void anAccountThatWorksHasNoError();
    void theReasonIsThereWhenTheRequestEnds_data();
    void theReasonIsThereWhenTheRequestEnds();
    void aRefusedLoginIsToldAndForgottenAfterASuccess();
    void whatIsWrongWithTheSettingsIsNamed();
    void aServerThatCannotBeWatchedIsToldOf();

    void theDaemonTellsItsVersionAndSinceWhenItServes();
    void anAccountThatIsNotServedHasNoStatus();
    void aSynchronisationIsToldWithItsEnd();
    void whatHappenedLastOutlivesTheDaemon();
    void aRefusedLoginStandsUntilOneSucceeds();
    void newSettingsAreNotBlamedForTheOldOnes();
    void anotherMailboxBeginsWithoutAPast();
    void anUnmetPolicyIsToldUntilItIsMet();
    void pushIsToldWithItsReason();
    void aMailThatDidNotGoIsToldWithItsReason();
    void whatChangesInTheOutboxIsNoticed();
    void aMailThatMayHaveGoneIsTold();
    void aMailThatIsBeingSentIsTold();
    void whoHearsOfTheEndOfASendingFindsItOver();
    void changesThatWaitAreCounted();
    void whatDoesNotChangeIsNotTold();

signals:
    void statusTold(qulonglong account);
    void requestTold(int code, qulonglong account, int request);

private:
    static QDBusInterface interface()
    {
        return {QLatin1String(Activesync::ServiceName), QLatin1String(Activesync::ObjectPath),
                QLatin1String(Activesync::StatusInterfaceName)};
    }
    /** Has statusTold() tell from now on. */
    bool hearStatus()
    {
        if (!m_hearsStatus)
            m_hearsStatus = QDBusConnection::sessionBus().connect(
                QString(), QLatin1String(Activesync::ObjectPath),
                QLatin1String(Activesync::StatusInterfaceName),
                QStringLiteral("accountStatusChanged"), this, SIGNAL(statusTold(qulonglong)));
        return m_hearsStatus;
    }
    QVariantList lastError()
    {
        return interface()
            .call(QStringLiteral("lastError"), world().account.toULongLong())
            .arguments();
    }
    AccountStatus status()
    {
        const QDBusReply<QVariantMap> reply =
            interface().call(QStringLiteral("accountStatus"), world().account.toULongLong());
        return AccountStatus::fromMap(reply.value());
    }
    WaitingMail onlyMail()
    {
        const QList<WaitingMail> outbox = status().outbox;
        return outbox.size() == 1 ? outbox.first() : WaitingMail();
    }
    void restartDaemon()
    {
        QCOMPARE(world().endDaemon(), 0);
        QVERIFY(world().startDaemon());
    }
    void setPassword(const QString &password)
    {
        StoreFixture::Account settings = world().settings();
        settings.password = password;
        world().changeSettings(world().account, settings);
    }

    bool m_hearsStatus = false;
};

void TestAccountStatus::anAccountThatWorksHasNoError()
{
    QCOMPARE(lastError(), QVariantList({0, QString()}));
    QCOMPARE(world().syncAndWait(), 200);
    QCOMPARE(lastError(), QVariantList({0, QString()}));
}

void TestAccountStatus::theReasonIsThereWhenTheRequestEnds_data()
{
    QTest::addColumn<QString>("server");
    QTest::addColumn<int>("port");
    QTest::addColumn<QString>("words");
    QTest::newRow("nobody listens")
        << QStringLiteral("127.0.0.1") << 1 << QStringLiteral("127.0.0.1 refuses the connection.");
    QTest::newRow("no such host") << QStringLiteral("nowhere.invalid") << 80
                                  << QStringLiteral("There is no host named nowhere.invalid.");
}

void TestAccountStatus::theReasonIsThereWhenTheRequestEnds()
{
    QFETCH(QString, server);
    QFETCH(int, port);
    QFETCH(QString, words);
    StoreFixture::Account settings = world().settings();
    settings.server = server;
    settings.port = port;
    world().changeSettings(world().account, settings);
    // Who hears of the end may ask at once.
    QCOMPARE(world().syncAndWait(), 902);
    QCOMPARE(lastError(), QVariantList({902, words}));
}

void TestAccountStatus::aRefusedLoginIsToldAndForgottenAfterASuccess()
{
    const StoreFixture::Account right = world().settings();
    StoreFixture::Account wrong = right;
    wrong.password = QStringLiteral("Tr0mbone");
    world().changeSettings(world().account, wrong);
    QCOMPARE(world().syncAndWait(), 401);
    QCOMPARE(lastError(),
             QVariantList({401,
                           QStringLiteral("127.0.0.1 refuses the user name or the password "
                                          "(HTTP 401).")}));
    world().changeSettings(world().account, right);
    QCOMPARE(world().syncAndWait(), 200);
    QCOMPARE(lastError(), QVariantList({0, QString()}));
}

void TestAccountStatus::whatIsWrongWithTheSettingsIsNamed()
{
    StoreFixture::Account settings = world().settings();
    // Somebody may type a mail address here, and it is not to be repeated.
    settings.server = QStringLiteral("alice@example.org");
    world().changeSettings(world().account, settings);
    QCOMPARE(world().syncAndWait(), 60006);
    QCOMPARE(lastError(),
             QVariantList({60006,
                           QStringLiteral("The account's setting \"server\" is missing or "
                                          "wrong.")}));
}

void TestAccountStatus::aServerThatCannotBeWatchedIsToldOf()
{
    QCOMPARE(world().syncAndWait(), 200);
    world().setPush(true);
    QTRY_COMPARE(world().pings(), 1);
    // Nobody asks for anything, and the network wants a login of its own meanwhile.
    world().server.fault({{QStringLiteral("kind"), QStringLiteral("http")},
                          {QStringLiteral("status"), 404},
                          {QStringLiteral("count"), -1}});
    world().server.control("ping-end");
    QTRY_COMPARE(lastError(), QVariantList({500, QStringLiteral("127.0.0.1 failed (HTTP 404).")}));
    world().server.clearFaults();
    // The test's own end of the first one counts, too.
    QTRY_COMPARE_WITH_TIMEOUT(world().pings(), 3, 60000);
    world().server.control("ping-end");
    QTRY_COMPARE(lastError(), QVariantList({0, QString()}));
}

void TestAccountStatus::theDaemonTellsItsVersionAndSinceWhenItServes()
{
    const qint64 now = QDateTime::currentSecsSinceEpoch();
    const QDBusInterface status {QLatin1String(Activesync::ServiceName),
                                 QLatin1String(Activesync::ObjectPath),
                                 QLatin1String(Activesync::StatusInterfaceName)};
    QVERIFY(status.property("version").toString().contains(QLatin1Char('.')));
    const qint64 since = status.property("since").toLongLong();
    QVERIFY2(since <= now && since > now - 60, qPrintable(QString::number(since)));
}

void TestAccountStatus::anAccountThatIsNotServedHasNoStatus()
{
    const auto hasNone = [](qulonglong account) {
        const QDBusReply<QVariantMap> reply =
            interface().call(QStringLiteral("accountStatus"), account);
        return reply.isValid() && reply.value().isEmpty();
    };
    QVERIFY(hasNone(4711));
    QVERIFY(!hasNone(world().account.toULongLong()));
    world().setEnabled(world().account, false);
    QTRY_VERIFY(hasNone(world().account.toULongLong()));
    world().setEnabled(world().account, true);
    QTRY_VERIFY(!hasNone(world().account.toULongLong()));
}

void TestAccountStatus::aSynchronisationIsToldWithItsEnd()
{
    QCOMPARE(world().syncAndWait(), 200);
    AccountStatus good = status();
    QCOMPARE(good.syncCode, 200);
    QVERIFY(good.syncText.isEmpty());
    QVERIFY(good.syncedAt > 0);
    QCOMPARE(good.succeededAt, good.syncedAt);
    world().server.fault({{QStringLiteral("kind"), QStringLiteral("http")},
                          {QStringLiteral("status"), 403},
                          {QStringLiteral("count"), -1}});
    QCOMPARE(world().syncAndWait(), 403);
    const AccountStatus bad = status();
    QCOMPARE(bad.syncCode, 403);
    QCOMPARE(bad.syncText,
             QStringLiteral("127.0.0.1 forbids it to this device or this user (HTTP 403)."));
    QCOMPARE(bad.succeededAt, good.succeededAt);
    QVERIFY(bad.syncedAt >= good.syncedAt);
}

void TestAccountStatus::whatHappenedLastOutlivesTheDaemon()
{
    QCOMPARE(world().syncAndWait(), 200);
    const AccountStatus before = status();
    QVERIFY(before.succeededAt > 0);
    // The next daemon has nothing to carry, and asks the server for nothing.
    restartDaemon();
    QCOMPARE(status(), before);
    world().server.control("network", {{QStringLiteral("up"), false}});
    QCOMPARE(world().syncAndWait(), 902);
    const AccountStatus failed = status();
    QCOMPARE(failed.syncCode, 902);
    QCOMPARE(failed.succeededAt, before.succeededAt);
    restartDaemon();
    QCOMPARE(status(), failed);
    QVERIFY(status().syncText.contains(QLatin1String("127.0.0.1")));
}

void TestAccountStatus::aRefusedLoginStandsUntilOneSucceeds()
{
    setPassword(QStringLiteral("Tr0mbone"));
    QCOMPARE(world().syncAndWait(), 401);
    const qint64 since = status().loginRefusedAt;
    QVERIFY(since > 0);
    QCOMPARE(status().errorCode, 401);
    world().server.control("network", {{QStringLiteral("up"), false}});
    restartDaemon();
    // What a server that is not there would say of the password is not known.
    QCOMPARE(world().syncAndWait(), 902);
    QCOMPARE(status().errorCode, 902);
    QCOMPARE(status().loginRefusedAt, since);
    world().server.control("network", {{QStringLiteral("up"), true}});
    setPassword(world().settings().password);
    QCOMPARE(world().syncAndWait(), 200);
    QCOMPARE(status().loginRefusedAt, qint64(0));
    QCOMPARE(status().errorCode, 0);
}

void TestAccountStatus::newSettingsAreNotBlamedForTheOldOnes()
{
    QCOMPARE(world().syncAndWait(), 200);
    const qint64 succeeded = status().succeededAt;
    setPassword(QStringLiteral("Tr0mbone"));
    QCOMPARE(world().syncAndWait(), 401);
    QVERIFY(status().loginRefusedAt > 0);
    world().server.control("network", {{QStringLiteral("up"), false}});
    setPassword(world().settings().password);
    QCOMPARE(world().syncAndWait(), 902);
    QCOMPARE(status().loginRefusedAt, qint64(0));
    QCOMPARE(status().succeededAt, succeeded);
}

void TestAccountStatus::anotherMailboxBeginsWithoutAPast()
{
    QCOMPARE(world().syncAndWait(), 200);
    QVERIFY(status().succeededAt > 0);
    StoreFixture::Account settings = world().settings();
    settings.username = QStringLiteral("bob");
    world().changeSettings(world().account, settings);
    QTRY_COMPARE(status().succeededAt, qint64(0));
    QCOMPARE(status().syncedAt, qint64(0));
}

void TestAccountStatus::anUnmetPolicyIsToldUntilItIsMet()
{
    world().server.fault({{QStringLiteral("kind"), QStringLiteral("http")},
                          {QStringLiteral("status"), 449},
                          {QStringLiteral("count"), -1}});
    QCOMPARE(world().syncAndWait(), 60007);
    QVERIFY(status().policyUnmetAt > 0);
    QVERIFY2(status().errorText.contains(QLatin1String("demands a policy")),
             qPrintable(status().errorText));
    world().server.clearFaults();
    QCOMPARE(world().syncAndWait(), 200);
    QCOMPARE(status().policyUnmetAt, qint64(0));
}

void TestAccountStatus::pushIsToldWithItsReason()
{
    QCOMPARE(world().syncAndWait(), 200);
    QCOMPARE(status().push, AccountStatus::PushOff);
    world().setPush(true);
    QTRY_COMPARE(world().pings(), 1);
    QTRY_COMPARE(status().push, AccountStatus::PushWaiting);
    QVERIFY(status().pushSince > 0);
    QCOMPARE(status().pushCode, 0);
    world().server.fault({{QStringLiteral("kind"), QStringLiteral("http")},
                          {QStringLiteral("status"), 403},
                          {QStringLiteral("count"), -1}});
    world().server.control("ping-end");
    QTRY_COMPARE(status().push, AccountStatus::PushPaused);
    QCOMPARE(status().pushCode, 403);
    QVERIFY(status().pushText.contains(QLatin1String("forbids it")));
    QVERIFY(status().pushRetryAt > QDateTime::currentSecsSinceEpoch());
    QCOMPARE(status().pushSince, qint64(0));
    world().server.clearFaults();
    QCOMPARE(world().syncAndWait(), 200);
    QTRY_COMPARE(status().push, AccountStatus::PushWaiting);
    QCOMPARE(status().pushCode, 0);
    setPassword(QStringLiteral("Tr0mbone"));
    QTRY_COMPARE(status().push, AccountStatus::PushStopped);
    QCOMPARE(status().pushCode, 401);
    world().setPush(false);
    QTRY_COMPARE(status().push, AccountStatus::PushOff);
}

void TestAccountStatus::aMailThatDidNotGoIsToldWithItsReason()
{
    QCOMPARE(world().syncAndWait(), 200);
    const QMailMessageId id = world().add(world().draft());
    QTRY_COMPARE(onlyMail().message, id.toULongLong());
    QCOMPARE(onlyMail().state, WaitingMail::Waiting);
    world().server.fault(SendingWorld::sendFault("http", {{QStringLiteral("status"), 507}}));
    QCOMPARE(world().sendAndWait(id), 507);
    world().setOutbox(id, true);
    QTRY_COMPARE(onlyMail().state, WaitingMail::Failed);
    QCOMPARE(onlyMail().code, 507);
    QVERIFY2(onlyMail().reason.contains(QLatin1String("HTTP 507")), qPrintable(onlyMail().reason));
    SendingWorld::setField(id, "dontSend", QStringLiteral("true"));
    // The mail store holds such news back for a while.
    QMailStore::instance()->flushIpcNotifications();
    QTRY_COMPARE(onlyMail().state, WaitingMail::GivenUp);
    QCOMPARE(world().sendAndWait(id), 200);
    QTRY_VERIFY(status().outbox.isEmpty());
}

/** The outbox lies in a folder that belongs to no account. */
void TestAccountStatus::whatChangesInTheOutboxIsNoticed()
{
    QCOMPARE(world().syncAndWait(), 200);
    const QMailMessageId id = world().add(world().draft());
    QTRY_COMPARE(onlyMail().message, id.toULongLong());
    // Each one alone: no look that another change has brought about is left.
    for (const auto state : {WaitingMail::GivenUp, WaitingMail::Waiting, WaitingMail::GivenUp}) {
        const bool isGivenUp = state == WaitingMail::GivenUp;
        SendingWorld::setField(id, "dontSend", QLatin1String(isGivenUp ? "true" : "no"));
        QMailStore::instance()->flushIpcNotifications();
        QTRY_COMPARE_WITH_TIMEOUT(onlyMail().state, state, 20000);
    }
    world().setOutbox(id, false);
    QVERIFY(QMailStore::instance()->updateMessagesMetaData(QMailMessageKey::id(id),
                                                           QMailMessage::Draft, true));
    QMailStore::instance()->flushIpcNotifications();
    QTRY_VERIFY_WITH_TIMEOUT(status().outbox.isEmpty(), 20000);
}

void TestAccountStatus::aMailThatMayHaveGoneIsTold()
{
    world().setOption("no_mime", true);
    QCOMPARE(world().syncAndWait(), 200);
    world().server.fault(SendingWorld::sendFault("reset", {{QStringLiteral("late"), true}}));
    const QMailMessageId id = world().add(world().draft());
    QCOMPARE(world().sendAndWait(id), 902);
    world().setOutbox(id, true);
    QTRY_COMPARE(onlyMail().state, WaitingMail::Doubtful);
    QVERIFY(onlyMail().mayHaveBeenSent());
    QVERIFY(onlyMail().reason.contains(QLatin1String("not known whether")));
    // It is another one now, of which the server has nothing.
    QMailMessage message(id);
    message.setSubject(QStringLiteral("Edited"));
    QVERIFY(QMailStore::instance()->updateMessage(&message));
    QTRY_VERIFY(!onlyMail().mayHaveBeenSent());
}

void TestAccountStatus::aMailThatIsBeingSentIsTold()
{
    QCOMPARE(world().syncAndWait(), 200);
    world().server.fault(SendingWorld::sendFault("delay", {{QStringLiteral("seconds"), 20}}));
    const QMailMessageId id = world().add(world().draft());
    const int request = world().send(id);
    QTRY_COMPARE(onlyMail().state, WaitingMail::Sending);
    QCOMPARE(onlyMail().message, id.toULongLong());
    QVERIFY(world().faultsAreTaken());
    world().server.endDelays();
    QCOMPARE(world().codeOf(request), 200);
    QTRY_VERIFY(status().outbox.isEmpty());
}

/** Who hears of the end may ask at once. */
void TestAccountStatus::whoHearsOfTheEndOfASendingFindsItOver()
{
    QVERIFY(hearStatus());
    QVERIFY(QDBusConnection::sessionBus().connect(
        QString(), QLatin1String(Activesync::ObjectPath), QLatin1String(Activesync::InterfaceName),
        QStringLiteral("requestCompleted"), this, SIGNAL(requestTold(int, qulonglong, int))));
    QStringList told;
    const QObject listener;
    connect(this, &TestAccountStatus::statusTold, &listener,
            [&] { told.append(QStringLiteral("status")); });
    connect(this, &TestAccountStatus::requestTold, &listener,
            [&] { told.append(QStringLiteral("end")); });
    QCOMPARE(world().sendAndWait(world().add(world().draft())), 200);
    // That it is being sent, that it is not any more, and then its end.
    QCOMPARE(told.indexOf(QStringLiteral("end")), 2);
}

void TestAccountStatus::changesThatWaitAreCounted()
{
    world().deliver(1);
    QCOMPARE(world().syncAndWait(), 200);
    QCOMPARE(status().changes, 0);
    world().server.control("network", {{QStringLiteral("up"), false}});
    QVERIFY(QMailStore::instance()->updateMessagesMetaData(
        QMailMessageKey::id(world().find(QStringLiteral("Mail 1"))), QMailMessage::Read, true));
    QTRY_COMPARE(status().changes, 1);
    world().server.control("network", {{QStringLiteral("up"), true}});
    QCOMPARE(world().syncAndWait(), 200);
    QTRY_COMPARE(status().changes, 0);
}

void TestAccountStatus::whatDoesNotChangeIsNotTold()
{
    QCOMPARE(world().syncAndWait(), 200);
    world().setPush(true);
    QTRY_COMPARE(status().push, AccountStatus::PushWaiting);
    const AccountStatus before = status();
    // A server that has nothing to tell is waited at anew, and nobody is told.
    QSignalSpy told(this, &TestAccountStatus::statusTold);
    QVERIFY(hearStatus());
    const int pings = world().pings();
    world().server.control("ping-end");
    QTRY_VERIFY(world().pings() > pings);
    QCOMPARE(status(), before);
    QCOMPARE(told.count(), 0);
    QCOMPARE(world().syncAndWait(), 200);
    QTRY_VERIFY(told.count() > 0);
    QCOMPARE(told.last().first().toULongLong(), world().account.toULongLong());
}

QTEST_GUILESS_MAIN(TestAccountStatus)
#include "tst_accountstatus.moc"
