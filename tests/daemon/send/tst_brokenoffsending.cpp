// SPDX-License-Identifier: LGPL-2.1-or-later
#include "tests/daemon/daemonfixture.h"
#include "tests/daemon/send/cuttingproxy.h"
#include "tests/daemon/sendingworld.h"
#include "tests/support/chance.h"

#include <QFile>
#include <QJsonArray>
#include <qmailmessage.h>
#include <qmailstore.h>
#include <QRandomGenerator>
#include <QTest>

#include <memory>

namespace {

const QString Alice = QStringLiteral("alice");
const QString Bob = QStringLiteral("bob");

#ifdef __SANITIZE_ADDRESS__
constexpr int UsualPoints = 13;
#else
constexpr int UsualPoints = 25;
#endif

/** Points for each row, of which there are two that cut and two that kill. */
int pointCount()
{
    const int wanted = qEnvironmentVariableIntValue("ORVMAIL_BREAK_POINTS");
    return wanted > 0 ? wanted : UsualPoints;
}

/** So many other messages stay in the folder of sent ones: each costs time at each point. */
constexpr int Others = 3;

/** More than there is room for between the daemon and the server. */
constexpr int Large = 16 << 20;

QMailMessage withAttachment(QMailMessage message, const QByteArray &content)
{
    QMailMessageContentDisposition disposition(QMailMessageContentDisposition::Attachment);
    disposition.setFilename("plan.bin");
    QMailMessagePart text;
    text.setBody(SendingWorld::plainText(QStringLiteral("Hello.\n")));
    message.setMultipartType(QMailMessage::MultipartMixed);
    message.appendPart(text);
    message.appendPart(QMailMessagePart::fromData(
        content, disposition, QMailMessageContentType("application/octet-stream"),
        QMailMessageBody::Base64, QMailMessageBody::RequiresEncoding));
    return message;
}

/** What is done to a message with an attachment while it leaves. */
void change(const QMailMessageId &id, const QString &what)
{
    QMailMessage message(id);
    QFile file(message.contentIdentifier() + QStringLiteral("-parts/2"));
    bool isDone = file.size() == Large;
    if (what == QLatin1String("file changed")) {
        isDone = isDone && file.open(QIODevice::ReadWrite) && file.write("X") == 1;
    } else if (what == QLatin1String("file shortened")) {
        isDone = isDone && file.resize(Large - 1);
    } else if (what == QLatin1String("file removed")) {
        isDone = isDone && file.remove();
    } else if (what == QLatin1String("message removed")) {
        isDone = isDone && QMailStore::instance()->removeMessage(id, QMailStore::NoRemovalRecord);
    } else if (what == QLatin1String("attachment edited")) {
        const QMailMessage edited = withAttachment(QMailMessage(), "plan B");
        message.partAt(1).setBody(edited.partAt(1).body());
        isDone = isDone && QMailStore::instance()->updateMessage(&message);
    } else if (what == QLatin1String("subject edited")) {
        message.setSubject(QStringLiteral("Edited"));
        isDone = isDone && QMailStore::instance()->updateMessage(&message);
    }
    if (!isDone)
        qFatal("cannot do this to the message");
}

} // namespace

/** Sending a message, broken off at points that lie over the whole exchange with the server. */
class TestBrokenOffSending : public DaemonFixture<SendingWorld>
{
    Q_OBJECT

private slots:
    void brokenOffAnywhereItIsSentOnce_data();
    void brokenOffAnywhereItIsSentOnce();
    void whatIsChangedWhileItLeavesDoesNotGo_data();
    void whatIsChangedWhileItLeavesDoesNotGo();
    void editedWhileItLeavesItGoesAsItIsNow_data();
    void editedWhileItLeavesItGoesAsItIsNow();
    void editedWhileItLeavesAndNobodyWaitsItStays_data()
    {
        editedWhileItLeavesItGoesAsItIsNow_data();
    }
    void editedWhileItLeavesAndNobodyWaitsItStays();
    void theServersTimeBeginsWithTheLastByte_data();
    void theServersTimeBeginsWithTheLastByte();

private:
    bool begin() override
    {
        world().daemon.hurry();
        world().daemon.setPatience(4); // the test server is never at a message for half a second
        return world().begin();
    }
    QMailMessageId addOne(const QString &subject = QStringLiteral("Hello")) const;
    /** A large one with the Message-ID <own@example.test>. */
    QMailMessageId addLargeWithId() const;
    /** All that the daemon asks of the server goes through there. */
    void lead(const CuttingProxy &proxy);
    qint64 bytesOfOneSending(CuttingProxy *proxy);
    void sendAndBreakOff(CuttingProxy *proxy, bool kill, qint64 point, const QString &subject);
    /** Sends a large message to which this is done in the middle of its upload; its request. */
    int sendAndChange(CuttingProxy *proxy, const QMailMessageId &id, const QString &what);
    void removeOldest();

    int m_attached = 0; ///< bytes of each message's attachment, of which there is none for 0
};

void TestBrokenOffSending::brokenOffAnywhereItIsSentOnce_data()
{
    QTest::addColumn<bool>("memory");
    QTest::addColumn<bool>("kill");
    QTest::addColumn<int>("attached");
    QTest::newRow("connection cut, server remembers") << true << false << 0;
    QTest::newRow("connection cut, server forgets") << false << false << 0;
    QTest::newRow("connection cut, attachment") << false << false << 200000;
    QTest::newRow("daemon killed, server remembers") << true << true << 0;
    QTest::newRow("daemon killed, server forgets") << false << true << 0;
    QTest::newRow("daemon killed, attachment") << false << true << 200000;
}

QMailMessageId TestBrokenOffSending::addOne(const QString &subject) const
{
    const QMailMessage message = world().draft(subject);
    return world().add(m_attached > 0 ? withAttachment(message, QByteArray(m_attached, 'x'))
                                      : message);
}

QMailMessageId TestBrokenOffSending::addLargeWithId() const
{
    QMailMessage message = withAttachment(world().draft(), QByteArray(Large, 'x'));
    message.setHeaderField(QStringLiteral("Message-ID"), QStringLiteral("<own@example.test>"));
    return world().add(message);
}

void TestBrokenOffSending::lead(const CuttingProxy &proxy)
{
    StoreFixture::Account settings = world().settings();
    settings.port = proxy.port();
    world().changeSettings(world().account, settings);
}

/** How many bytes pass when one message is sent, by a daemon that knows the protocol's version. */
qint64 TestBrokenOffSending::bytesOfOneSending(CuttingProxy *proxy)
{
    for (int i = 0; i < 2; ++i) {
        proxy->heal();
        if (world().sendAndWait(addOne()) != 200)
            return 0;
    }
    return proxy->passed();
}

void TestBrokenOffSending::brokenOffAnywhereItIsSentOnce()
{
    QFETCH(bool, memory);
    QFETCH(bool, kill);
    QFETCH(int, attached);
    m_attached = attached;
    world().setOption("client_id_memory", memory);
    CuttingProxy proxy(world().server.port());
    lead(proxy);
    const qint64 total = bytesOfOneSending(&proxy);
    QVERIFY(total > 0);
    QRandomGenerator random(testSeed());
    const int count = pointCount();
    for (int i = 0; i < count; ++i) {
        const qint64 first = total * i / count;
        const qint64 next = total * (i + 1) / count;
        const qint64 point = 1 + first + random.bounded(int(next - first));
        sendAndBreakOff(&proxy, kill, point, QStringLiteral("Point %1").arg(i));
        if (QTest::currentTestFailed()) {
            qWarning("at byte %lld", point);
            return;
        }
        removeOldest();
    }
    tellRounds(count);
}

void TestBrokenOffSending::removeOldest()
{
    const QString sent = QStringLiteral("Sent");
    const QList<QJsonObject> messages = world().server.messages(Alice, sent);
    if (messages.size() > Others)
        world().server.control("delete",
                               {{QStringLiteral("user"), Alice},
                                {QStringLiteral("folder"), sent},
                                {QStringLiteral("id"), messages.first()[QStringLiteral("id")]}});
}

void TestBrokenOffSending::sendAndBreakOff(CuttingProxy *proxy, bool kill, qint64 point,
                                           const QString &subject)
{
    const QMailMessageId id = addOne(subject);
    const auto messageKey = QMailMessageKey::id(id);
    bool isKilled = false;
    proxy->cutAfter(point, [&] {
        isKilled = kill;
        if (kill)
            world().daemon.kill();
    });
    world().listener.clear();
    const int request = world().send(id);
    QVERIFY(request > 0);
    QTRY_VERIFY_WITH_TIMEOUT(isKilled || world().listener.codeOf(request) != 0, 30000);
    QVERIFY(proxy->hasCut());
    proxy->heal();
    if (isKilled) {
        QVERIFY(world().daemon.start());
        QTRY_VERIFY(world().isInOutbox(id)
                    || QMailStore::instance()->countMessages(messageKey) == 0);
    } else if (world().listener.codeOf(request) != 200) {
        QVERIFY(world().daemon.log().contains(
            QStringLiteral("message %1 is not sent").arg(id.toULongLong())));
    }
    const bool isOpen = isKilled ? world().isInOutbox(id) : world().listener.codeOf(request) != 200;
    QVERIFY(world().copies(Bob, subject) <= 1);
    QVERIFY(isOpen || world().copies(Bob, subject) == 1);
    if (isOpen) {
        QTRY_VERIFY(!SendingWorld::reasonOf(id).isEmpty());
        QCOMPARE(world().sendAndWait(id), 200);
    }
    QCOMPARE(world().copies(Bob, subject), 1);
}

int TestBrokenOffSending::sendAndChange(CuttingProxy *proxy, const QMailMessageId &id,
                                        const QString &what)
{
    proxy->callAfter(Large / 16, [id, what] { change(id, what); });
    return world().send(id);
}

void TestBrokenOffSending::whatIsChangedWhileItLeavesDoesNotGo_data()
{
    QTest::addColumn<QString>("what");
    for (const char *what : {"file changed", "file shortened", "file removed", "message removed"})
        QTest::newRow(what) << QString::fromLatin1(what);
}

void TestBrokenOffSending::whatIsChangedWhileItLeavesDoesNotGo()
{
    QFETCH(QString, what);
    m_attached = Large;
    const QMailMessageId id = addOne();
    CuttingProxy proxy(world().server.port());
    lead(proxy);
    QCOMPARE(world().codeOf(sendAndChange(&proxy, id, what), 60000), 404);
    QVERIFY(world().sent().isEmpty());
    QCOMPARE(world().copies(Bob, QStringLiteral("Hello")), 0);
    if (what == QLatin1String("message removed"))
        return;
    QTRY_VERIFY(SendingWorld::reasonOf(id).contains(QLatin1String("an attachment was changed")));
    // There is no doubt whether the server has it.
    QMailMessage message(id);
    message.partAt(1).setBody(withAttachment(QMailMessage(), "plan B").partAt(1).body());
    QVERIFY(QMailStore::instance()->updateMessage(&message));
    QCOMPARE(world().sendAndWait(id), 200);
    QCOMPARE(world().sent().size(), 1);
    QCOMPARE(world().sentMessage().partAt(1).body().data(QMailMessageBody::Decoded), "plan B");
}

void TestBrokenOffSending::editedWhileItLeavesItGoesAsItIsNow_data()
{
    QTest::addColumn<QString>("what");
    QTest::addColumn<QString>("subject");
    QTest::addColumn<int>("size");
    QTest::newRow("attachment") << QStringLiteral("attachment edited") << QStringLiteral("Hello")
                                << 6;
    QTest::newRow("subject") << QStringLiteral("subject edited") << QStringLiteral("Edited")
                             << Large;
}

/** The mail store has removed the earlier version's files before all of it has left. */
void TestBrokenOffSending::editedWhileItLeavesItGoesAsItIsNow()
{
    QFETCH(QString, what);
    QFETCH(QString, subject);
    QFETCH(int, size);
    m_attached = Large;
    const QMailMessageId id = addOne();
    CuttingProxy proxy(world().server.port());
    lead(proxy);
    QCOMPARE(world().codeOf(sendAndChange(&proxy, id, what), 60000), 200);
    QCOMPARE(world().sent().size(), 1);
    QCOMPARE(world().sentMessage().subject(), subject);
    QCOMPARE(world().sentMessage().partAt(1).body().data(QMailMessageBody::Decoded).size(), size);
}

/** Its author has not asked for what it is now, which may be half of it. */
void TestBrokenOffSending::editedWhileItLeavesAndNobodyWaitsItStays()
{
    QFETCH(QString, what);
    QFETCH(QString, subject);
    m_attached = Large;
    const QMailMessageId id = addOne();
    CuttingProxy proxy(world().server.port());
    lead(proxy);
    int request = 0;
    proxy.callAfter(Large / 16, [&] {
        world().proxy.abortRequest(request, 1030, QDBus::Block);
        change(id, what);
    });
    request = world().send(id);
    QCOMPARE(world().codeOf(request, 60000), 1030);
    QTRY_VERIFY(world().isInOutbox(id));
    QVERIFY(SendingWorld::reasonOf(id).contains(QLatin1String("has been edited")));
    QVERIFY(world().sent().isEmpty());
    QCOMPARE(QMailMessage(id).subject(), subject);
    QCOMPARE(world().sendAndWait(id), 200);
    QCOMPARE(world().sent().size(), 1);
    QCOMPARE(world().sentMessage().subject(), subject);
}

void TestBrokenOffSending::theServersTimeBeginsWithTheLastByte_data()
{
    QTest::addColumn<bool>("kill");
    QTest::newRow("connection cut") << false;
    QTest::newRow("daemon killed") << true;
}

/** The upload has taken long, and the server has it in its folder a moment after it was cut off. */
void TestBrokenOffSending::theServersTimeBeginsWithTheLastByte()
{
    QFETCH(bool, kill);
    QVERIFY(world().startAnew(24)); // all this is over before the server's time is
    QCOMPARE(world().syncAndWait(), 200);
    CuttingProxy proxy(world().server.port());
    lead(proxy);
    world().server.fault("delay", "SendMail", {{"seconds", 20}});
    world().server.fault("reset", "SendMail");
    proxy.callAfter(Large / 2, [] { SendingWorld::setLeftAt(1); });
    const QMailMessageId id = addLargeWithId();
    const int first = world().send(id);
    QTRY_VERIFY(world().server.requests("SendMail").value(0)[QStringLiteral("bytes_in")].toInt()
                > Large);
    if (kill) {
        world().daemon.kill();
        QVERIFY(world().daemon.start());
        QTRY_VERIFY(world().isInOutbox(id));
    }
    world().server.endDelays();
    if (!kill)
        QCOMPARE(world().codeOf(first), 902);
    world().server.clearLog();
    world().server.fault("delay", "Sync", {{"late", true}, {"seconds", 20}});
    world().listener.clear(); // a new daemon counts its requests anew
    const int second = world().send(id);
    QTRY_VERIFY(world().hasDone("Sync"));
    world().server.deliver(Alice, QStringLiteral("Sent"),
                           "From: alice@example.test\r\nTo: bob@example.test\r\nSubject: Hello\r\n"
                           "Message-ID: <own@example.test>\r\n\r\nHello.\r\n");
    world().server.endDelays();
    QCOMPARE(world().codeOf(second), 200);
    QCOMPARE(world().server.requestCount("SendMail"), 0);
}

QTEST_GUILESS_MAIN(TestBrokenOffSending)
#include "tst_brokenoffsending.moc"
