// SPDX-License-Identifier: LGPL-2.1-or-later
#include "asclient/asdbusinterface.h"
#include "tests/support/messageserver.h"
#include "tests/support/scripteddaemon.h"
#include "tests/support/storefixture.h"

#include <QDateTime>
#include <QDBusConnection>
#include <QDBusConnectionInterface>
#include <qmailaccountconfiguration.h>
#include <qmailstore.h>
#include <QSignalSpy>
#include <QTest>

using namespace Activesync;
using Answer = ScriptedDaemon::Answer;

namespace {

QDBusConnection bus()
{
    return QDBusConnection::sessionBus();
}

} // namespace

class TestHarness : public QObject
{
    Q_OBJECT

private slots:
    void livesInItsTimeZone();
    void answersABlockingCallOfTheSameThread();
    void answersWithTheScriptedNumber();
    void answersWithAnError();
    void broadcastsRightBehindTheAnswer();
    void holdsAnAnswerBackUntilReleased();
    void vanishingFailsWhatIsNotAnswered();
    void appearsAgain();
    void tellsOfTheRequestsLife();
    void completesAnAbortedRequestWhenAskedTo();
    void refusesACallOfAnotherSignature();
    void settlesWhatWasSent();
    void fillsTheStore();
    void runsTheMessageServer();
};

void TestHarness::livesInItsTimeZone()
{
    const auto offset = [](int month) {
        return QDateTime(QDate(2026, month, 15), QTime(12, 0)).offsetFromUtc();
    };
    const bool home = qgetenv("TZ") == "UTC";
    QCOMPARE(offset(1), home ? 0 : 3600);
    QCOMPARE(offset(7), home ? 0 : 7200);
}

void TestHarness::answersABlockingCallOfTheSameThread()
{
    ScriptedDaemon daemon;
    AsDBusInterface proxy(bus(), nullptr);
    QCOMPARE(proxy.sync(5, QDBus::Block).value(), 1);
    QCOMPARE(proxy.folderSync(5, QDBus::Block).value(), 2);
    const auto call = daemon.waitForCall("sync");
    QCOMPARE(call.arguments, QVariantList {qulonglong(5)});
    QCOMPARE(call.requestId, 1);
    QVERIFY(call.wantsReply);
}

void TestHarness::answersWithTheScriptedNumber()
{
    ScriptedDaemon daemon;
    AsDBusInterface proxy(bus(), nullptr);
    daemon.answer("sync", Answer::id(-1));
    daemon.answerOnce("sync", Answer::id(77));
    QCOMPARE(proxy.sync(5, QDBus::Block).value(), 77);
    QCOMPARE(proxy.sync(5, QDBus::Block).value(), -1);
    QCOMPARE(proxy.folderSync(5, QDBus::Block).value(), 1);
}

void TestHarness::answersWithAnError()
{
    ScriptedDaemon daemon;
    AsDBusInterface proxy(bus(), nullptr);
    daemon.answer(Answer::error("com.example.Broken"));
    QCOMPARE(proxy.sync(5, QDBus::Block).error().name(), QStringLiteral("com.example.Broken"));
}

void TestHarness::broadcastsRightBehindTheAnswer()
{
    ScriptedDaemon daemon;
    AsDBusInterface proxy(bus(), nullptr);
    QSignalSpy completed(&proxy, &AsDBusInterface::requestCompleted);
    daemon.answer(Answer::nextId().completing(401));
    QCOMPARE(proxy.sync(5, QDBus::Block).value(), 1);
    QTRY_COMPARE(completed.count(), 1);
    QCOMPARE(completed.at(0), QVariantList({401, qulonglong(5), 1}));
}

void TestHarness::holdsAnAnswerBackUntilReleased()
{
    ScriptedDaemon daemon;
    AsDBusInterface proxy(bus(), nullptr);
    daemon.answerOnce("sync", Answer::silence());
    QDBusPendingCall pending = proxy.asyncCall(QStringLiteral("sync"), qulonglong(5));
    QVERIFY(daemon.waitForCall("sync").isValid());
    daemon.settle();
    QVERIFY(!pending.isFinished());
    daemon.releaseAnswers();
    QTRY_VERIFY(pending.isFinished());
    QCOMPARE(QDBusReply<int>(pending.reply()).value(), 1);
}

void TestHarness::vanishingFailsWhatIsNotAnswered()
{
    ScriptedDaemon daemon;
    AsDBusInterface proxy(bus(), nullptr);
    daemon.answerOnce("sync", Answer::silence());
    QDBusPendingCall pending = proxy.asyncCall(QStringLiteral("sync"), qulonglong(5));
    QVERIFY(daemon.waitForCall("sync").isValid());
    daemon.vanish();
    QVERIFY(!bus().interface()->isServiceRegistered(QLatin1String(ServiceName)));
    QTRY_VERIFY(pending.isFinished());
    QVERIFY(pending.isError());
    QVERIFY(!proxy.sync(5, QDBus::Block).isValid());
}

void TestHarness::appearsAgain()
{
    ScriptedDaemon daemon;
    AsDBusInterface proxy(bus(), nullptr);
    daemon.vanish();
    QVERIFY(!daemon.isPresent());
    QVERIFY(daemon.appear());
    QVERIFY(daemon.isPresent());
    QCOMPARE(proxy.sync(5, QDBus::Block).value(), 1);
}

void TestHarness::tellsOfTheRequestsLife()
{
    ScriptedDaemon daemon;
    AsDBusInterface proxy(bus(), nullptr);
    const int id = proxy.sync(5, QDBus::Block);
    QCOMPARE(proxy.isRequestAlive(id, QDBus::Block).value(), 1);
    daemon.complete(id, 200);
    QCOMPARE(proxy.isRequestAlive(id, QDBus::Block).value(), 0);
    daemon.answerAlive(1);
    QCOMPARE(proxy.isRequestAlive(id, QDBus::Block).value(), 1);
}

void TestHarness::completesAnAbortedRequestWhenAskedTo()
{
    ScriptedDaemon daemon;
    AsDBusInterface proxy(bus(), nullptr);
    QSignalSpy completed(&proxy, &AsDBusInterface::requestCompleted);
    daemon.completeAborted();
    const int id = proxy.sync(5, QDBus::Block);
    proxy.abortRequest(id, 1030, QDBus::Block);
    QTRY_COMPARE(completed.count(), 1);
    QCOMPARE(completed.at(0), QVariantList({1030, qulonglong(5), id}));
}

void TestHarness::refusesACallOfAnotherSignature()
{
    ScriptedDaemon daemon;
    AsDBusInterface proxy(bus(), nullptr);
    QCOMPARE(proxy.call(QStringLiteral("sync"), 5).type(), QDBusMessage::ErrorMessage);
    QCOMPARE(daemon.callCount("sync"), 0);
}

void TestHarness::settlesWhatWasSent()
{
    ScriptedDaemon daemon;
    AsDBusInterface proxy(bus(), nullptr);
    QSignalSpy completed(&proxy, &AsDBusInterface::requestCompleted);
    proxy.isRequestAlive(1, QDBus::Block);
    for (int id = 1; id <= 100; ++id)
        daemon.requestCompleted(200, 5, id);
    daemon.settle();
    QCOMPARE(completed.count(), 100);
}

void TestHarness::fillsTheStore()
{
    const QMailAccountId account = StoreFixture::addAccount();
    StoreFixture::addStandardFolders(account);
    const QMailFolderId inbox = QMailAccount(account).standardFolder(QMailFolder::InboxFolder);
    const QMailMessageId message = StoreFixture::addMessage(account, inbox, QStringLiteral("Hi"));
    QCOMPARE(QMailMessage(message).subject(), QStringLiteral("Hi"));
    QCOMPARE(QMailAccountConfiguration(account).services(), QStringList(QStringLiteral("orvmail")));
    QVERIFY(StoreFixture::addOutgoing(account).isValid());
    StoreFixture::clear();
    QCOMPARE(QMailStore::instance()->countAccounts(), 0);
}

void TestHarness::runsTheMessageServer()
{
    if (!MessageServer::isInstalled())
        QSKIP("messageserver5 is not installed");
    MessageServer server;
    QVERIFY(server.start());
    QVERIFY(server.isAlive());
    QVERIFY(server.terminate());
    QVERIFY(server.exitedNormally());
}

QTEST_GUILESS_MAIN(TestHarness)

#include "tst_harness.moc"
