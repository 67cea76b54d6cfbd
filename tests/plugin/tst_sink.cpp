// SPDX-License-Identifier: LGPL-2.1-or-later
#include "tests/plugin/fakemessageserver.h"
#include "tests/plugin/loadedplugin.h"
#include "tests/plugin/logrecorder.h"

#include <QDBusConnection>
#include <QDBusMessage>
#include <qmailstore.h>
#include <QSignalSpy>
#include <QTest>

namespace {

const QString Stranger = QStringLiteral("stranger");

} // namespace

/**
 * The sink of the loaded plugin, between the daemon's double and the message server's: what it
 * counts, hears and logs. What it sends, and when, is proved in tests/messageserver.
 */
class TestSink : public LoadedPlugin
{
    Q_OBJECT

private slots:
    void init();
    void cleanup();
    void nothingToTransmitCompletesAtOnceAndSyncsNothing();
    void threeMessagesAreSentInOrder();
    void noSentFolderSyncWithoutASentFolder();
    void completeActionReportsItsResult();
    void anAnnouncementForAnotherAccountChangesNothing();
    void anotherObjectsAnnouncementIsNotHeard_data();
    void anotherObjectsAnnouncementIsNotHeard();
    void anAnnouncementIsHeardFromAnySender();
    void twoOwnSyncsSkipTheNextTwoAnnouncementsWhateverTheirCause();
    void whileATransmissionIsPendingAnnouncementsAreIgnored();
    void aCancelledActionSyncsNoSentFolder();

private:
    void makeSentFolderFavourite();
    void announce();
    /** The announcement as somebody sends it who has no name on the bus. */
    bool announceAs(const QString &path, const QString &interface);

    std::unique_ptr<FakeMessageServer> m_server;
};

void TestSink::init()
{
    m_server = std::make_unique<FakeMessageServer>();
    LoadedPlugin::init();
}

void TestSink::cleanup()
{
    LoadedPlugin::cleanup();
    m_server.reset();
}

void TestSink::makeSentFolderFavourite()
{
    QMailFolder sent(folder(QMailFolder::SentFolder));
    sent.setStatus(QMailFolder::Favourite, true);
    QVERIFY(QMailStore::instance()->updateFolder(&sent));
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

void TestSink::noSentFolderSyncWithoutASentFolder()
{
    QMailAccount account(m_account);
    account.setStandardFolder(QMailFolder::SentFolder, QMailFolderId());
    QVERIFY(QMailStore::instance()->updateAccount(
        &account, static_cast<QMailAccountConfiguration *>(nullptr)));
    m_service->sink().transmitMessages({StoreFixture::addOutgoing(m_account)});
    m_daemon->end(1, 200);
    QCOMPARE(m_spy->completions(), 1);
    QCOMPARE(m_daemon->callCount("syncSpecificFolders"), 0);
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

void TestSink::aCancelledActionSyncsNoSentFolder()
{
    makeSentFolderFavourite();
    m_service->sink().transmitMessages({StoreFixture::addOutgoing(m_account)});
    m_service->cancelOperation();
    m_spy->take();
    m_daemon->end(1, 200);
    QCOMPARE(m_daemon->callCount("syncSpecificFolders"), 0);
    QCOMPARE(m_spy->take(), QStringList());
}

QTEST_GUILESS_MAIN(TestSink)

#include "tst_sink.moc"
