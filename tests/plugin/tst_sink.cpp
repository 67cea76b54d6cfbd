// SPDX-License-Identifier: LGPL-2.1-or-later
#include "tests/plugin/fakemessageserver.h"
#include "tests/plugin/logrecorder.h"
#include "tests/plugin/servicespy.h"
#include "tests/support/scripteddaemon.h"
#include "tests/support/storefixture.h"

#include <QDBusConnection>
#include <QDBusMessage>
#include <QSignalSpy>
#include <QTest>

#include <qmailmessageservice.h>
#include <qmailstore.h>

#include <memory>

using Answer = ScriptedDaemon::Answer;

namespace {

const QString Stranger = QStringLiteral("stranger");

} // namespace

/** The sink of the loaded plugin, between the daemon's double and the message server's. */
class TestSink : public QObject
{
    Q_OBJECT

private slots:
    void init();
    void cleanup();
    void nothingToTransmitCompletesAtOnceAndSyncsNothing();
    void threeMessagesAreSentInOrder();
    void oneSentFolderSyncFollowsTheSends();
    void noSentFolderSyncWhenTheFolderIsNoFavourite();
    void noSentFolderSyncWithoutASentFolder();
    void theOutcomesOfTheSendsAreRelayed();
    void aRefusedSendLeavesTheActionToThePoll();
    void completeActionReportsItsResult();
    void anAnnouncementTransmitsWhatWaits();
    void anAnnouncementWithNothingWaitingDoesNothing();
    void anAnnouncementForAnotherAccountChangesNothing();
    void anotherObjectsAnnouncementIsNotHeard_data();
    void anotherObjectsAnnouncementIsNotHeard();
    void anAnnouncementIsHeardFromAnySender();
    void theAnnouncementOfTheSinksOwnSyncIsSkipped();
    void twoOwnSyncsSkipTheNextTwoAnnouncementsWhateverTheirCause();
    void whileATransmissionRunsAnnouncementsAreIgnored();
    void whileATransmissionIsPendingAnnouncementsAreIgnored();
    void messagesInTheTrashOrMarkedDontSendDoNotTransmit_data();
    void messagesInTheTrashOrMarkedDontSendDoNotTransmit();
    void aFailedSendIsTransmittedAtTheNextAnnouncement();
    void aCancelledActionSyncsNoSentFolder();

private:
    quint64 id() const { return m_account.toULongLong(); }
    QMailFolderId sentFolder() const
    {
        return QMailAccount(m_account).standardFolder(QMailFolder::SentFolder);
    }
    void makeSentFolderFavourite();
    void announce();
    /** The announcement as somebody sends it who has no name on the bus. */
    bool announceAs(const QString &path, const QString &interface);
    bool isInOutbox(const QMailMessageId &message) const;

    std::unique_ptr<FakeMessageServer> m_server;
    std::unique_ptr<ScriptedDaemon> m_daemon;
    QMailAccountId m_account;
    std::unique_ptr<QMailMessageService> m_service;
    std::unique_ptr<ServiceSpy> m_spy;
};

void TestSink::init()
{
    m_server = std::make_unique<FakeMessageServer>();
    m_daemon = std::make_unique<ScriptedDaemon>();
    m_account = StoreFixture::addAccount();
    StoreFixture::addStandardFolders(m_account);
    m_service.reset(
        QMailMessageServiceFactory::createService(QStringLiteral("orvmail"), m_account));
    QVERIFY(m_service);
    m_spy = std::make_unique<ServiceSpy>(m_service.get());
}

void TestSink::cleanup()
{
    m_service.reset();
    m_daemon.reset();
    m_server.reset();
    StoreFixture::clear();
}

void TestSink::makeSentFolderFavourite()
{
    QMailFolder folder(sentFolder());
    folder.setStatus(QMailFolder::Favourite, true);
    QVERIFY(QMailStore::instance()->updateFolder(&folder));
}

void TestSink::announce()
{
    m_daemon->syncStarted(id());
    m_daemon->settle();
}

bool TestSink::announceAs(const QString &path, const QString &interface)
{
    QDBusConnection stranger = QDBusConnection::connectToBus(QDBusConnection::SessionBus, Stranger);
    auto message = QDBusMessage::createSignal(path, interface, QStringLiteral("syncStarted"));
    message << id();
    const bool sent = stranger.send(message);
    // Its answer is behind the signal; the daemon's own messages are behind that.
    stranger.call(QDBusMessage::createMethodCall(
        QStringLiteral("org.freedesktop.DBus"), QStringLiteral("/org/freedesktop/DBus"),
        QStringLiteral("org.freedesktop.DBus.Peer"), QStringLiteral("Ping")));
    QDBusConnection::disconnectFromBus(Stranger);
    m_daemon->settle();
    return sent;
}

bool TestSink::isInOutbox(const QMailMessageId &message) const
{
    // The database knows; the store's cache may be a notification behind.
    return QMailStore::instance()->countMessages(
               QMailMessageKey::id(message)
               & QMailMessageKey::status(QMailMessageMetaData::Outbox,
                                         QMailDataComparator::Includes))
        == 1;
}

void TestSink::nothingToTransmitCompletesAtOnceAndSyncsNothing()
{
    makeSentFolderFavourite();
    QSignalSpy transmitted(&m_service->sink(), SIGNAL(messagesTransmitted(QMailMessageIdList)));
    LogRecorder log;
    QVERIFY(m_service->sink().transmitMessages({}));
    QCOMPARE(transmitted.count(), 1);
    QCOMPARE(transmitted.first().first().value<QMailMessageIdList>(), QMailMessageIdList());
    QCOMPARE(m_spy->take(), QStringList(QStringLiteral("completed true")));
    QCOMPARE(log.takeLines(),
             QStringList({QStringLiteral("OrvSink::transmitMessages: got a request to send  0  "
                                         "message(s)"),
                          QStringLiteral("Nothing to transmit")}));
    m_daemon->settle();
    QCOMPARE(m_daemon->calls().count(), 0);
}

void TestSink::threeMessagesAreSentInOrder()
{
    QMailMessageIdList ids;
    for (int i = 0; i < 3; ++i)
        ids.prepend(StoreFixture::addOutgoing(m_account));
    LogRecorder log;
    QVERIFY(m_service->sink().transmitMessages(ids));
    const auto calls = m_daemon->calls();
    QCOMPARE(calls.count(), 3);
    for (int i = 0; i < 3; ++i) {
        QCOMPARE(calls.at(i).method, QStringLiteral("sendMail"));
        QCOMPARE(calls.at(i).arguments, QVariantList({id(), ids.at(i).toULongLong()}));
        QVERIFY(calls.at(i).wantsReply);
    }
    const QStringList lines = log.takeLines();
    QCOMPARE(lines.first(),
             QStringLiteral("OrvSink::transmitMessages: got a request to send  3  message(s)"));
    QVERIFY(lines.contains(QStringLiteral("res= 2 for Account %1").arg(id())));
    QVERIFY(lines.contains(QStringLiteral("Sending message  %1").arg(ids.at(2).toULongLong())));
}

void TestSink::oneSentFolderSyncFollowsTheSends()
{
    makeSentFolderFavourite();
    m_service->sink().transmitMessages(
        {StoreFixture::addOutgoing(m_account), StoreFixture::addOutgoing(m_account)});
    m_daemon->complete(1, 200);
    m_daemon->settle();
    QCOMPARE(m_daemon->callCount("syncSpecificFolders"), 0);
    m_daemon->complete(2, 200);
    const auto call = m_daemon->waitForCall("syncSpecificFolders");
    QCOMPARE(call.arguments,
             QVariantList({id(), QStringList(QString::number(sentFolder().toULongLong())), 0, 0}));
    QCOMPARE(m_spy->completions(), 0);
    m_daemon->complete(call.requestId, 200);
    m_daemon->settle();
    QCOMPARE(m_spy->completions(), 1);
    QCOMPARE(m_daemon->callCount("syncSpecificFolders"), 1);
}

void TestSink::noSentFolderSyncWhenTheFolderIsNoFavourite()
{
    const QMailMessageId message = StoreFixture::addOutgoing(m_account);
    m_service->sink().transmitMessages({message});
    m_daemon->complete(1, 200);
    m_daemon->settle();
    QCOMPARE(m_spy->completions(), 1);
    QCOMPARE(m_daemon->callCount("syncSpecificFolders"), 0);
    // The next announcement is nobody's own.
    StoreFixture::addOutgoing(m_account);
    announce();
    QTRY_COMPARE(m_server->requests("transmitMessages").count(), 1);
}

void TestSink::noSentFolderSyncWithoutASentFolder()
{
    QMailAccount account(m_account);
    account.setStandardFolder(QMailFolder::SentFolder, QMailFolderId());
    QVERIFY(QMailStore::instance()->updateAccount(
        &account, static_cast<QMailAccountConfiguration *>(nullptr)));
    m_service->sink().transmitMessages({StoreFixture::addOutgoing(m_account)});
    m_daemon->complete(1, 200);
    m_daemon->settle();
    QCOMPARE(m_spy->completions(), 1);
    QCOMPARE(m_daemon->callCount("syncSpecificFolders"), 0);
}

void TestSink::theOutcomesOfTheSendsAreRelayed()
{
    QSignalSpy transmitted(&m_service->sink(), SIGNAL(messagesTransmitted(QMailMessageIdList)));
    QSignalSpy failed(&m_service->sink(),
                      SIGNAL(messagesFailedTransmission(QMailMessageIdList,
                                                        QMailServiceAction::Status::ErrorCode)));
    const QMailMessageId good = StoreFixture::addOutgoing(m_account);
    const QMailMessageId bad = StoreFixture::addOutgoing(m_account);
    m_service->sink().transmitMessages({good, bad});
    m_daemon->complete(2, 902);
    m_daemon->complete(1, 200);
    m_daemon->settle();
    QCOMPARE(transmitted.count(), 1);
    QCOMPARE(transmitted.first().first().value<QMailMessageIdList>(), QMailMessageIdList {good});
    QCOMPARE(failed.count(), 1);
    QCOMPARE(failed.first().first().value<QMailMessageIdList>(), QMailMessageIdList {bad});
    QVERIFY(!isInOutbox(good));
    QVERIFY(isInOutbox(bad));
    QCOMPARE(m_spy->takeOutcome(),
             QStringList({QStringLiteral("error 1034"), QStringLiteral("activity 2"),
                          QStringLiteral("completed true")}));
}

void TestSink::aRefusedSendLeavesTheActionToThePoll()
{
    m_daemon->answer("sendMail", Answer::id(-1));
    const QMailMessageId message = StoreFixture::addOutgoing(m_account);
    QVERIFY(m_service->sink().transmitMessages({message}));
    m_daemon->settle();
    QCOMPARE(m_spy->completions(), 0);
    QVERIFY(isInOutbox(message));
    for (int i = 0; i <= 1000; ++i)
        QVERIFY(QMetaObject::invokeMethod(m_service.get(), "countProgress"));
    QCOMPARE(m_spy->completions(), 1);
    QVERIFY(isInOutbox(message));
}

void TestSink::completeActionReportsItsResult()
{
    LogRecorder log;
    for (const bool result : {true, false})
        QVERIFY(
            QMetaObject::invokeMethod(&m_service->sink(), "completeAction", Q_ARG(bool, result)));
    QCOMPARE(m_spy->take(),
             QStringList({QStringLiteral("completed true"), QStringLiteral("completed false")}));
    QCOMPARE(log.takeLines(),
             QStringList({QStringLiteral("OrvSink::Action completed:  true"),
                          QStringLiteral("OrvSink::Action completed:  false")}));
}

void TestSink::anAnnouncementTransmitsWhatWaits()
{
    StoreFixture::addOutgoing(m_account);
    StoreFixture::addOutgoing(m_account);
    LogRecorder log;
    announce();
    const QStringList lines = log.takeLines();
    QVERIFY(lines.contains(
        QStringLiteral("Synchronize signal received for the account  %1").arg(id())));
    QVERIFY(lines.contains(QStringLiteral("Sending  2  message(s)")));
    const auto request = m_server->waitForRequest("transmitMessages");
    QVERIFY(request.action != 0);
    QCOMPARE(qdbus_cast<QMailAccountId>(request.arguments.value(0)), m_account);
}

void TestSink::anAnnouncementWithNothingWaitingDoesNothing()
{
    announce();
    m_daemon->settle();
    QCOMPARE(m_server->requests("transmitMessages").count(), 0);
}

void TestSink::anAnnouncementForAnotherAccountChangesNothing()
{
    makeSentFolderFavourite();
    m_service->sink().transmitMessages({StoreFixture::addOutgoing(m_account)});
    StoreFixture::addOutgoing(m_account);
    LogRecorder log;
    m_daemon->syncStarted(id() + 1);
    m_daemon->settle();
    QCOMPARE(log.takeLines(), QStringList());
    // Not even the counter: the own announcement is still skipped.
    announce();
    QVERIFY(log.takeLines().contains(QStringLiteral("Skipping it because it is our own signal")));
    QCOMPARE(m_server->requests("transmitMessages").count(), 0);
}

void TestSink::anotherObjectsAnnouncementIsNotHeard_data()
{
    QTest::addColumn<QString>("path");
    QTest::addColumn<QString>("interface");
    const QString path = QStringLiteral("/com/tarvo/asdbus");
    QTest::newRow("path") << QStringLiteral("/com/tarvo/other")
                          << QStringLiteral("com.tarvo.asdbus");
    QTest::newRow("path above") << QStringLiteral("/com/tarvo")
                                << QStringLiteral("com.tarvo.asdbus");
    QTest::newRow("interface") << path << QStringLiteral("com.tarvo.other");
}

void TestSink::anotherObjectsAnnouncementIsNotHeard()
{
    QFETCH(QString, path);
    QFETCH(QString, interface);
    StoreFixture::addOutgoing(m_account);
    LogRecorder log;
    QVERIFY(announceAs(path, interface));
    QCOMPARE(log.takeLines(), QStringList());
    QCOMPARE(m_server->requests("transmitMessages").count(), 0);
}

void TestSink::anAnnouncementIsHeardFromAnySender()
{
    StoreFixture::addOutgoing(m_account);
    LogRecorder log;
    QVERIFY(announceAs(QStringLiteral("/com/tarvo/asdbus"), QStringLiteral("com.tarvo.asdbus")));
    QVERIFY(log.takeLines().contains(QStringLiteral("Sending  1  message(s)")));
    QVERIFY(m_server->waitForRequest("transmitMessages").action != 0);
}

void TestSink::theAnnouncementOfTheSinksOwnSyncIsSkipped()
{
    makeSentFolderFavourite();
    m_service->sink().transmitMessages({StoreFixture::addOutgoing(m_account)});
    m_daemon->complete(1, 200);
    const auto call = m_daemon->waitForCall("syncSpecificFolders");
    StoreFixture::addOutgoing(m_account);
    announce();
    m_daemon->complete(call.requestId, 200);
    m_daemon->settle();
    QCOMPARE(m_server->requests("transmitMessages").count(), 0);
    announce();
    QTRY_COMPARE(m_server->requests("transmitMessages").count(), 1);
}

void TestSink::twoOwnSyncsSkipTheNextTwoAnnouncementsWhateverTheirCause()
{
    makeSentFolderFavourite();
    m_service->sink().transmitMessages({StoreFixture::addOutgoing(m_account)});
    m_service->sink().transmitMessages({StoreFixture::addOutgoing(m_account)});
    StoreFixture::addOutgoing(m_account);
    LogRecorder log;
    announce();
    announce();
    QCOMPARE(
        log.takeLines().filter(QStringLiteral("Skipping it because it is our own signal")).count(),
        2);
    QCOMPARE(m_server->requests("transmitMessages").count(), 0);
    announce();
    QTRY_COMPARE(m_server->requests("transmitMessages").count(), 1);
}

void TestSink::whileATransmissionRunsAnnouncementsAreIgnored()
{
    StoreFixture::addOutgoing(m_account);
    announce();
    const auto request = m_server->waitForRequest("transmitMessages");
    m_server->setActivity(request.action, QMailServiceAction::InProgress);
    LogRecorder log;
    announce();
    QVERIFY(log.takeLines().contains(QStringLiteral("Transmit in progress, skipping")));
    QCOMPARE(m_server->requests("transmitMessages").count(), 1);
    m_server->setActivity(request.action, QMailServiceAction::Successful);
    announce();
    QTRY_COMPARE(m_server->requests("transmitMessages").count(), 2);
}

void TestSink::whileATransmissionIsPendingAnnouncementsAreIgnored()
{
    StoreFixture::addOutgoing(m_account);
    LogRecorder log;
    announce();
    announce();
    m_server->waitForRequest("transmitMessages");
    announce();
    m_daemon->settle();
    QCOMPARE(m_server->requests("transmitMessages").count(), 1);
    QCOMPARE(log.takeLines().filter(QStringLiteral("Transmit in progress, skipping")).count(), 2);
}

void TestSink::messagesInTheTrashOrMarkedDontSendDoNotTransmit_data()
{
    QTest::addColumn<quint64>("status");
    QTest::addColumn<QString>("dontSend");
    QTest::addColumn<bool>("transmits");
    const quint64 trash = QMailMessageMetaData::Trash;
    QTest::newRow("in the trash") << trash << QString() << false;
    QTest::newRow("dontSend true") << quint64(0) << QStringLiteral("true") << false;
    QTest::newRow("dontSend false") << quint64(0) << QStringLiteral("false") << true;
    QTest::newRow("dontSend 1") << quint64(0) << QStringLiteral("1") << true;
    // The mail store compares texts without regard to case.
    QTest::newRow("dontSend TRUE") << quint64(0) << QStringLiteral("TRUE") << false;
    QTest::newRow("no dontSend") << quint64(0) << QString() << true;
}

void TestSink::messagesInTheTrashOrMarkedDontSendDoNotTransmit()
{
    QFETCH(quint64, status);
    QFETCH(QString, dontSend);
    QFETCH(bool, transmits);
    QMailMessageMetaData message(StoreFixture::addOutgoing(m_account));
    message.setStatus(status, true);
    if (!dontSend.isNull())
        message.setCustomField(QStringLiteral("dontSend"), dontSend);
    QVERIFY(QMailStore::instance()->updateMessage(&message));
    LogRecorder log;
    announce();
    QCOMPARE(log.takeLines().contains(QStringLiteral("Sending  1  message(s)")), transmits);
}

void TestSink::aFailedSendIsTransmittedAtTheNextAnnouncement()
{
    m_service->sink().transmitMessages({StoreFixture::addOutgoing(m_account)});
    announce();
    m_daemon->settle();
    QCOMPARE(m_server->requests("transmitMessages").count(), 0);
    m_daemon->complete(1, 902);
    m_daemon->settle();
    announce();
    QTRY_COMPARE(m_server->requests("transmitMessages").count(), 1);
}

void TestSink::aCancelledActionSyncsNoSentFolder()
{
    makeSentFolderFavourite();
    m_service->sink().transmitMessages({StoreFixture::addOutgoing(m_account)});
    m_service->cancelOperation();
    m_spy->take();
    m_daemon->complete(1, 200);
    m_daemon->settle();
    QCOMPARE(m_daemon->callCount("syncSpecificFolders"), 0);
    QCOMPARE(m_spy->take(), QStringList());
}

QTEST_GUILESS_MAIN(TestSink)

#include "tst_sink.moc"
