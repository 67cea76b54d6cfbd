// SPDX-License-Identifier: LGPL-2.1-or-later
#include "tests/daemon/sendingworld.h"
#include "tests/messageserver/sendingfixture.h"
#include "tests/support/messageserver.h"

#include <QJsonArray>
#include <qmailmessageremovalrecord.h>
#include <qmailstore.h>
#include <QRegularExpression>
#include <QTest>

#include <memory>

namespace {

const QString Alice = QStringLiteral("alice");
const QString Bob = QStringLiteral("bob");

QString stateOf(const QMailMessageMetaData &message)
{
    if (!message.serverUid().isEmpty())
        return QStringLiteral("of the server");
    const bool waiting = StoreFixture::hasStatus(message.id(), QMailMessage::Outbox);
    const bool sent = StoreFixture::hasStatus(message.id(), QMailMessage::Sent);
    return waiting && sent ? QStringLiteral("contradictory")
        : waiting          ? QStringLiteral("waiting")
        : sent             ? QStringLiteral("sent")
                           : QStringLiteral("neither");
}

QMailMessageIdList sorted(QMailMessageIdList ids)
{
    std::sort(ids.begin(), ids.end());
    return ids;
}

} // namespace

/** A mail program, the message server, the daemon and a mail server, none of them scripted. */
class TestWholeSending : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase();
    void init();
    void cleanup();

    void oneMessage();
    void severalMessages();
    void nothing();
    void oneIsRefusedInTheMiddle();
    void aLaterSynchronisationSendsWhatWasRefused();
    void whatWasTakenBackDoesNotGoLater_data();
    void whatWasTakenBackDoesNotGoLater();
    void editedWhileItLeavesNothingIsLost_data();
    void editedWhileItLeavesNothingIsLost();
    void editedWhileAnotherLeavesGoesAnew();
    void daemonKilledWhileTheServerIsAtIt_data();
    void daemonKilledWhileTheServerIsAtIt();
    void daemonKilledAfterTheServerHasIt_data();
    void daemonKilledAfterTheServerHasIt();
    void daemonKilledAmongMany();
    void cancelledAfterTheServerHasIt();

private:
    SendingWorld &world() { return *m_world; }
    QMailMessageIdList addMany(int count);
    /** Subject, folder and state of each message of the account, and the removal records. */
    QStringList store() const;
    /** What store() tells when nothing but this line has come to what there was. */
    QStringList storeWith(const QString &line) const;
    /** How often the message server's log has that. */
    int logCount(const char *pattern) const;
    void transmit(Transmission &transmission);
    void verifyTransmitted(const Transmission &transmission, const QMailMessageIdList &ids) const;
    void verifyOneCopyOf(const QStringList &subjects);
    /** Starts the daemon again and synchronises, upon which what waits is transmitted. */
    void recover();

    std::unique_ptr<SendingWorld> m_world;
    std::unique_ptr<MessageServer> m_server;
    QStringList m_before;
};

void TestWholeSending::initTestCase()
{
    EasServer::require();
    MessageServer::require();
}

void TestWholeSending::init()
{
    m_world = std::make_unique<SendingWorld>();
    QVERIFY(world().begin());
    world().server.deliverText(Alice, QStringLiteral("Received"));
    QCOMPARE(world().syncAndWait(), 200);
    QMailMessage draft = world().draft(QStringLiteral("Draft"));
    draft.setStatus(QMailMessage::Outbox | QMailMessage::Outgoing, false);
    draft.setStatus(QMailMessage::Draft, true);
    world().add(draft);
    m_server = std::make_unique<MessageServer>();
    QVERIFY(m_server->start());
    m_before = store();
    QCOMPARE(m_before.size(), 2);
}

void TestWholeSending::cleanup()
{
    if (m_server) {
        QVERIFY(m_server->isAlive());
        QVERIFY(!m_server->log().contains(QLatin1String("ERROR: AddressSanitizer")));
    }
    m_server.reset();
    const int code = m_world ? m_world->endDaemon() : 0;
    m_world.reset();
    QCOMPARE(code, 0);
}

QMailMessageIdList TestWholeSending::addMany(int count)
{
    QMailMessageIdList ids;
    for (int i = 0; i < count; ++i)
        ids.append(world().add(world().draft(QString(QLatin1Char(char('A' + i))))));
    return ids;
}

QStringList TestWholeSending::store() const
{
    QStringList lines;
    const auto messages = QMailStore::instance()->messagesMetaData(
        QMailMessageKey::parentAccountId(m_world->account),
        QMailMessageKey::Id | QMailMessageKey::Subject | QMailMessageKey::ServerUid
            | QMailMessageKey::ParentFolderId);
    for (const QMailMessageMetaData &message : messages) {
        const QString folder = QMailFolder(message.parentFolderId()).displayName();
        lines.append(message.subject() + QStringLiteral(" in ") + folder + QStringLiteral(": ")
                     + stateOf(message));
    }
    lines.sort();
    const int records = QMailStore::instance()->messageRemovalRecords(m_world->account).size();
    for (int i = 0; i < records; ++i)
        lines.append(QStringLiteral("removal record"));
    return lines;
}

QStringList TestWholeSending::storeWith(const QString &line) const
{
    QStringList lines = m_before + QStringList(line);
    lines.sort();
    return lines;
}

int TestWholeSending::logCount(const char *pattern) const
{
    return m_server->log().count(QRegularExpression(QLatin1String(pattern)));
}

void TestWholeSending::transmit(Transmission &transmission)
{
    transmission.action.transmitMessages(world().account);
}

void TestWholeSending::verifyTransmitted(const Transmission &transmission,
                                         const QMailMessageIdList &ids) const
{
    QCOMPARE(transmission.watcher.endCount(), 1);
    QCOMPARE(sorted(transmission.transmitted), sorted(ids));
}

void TestWholeSending::verifyOneCopyOf(const QStringList &subjects)
{
    for (const QString &subject : subjects) {
        QCOMPARE(world().copies(Bob, subject), 1);
        QCOMPARE(world().copies(Alice, subject, QStringLiteral("Sent")), 1);
    }
    QCOMPARE(world().server.messages(Bob, QStringLiteral("Inbox")).size(), subjects.size());
}

void TestWholeSending::recover()
{
    world().listener.clear();
    QVERIFY(world().daemon.start());
    QCOMPARE(world().syncAndWait(), 200);
}

void TestWholeSending::oneMessage()
{
    const QMailMessageId id = world().add(world().draft());
    Transmission transmission;
    transmit(transmission);
    QVERIFY(transmission.watcher.waitForEnd());
    QVERIFY(transmission.watcher.succeeded());
    verifyTransmitted(transmission, {id});
    verifyOneCopyOf({QStringLiteral("Hello")});
    // The server's copy takes its place, though nobody has asked for it.
    QTRY_COMPARE(store(), storeWith(QStringLiteral("Hello in Sent: of the server")));
}

void TestWholeSending::severalMessages()
{
    const QMailMessageIdList ids = addMany(12);
    Transmission transmission;
    transmit(transmission);
    QVERIFY(transmission.watcher.waitForEnd(30000));
    QVERIFY(transmission.watcher.succeeded());
    verifyTransmitted(transmission, ids);
    QStringList after = m_before;
    for (int i = 0; i < 12; ++i) {
        const QString subject(QLatin1Char(char('A' + i)));
        QCOMPARE(world().copies(Bob, subject), 1);
        after.append(subject + QStringLiteral(" in Sent: of the server"));
    }
    after.sort();
    QTRY_COMPARE(store(), after);
}

void TestWholeSending::nothing()
{
    Transmission transmission;
    transmit(transmission);
    QVERIFY(transmission.watcher.waitForEnd());
    QVERIFY(transmission.watcher.succeeded());
    QCOMPARE(store(), m_before);
    QCOMPARE(world().server.requestCount("SendMail"), 0);
}

void TestWholeSending::oneIsRefusedInTheMiddle()
{
    world().add(world().draft(QStringLiteral("A")));
    QMailMessage bad = world().draft(QStringLiteral("B"));
    bad.setTo(QMailAddress(QStringLiteral("nobody@example.test")));
    const QMailMessageId refused = world().add(bad);
    world().add(world().draft(QStringLiteral("C")));
    Transmission transmission;
    transmit(transmission);
    QVERIFY(transmission.watcher.waitForEnd());
    QVERIFY(!transmission.watcher.succeeded());
    QCOMPARE(transmission.watcher.errorCode(), int(QMailServiceAction::Status::ErrInvalidAddress));
    QCOMPARE(transmission.failed, QMailMessageIdList {refused});
    // Required: the refusal fails the client's action at once; the others go on.
    QStringList after = m_before
        + QStringList {QStringLiteral("A in Sent: of the server"),
                       QStringLiteral("B in Local Storage: waiting"),
                       QStringLiteral("C in Sent: of the server")};
    after.sort();
    QTRY_VERIFY(store().contains(QStringLiteral("A in Sent: of the server")));
    QTRY_VERIFY(store().contains(QStringLiteral("C in Sent: of the server")));
    // The synchronisation that brought these has the message server offer the other one again.
    QVERIFY(world().hearAll());
    QVERIFY(m_server->settle());
    QTRY_COMPARE(logCount("is NOT sent and Outbox flag is restored"),
                 1 + logCount("Sending  \\d+  message"));
    QCOMPARE(store(), after);
    verifyOneCopyOf({QStringLiteral("A"), QStringLiteral("C")});
    QTRY_VERIFY(SendingWorld::reasonOf(refused).contains(QLatin1String("recipient")));
}

void TestWholeSending::aLaterSynchronisationSendsWhatWasRefused()
{
    world().server.fault(SendingWorld::sendFault("status", {{QStringLiteral("status"), 115}}));
    const QMailMessageId id = world().add(world().draft());
    Transmission transmission;
    transmit(transmission);
    QVERIFY(transmission.watcher.waitForEnd());
    QCOMPARE(transmission.failed, QMailMessageIdList {id});
    QVERIFY(world().isInOutbox(id));
    QCOMPARE(world().syncAndWait(), 200);
    QTRY_VERIFY_WITH_TIMEOUT(!StoreFixture::exists(id), 20000);
    verifyOneCopyOf({QStringLiteral("Hello")});
}

void TestWholeSending::whatWasTakenBackDoesNotGoLater_data()
{
    QTest::addColumn<bool>("trash");
    QTest::addColumn<bool>("isReached");
    QTest::newRow("made a draft") << false << true;
    QTest::newRow("put into the trash") << true << true;
    QTest::newRow("made a draft, and the server is not reached") << false << false;
}

void TestWholeSending::whatWasTakenBackDoesNotGoLater()
{
    QFETCH(bool, trash);
    QFETCH(bool, isReached);
    const quint64 flag = trash ? QMailMessage::Trash : QMailMessage::Draft;
    QCOMPARE(world().endDaemon(), 0);
    world().server.fault(SendingWorld::sendFault(
        "delay",
        {{QStringLiteral("command"), QStringLiteral("OPTIONS")}, {QStringLiteral("seconds"), 20}}));
    if (!isReached)
        world().daemon.setPatience(3);
    // Its announcement would have the message server send the mail before the client does.
    QVERIFY(world().startDaemon());
    QVERIFY(m_server->settle());
    const QMailMessageId id = world().add(world().draft());
    Transmission transmission;
    transmission.action.transmitMessage(id);
    QVERIFY(world().faultsAreTaken());
    QTRY_VERIFY(!world().isInOutbox(id));
    QMailStore *store = QMailStore::instance();
    QVERIFY(store->updateMessagesMetaData(QMailMessageKey::id(id), flag, true));
    if (isReached)
        world().server.endDelays();
    QVERIFY(transmission.watcher.waitForEnd());
    QCOMPARE(transmission.failed, QMailMessageIdList {id});
    QTRY_VERIFY_WITH_TIMEOUT(!world().isInOutbox(id), 20000);
    QVERIFY(StoreFixture::hasStatus(id, flag));
    // Now it is its author who wants it sent.
    if (trash) {
        QCOMPARE(world().syncAndWait(), 200);
        QVERIFY(world().sent().isEmpty());
        return;
    }
    world().setOutbox(id, true);
    Transmission again;
    again.action.transmitMessage(id);
    QVERIFY(again.watcher.waitForEnd());
    QCOMPARE(world().sent().size(), 1);
}

void TestWholeSending::editedWhileItLeavesNothingIsLost_data()
{
    QTest::addColumn<bool>("draft");
    QTest::newRow("it is to go") << false;
    QTest::newRow("it is made a draft") << true;
}

/** The first version has arrived, and the message server does not know it yet. */
void TestWholeSending::editedWhileItLeavesNothingIsLost()
{
    QFETCH(bool, draft);
    world().server.fault(SendingWorld::sendFault(
        "delay", {{QStringLiteral("late"), true}, {QStringLiteral("seconds"), 20}}));
    const QMailMessageId id = world().add(world().draft());
    Transmission transmission;
    transmit(transmission);
    QTRY_COMPARE(world().copies(Bob, QStringLiteral("Hello")), 1);
    QTRY_VERIFY(!world().isInOutbox(id));
    QMailMessage edited(id);
    edited.setSubject(QStringLiteral("Edited"));
    edited.setStatus(QMailMessage::Draft, draft);
    QVERIFY(QMailStore::instance()->updateMessage(&edited));
    world().server.endDelays();
    QVERIFY(transmission.watcher.waitForEnd());
    const QString sent = QStringLiteral("%1 in Sent: of the server");
    const QString kept = QStringLiteral("Edited in Local Storage: neither");
    QStringList after = storeWith(sent.arg(QStringLiteral("Hello")));
    after.append(draft ? kept : sent.arg(QStringLiteral("Edited")));
    after.sort();
    QCOMPARE(world().syncAndWait(), 200);
    QTRY_COMPARE_WITH_TIMEOUT(store(), after, 20000);
    verifyTransmitted(transmission, draft ? QMailMessageIdList() : QMailMessageIdList {id});
    QCOMPARE(world().copies(Bob, QStringLiteral("Hello")), 1);
    QCOMPARE(world().copies(Bob, QStringLiteral("Edited")), draft ? 0 : 1);
}

/** The message server knows that it has gone, and has others to send before it marks that. */
void TestWholeSending::editedWhileAnotherLeavesGoesAnew()
{
    world().server.fault(SendingWorld::sendFault("delay",
                                                 {{QStringLiteral("after"), 1},
                                                  {QStringLiteral("late"), true},
                                                  {QStringLiteral("seconds"), 20}}));
    const QMailMessageIdList ids = addMany(2);
    Transmission transmission;
    transmit(transmission);
    QTRY_COMPARE(transmission.transmitted.size(), 1);
    const QMailMessageId id = transmission.transmitted.first();
    QMailMessage edited(id);
    edited.setSubject(QStringLiteral("Edited"));
    edited.setStatus(QMailMessage::Outbox, true);
    QVERIFY(QMailStore::instance()->updateMessage(&edited));
    Transmission again;
    transmit(again);
    QTRY_COMPARE(world().server.messages(Bob, QStringLiteral("Inbox")).size(), 2);
    world().server.endDelays();
    QVERIFY(transmission.watcher.waitForEnd());
    QVERIFY(again.watcher.waitForEnd());
    verifyTransmitted(transmission, ids);
    verifyTransmitted(again, {id});
    verifyOneCopyOf({QStringLiteral("A"), QStringLiteral("B"), QStringLiteral("Edited")});
    QStringList after = m_before;
    for (const char *subject : {"A", "B", "Edited"})
        after.append(QLatin1String(subject) + QStringLiteral(" in Sent: of the server"));
    after.sort();
    QTRY_COMPARE(store(), after);
}

void TestWholeSending::daemonKilledWhileTheServerIsAtIt_data()
{
    daemonKilledAfterTheServerHasIt_data();
}

void TestWholeSending::daemonKilledWhileTheServerIsAtIt()
{
    QFETCH(bool, memory);
    world().setOption("client_id_memory", memory);
    world().server.fault(SendingWorld::sendFault("delay", {{QStringLiteral("seconds"), 2}}));
    const QMailMessageId id = world().add(world().draft());
    Transmission transmission;
    transmit(transmission);
    QVERIFY(world().faultsAreTaken());
    world().daemon.kill();
    QCOMPARE(store(), storeWith(QStringLiteral("Hello in Local Storage: neither")));
    recover();
    QVERIFY(transmission.watcher.waitForEnd());
    QTRY_VERIFY_WITH_TIMEOUT(!StoreFixture::exists(id), 20000);
    verifyOneCopyOf({QStringLiteral("Hello")});
}

void TestWholeSending::daemonKilledAfterTheServerHasIt_data()
{
    QTest::addColumn<bool>("memory");
    QTest::newRow("server remembers") << true;
    QTest::newRow("server forgets") << false;
}

void TestWholeSending::daemonKilledAfterTheServerHasIt()
{
    QFETCH(bool, memory);
    world().setOption("client_id_memory", memory);
    world().server.fault(SendingWorld::sendFault(
        "delay", {{QStringLiteral("late"), true}, {QStringLiteral("seconds"), 30}}));
    const QMailMessageId id = world().add(world().draft());
    Transmission transmission;
    transmit(transmission);
    QTRY_COMPARE(world().copies(Bob, QStringLiteral("Hello")), 1);
    world().daemon.kill();
    recover();
    QVERIFY(transmission.watcher.waitForEnd());
    QTRY_VERIFY_WITH_TIMEOUT(!StoreFixture::exists(id), 20000);
    verifyOneCopyOf({QStringLiteral("Hello")});
    QCOMPARE(world().syncAndWait(), 200);
    QTRY_COMPARE(store(), storeWith(QStringLiteral("Hello in Sent: of the server")));
}

void TestWholeSending::daemonKilledAmongMany()
{
    const QMailMessageIdList ids = addMany(6);
    world().server.fault(SendingWorld::sendFault("delay",
                                                 {{QStringLiteral("late"), true},
                                                  {QStringLiteral("seconds"), 30},
                                                  {QStringLiteral("after"), 3}}));
    Transmission transmission;
    transmit(transmission);
    QVERIFY(world().faultsAreTaken());
    QTRY_COMPARE(world().server.messages(Bob, QStringLiteral("Inbox")).size(), 4);
    world().daemon.kill();
    recover();
    QVERIFY(transmission.watcher.waitForEnd());
    QTRY_COMPARE_WITH_TIMEOUT(world().server.messages(Bob, QStringLiteral("Inbox")).size(), 6,
                              30000);
    for (const QMailMessageId &id : ids)
        QTRY_VERIFY_WITH_TIMEOUT(!StoreFixture::exists(id), 20000);
    for (int i = 0; i < 6; ++i)
        QCOMPARE(world().copies(Bob, QString(QLatin1Char(char('A' + i)))), 1);
}

void TestWholeSending::cancelledAfterTheServerHasIt()
{
    world().server.fault(SendingWorld::sendFault(
        "delay", {{QStringLiteral("late"), true}, {QStringLiteral("seconds"), 20}}));
    world().add(world().draft());
    Transmission transmission;
    transmit(transmission);
    QTRY_COMPARE(world().copies(Bob, QStringLiteral("Hello")), 1);
    transmission.action.cancelOperation();
    QVERIFY(transmission.watcher.waitForEnd());
    QVERIFY(transmission.transmitted.isEmpty());
    world().server.endDelays();
    // What nobody asks for any more is still brought to its end, by the next synchronisation.
    QTRY_VERIFY_WITH_TIMEOUT(world().daemon.log().contains(QLatin1String("is sent")), 15000);
    QCOMPARE(world().syncAndWait(), 200);
    QTRY_COMPARE(store(), storeWith(QStringLiteral("Hello in Sent: of the server")));
    verifyOneCopyOf({QStringLiteral("Hello")});
}

QTEST_GUILESS_MAIN(TestWholeSending)
#include "tst_wholesending.moc"
