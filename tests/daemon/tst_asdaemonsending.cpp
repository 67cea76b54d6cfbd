// SPDX-License-Identifier: LGPL-2.1-or-later
#include "tests/daemon/cuttingproxy.h"
#include "tests/daemon/daemonworld.h"

#include <memory>
#include <QFile>
#include <qmailaccount.h>
#include <qmailmessage.h>
#include <qmailstore.h>
#include <QRandomGenerator>
#include <QTemporaryDir>
#include <QTest>

namespace {

const QString alice = QStringLiteral("alice");
const QString bob = QStringLiteral("bob");

QJsonObject fault(const char *kind, QJsonObject more = {})
{
    more.insert(QStringLiteral("kind"), QLatin1String(kind));
    if (!more.contains(QStringLiteral("command")))
        more.insert(QStringLiteral("command"), QStringLiteral("SendMail"));
    return more;
}

/** Why the message was not sent, as the daemon wrote it down. */
QString reasonOf(const QMailMessageId &id)
{
    return QMailMessageMetaData(id).customField(QStringLiteral("orvmail-send-failure"));
}

} // namespace

/** What the daemon does with messages that are to be sent. */
class TestAsDaemonSending : public QObject
{
    Q_OBJECT

private slots:
    void init();
    void cleanup();

    void aMessageReachesItsRecipientAndTheSentFolder_data();
    void aMessageReachesItsRecipientAndTheSentFolder();
    void bccReachesItsRecipientsAndNobodyElseLearnsOfThem();
    void whateverIsInABodyArrivesUnchanged_data();
    void whateverIsInABodyArrivesUnchanged();
    void anAttachmentFromAFileArrives();
    void twentyAtOnceAllArrive();
    void whoCannotBeSentToIsTold_data();
    void whoCannotBeSentToIsTold();
    void refusalsHaveTheirOwnCode_data();
    void refusalsHaveTheirOwnCode();
    void aRefusedMessageBlocksNoOther();
    void messageIdAndDateStayOverRetries();
    void aMessageOrAccountThatDoesNotExistIsRefused();

    void whatWasSentBeforeIsNotSentAgain_data();
    void whatWasSentBeforeIsNotSentAgain();
    void aCutAfterTheServerHasItIsFoundOut_data();
    void aCutAfterTheServerHasItIsFoundOut();
    void aCutBeforeTheServerHasItIsNoDoubt();
    void withoutAConnectionTheMessageStaysInTheOutbox();
    void abortedBeforeTheFirstByteItStays();
    void abortedAfterItIsLetFinish();
    void anInterruptedSendingReturnsToTheOutbox();
    void aCopyOfASentMessageIsSent();
    void brokenOffAnywhereItIsSentOnce_data();
    void brokenOffAnywhereItIsSentOnce();

private:
    DaemonWorld &world() { return *m_world; }
    QMailMessage draft(const QString &subject = QStringLiteral("Hello")) const;
    QMailMessageId add(QMailMessage message) const;
    int send(const QMailMessageId &id);
    int sendAndWait(const QMailMessageId &id)
    {
        world().listener.clear(); // a new daemon counts its requests from 1 again
        return world().codeOf(send(id), 60000);
    }
    QJsonArray sent();
    QMailMessage sentMessage(int index = 0);
    /** Copies of a subject that the user's folder has. */
    int copies(const QString &user, const QString &subject,
               const QString &folder = QStringLiteral("Inbox"));
    void setOption(const char *name, const QJsonValue &value);
    qint64 bytesOfOneSending(CuttingProxy *proxy);
    void sendAndBreakOff(CuttingProxy *proxy, bool kill, qint64 point, const QString &subject);
    bool isInOutbox(const QMailMessageId &id) const;
    void setOutbox(const QMailMessageId &id, bool on);

    std::unique_ptr<DaemonWorld> m_world;
};

void TestAsDaemonSending::init()
{
    if (!EasServer::isAvailable())
        QSKIP("there is no python3 for the test server");
    m_world = std::make_unique<DaemonWorld>();
    QVERIFY(world().begin());
}

void TestAsDaemonSending::cleanup()
{
    const int code = m_world ? m_world->endDaemon() : 0;
    m_world.reset();
    QCOMPARE(code, 0);
}

QMailMessage TestAsDaemonSending::draft(const QString &subject) const
{
    QMailMessage message;
    message.setMessageType(QMailMessage::Email);
    message.setParentAccountId(m_world->account);
    message.setParentFolderId(QMailFolderId(QMailFolder::LocalStorageFolderId));
    message.setFrom(QMailAddress(QStringLiteral("Alice"), QStringLiteral("alice@example.test")));
    message.setTo(QMailAddress(QStringLiteral("Bob"), QStringLiteral("bob@example.test")));
    message.setSubject(subject);
    message.setDate(QMailTimeStamp::currentDateTime());
    message.setBody(QMailMessageBody::fromData(QStringLiteral("Hello.\n"),
                                               QMailMessageContentType("text/plain; charset=UTF-8"),
                                               QMailMessageBody::QuotedPrintable));
    message.setStatus(QMailMessage::Outgoing | QMailMessage::Outbox | QMailMessage::ContentAvailable
                          | QMailMessage::LocalOnly | QMailMessage::Read,
                      true);
    return message;
}

QMailMessageId TestAsDaemonSending::add(QMailMessage message) const
{
    if (!QMailStore::instance()->addMessage(&message))
        qFatal("cannot add a message");
    return message.id();
}

int TestAsDaemonSending::send(const QMailMessageId &id)
{
    const int request =
        world().proxy.sendMail(world().account.toULongLong(), id.toULongLong(), QDBus::Block);
    if (request > 0)
        setOutbox(id, false);
    return request;
}

QJsonArray TestAsDaemonSending::sent()
{
    return world()
        .server.control("sent", {{QStringLiteral("mime"), true}})
        .value(QStringLiteral("sent"))
        .toArray();
}

QMailMessage TestAsDaemonSending::sentMessage(int index)
{
    const QJsonObject entry = sent().at(index).toObject();
    return QMailMessage::fromRfc2822(
        QByteArray::fromBase64(entry.value(QStringLiteral("mime")).toString().toLatin1()));
}

int TestAsDaemonSending::copies(const QString &user, const QString &subject, const QString &folder)
{
    int found = 0;
    for (const QJsonObject &message : world().server.messages(user, folder))
        found += int(message.value(QStringLiteral("subject")).toString() == subject);
    return found;
}

void TestAsDaemonSending::setOption(const char *name, const QJsonValue &value)
{
    world().server.control("options", {{QLatin1String(name), value}});
}

bool TestAsDaemonSending::isInOutbox(const QMailMessageId &id) const
{
    const auto key = QMailMessageKey::id(id)
        & QMailMessageKey::status(QMailMessage::Outbox, QMailDataComparator::Includes);
    return QMailStore::instance()->countMessages(key) == 1;
}

void TestAsDaemonSending::setOutbox(const QMailMessageId &id, bool on)
{
    QMailStore::instance()->updateMessagesMetaData(QMailMessageKey::id(id), QMailMessage::Outbox,
                                                   on);
}

void TestAsDaemonSending::aMessageReachesItsRecipientAndTheSentFolder_data()
{
    QTest::addColumn<QString>("version");
    for (const char *version : {"12.1", "14.0", "14.1"})
        QTest::newRow(version) << QString::fromLatin1(version);
}

void TestAsDaemonSending::aMessageReachesItsRecipientAndTheSentFolder()
{
    QFETCH(QString, version);
    setOption("versions", QJsonArray {version});
    QCOMPARE(sendAndWait(add(draft())), 200);
    QCOMPARE(copies(bob, QStringLiteral("Hello")), 1);
    QCOMPARE(copies(alice, QStringLiteral("Hello"), QStringLiteral("Sent")), 1);
    const QMailMessage message = sentMessage();
    QCOMPARE(message.from().address(), QStringLiteral("alice@example.test"));
    QCOMPARE(message.to().first().address(), QStringLiteral("bob@example.test"));
    QCOMPARE(message.body().data(), QStringLiteral("Hello.\n"));
    QVERIFY(message.headerFieldText(QStringLiteral("Message-ID")).contains(QLatin1Char('@')));
    QVERIFY(!message.headerFieldText(QStringLiteral("Date")).isEmpty());
}

void TestAsDaemonSending::bccReachesItsRecipientsAndNobodyElseLearnsOfThem()
{
    QMailMessage message = draft();
    message.setBcc({QMailAddress(QStringLiteral("Jörg"), QStringLiteral("alice@example.test"))});
    QCOMPARE(sendAndWait(add(message)), 200);
    QCOMPARE(copies(bob, QStringLiteral("Hello")), 1);
    QCOMPARE(copies(alice, QStringLiteral("Hello")), 1);
    QCOMPARE(sentMessage().bcc().value(0).address(), QStringLiteral("alice@example.test"));
    QCOMPARE(sentMessage().bcc().value(0).name(), QStringLiteral("Jörg"));
    const QString id = world()
                           .server.messages(bob, QStringLiteral("Inbox"))
                           .first()
                           .value(QStringLiteral("id"))
                           .toString();
    const QByteArray received = QByteArray::fromBase64(
        world()
            .server.control("message", {{QStringLiteral("user"), bob}, {QStringLiteral("id"), id}})
            .value(QStringLiteral("message"))
            .toString()
            .toLatin1());
    QVERIFY(received.contains("To: "));
    QVERIFY(!received.toLower().contains("bcc"));
}

void TestAsDaemonSending::whateverIsInABodyArrivesUnchanged_data()
{
    QTest::addColumn<int>("encoding");
    QTest::addColumn<QByteArray>("charset");
    QTest::addColumn<QByteArray>("text");
    const QByteArray odd = QByteArrayLiteral(".\r\n..\r\n.dot\r\nFrom me\r\n\r\nend ") + "\t \r\n";
    const QByteArray umlaut = QByteArrayLiteral("gr\xc3\xbc\xc3\x9f dich\r\n");
    const QByteArray line = QByteArray(5000, 'x') + "\r\n";
    using Body = QMailMessageBody;
    for (const auto encoding :
         {Body::SevenBit, Body::EightBit, Body::Binary, Body::QuotedPrintable, Body::Base64}) {
        const QByteArray name = QByteArray::number(int(encoding));
        QTest::newRow((name + " dots").constData()) << int(encoding) << QByteArray("UTF-8") << odd;
        QTest::newRow((name + " umlauts").constData())
            << int(encoding) << QByteArray("UTF-8") << umlaut;
        QTest::newRow((name + " latin").constData())
            << int(encoding) << QByteArray("ISO-8859-1") << QByteArray("gr\xfc\xdf dich\r\n");
        QTest::newRow((name + " long line").constData())
            << int(encoding) << QByteArray("UTF-8") << line + odd;
    }
}

void TestAsDaemonSending::whateverIsInABodyArrivesUnchanged()
{
    QFETCH(int, encoding);
    QFETCH(QByteArray, charset);
    QFETCH(QByteArray, text);
    QMailMessage message = draft();
    const bool isPlain = encoding == QMailMessageBody::SevenBit
        || encoding == QMailMessageBody::EightBit || encoding == QMailMessageBody::Binary;
    message.setBody(QMailMessageBody::fromData(
        text, QMailMessageContentType("text/plain; charset=" + charset),
        QMailMessageBody::TransferEncoding(encoding),
        isPlain ? QMailMessageBody::AlreadyEncoded : QMailMessageBody::RequiresEncoding));
    QCOMPARE(sendAndWait(add(message)), 200);
    const QByteArray mime = QByteArray::fromBase64(
        sent().first().toObject().value(QStringLiteral("mime")).toString().toLatin1());
    for (const QByteArray &line : mime.split('\n'))
        QVERIFY2(line.size() <= 999, line.left(60).constData());
    QCOMPARE(mime.count('\n'), mime.count("\r\n"));
    for (const char sign : mime)
        QVERIFY(sign > 0);
    // The mail store's own reader makes LF of CR LF.
    QByteArray arrived = sentMessage().body().data(QMailMessageBody::Decoded);
    QCOMPARE(arrived.replace("\r\n", "\n"), QByteArray(text).replace("\r\n", "\n"));
    QCOMPARE(sentMessage().contentType().charset().toLower(), charset.toLower());
}

void TestAsDaemonSending::anAttachmentFromAFileArrives()
{
    QByteArray content;
    for (int i = 0; i < 300000; ++i)
        content.append(char(i * 7 + i / 256));
    QTemporaryDir folder;
    const QString path = folder.filePath(QStringLiteral("picture.bin"));
    QFile file(path);
    QVERIFY(file.open(QIODevice::WriteOnly));
    file.write(content);
    file.close();
    QMailMessage message = draft();
    message.setMultipartType(QMailMessage::MultipartMixed);
    message.appendPart(QMailMessagePart::fromData(
        QStringLiteral("See ä"),
        QMailMessageContentDisposition(QMailMessageContentDisposition::Inline),
        QMailMessageContentType("text/plain; charset=UTF-8"), QMailMessageBody::EightBit));
    QMailMessageContentDisposition disposition(QMailMessageContentDisposition::Attachment);
    disposition.setFilename("picture.bin");
    message.appendPart(QMailMessagePart::fromFile(
        path, disposition, QMailMessageContentType("application/octet-stream"),
        QMailMessageBody::Base64));
    QCOMPARE(sendAndWait(add(message)), 200);
    const QMailMessage arrived = sentMessage();
    QCOMPARE(arrived.partCount(), 2u);
    QCOMPARE(arrived.partAt(0).body().data(), QStringLiteral("See ä"));
    QCOMPARE(arrived.partAt(1).body().data(QMailMessageBody::Decoded), content);
    QCOMPARE(arrived.partAt(1).displayName(), QStringLiteral("picture.bin"));
}

void TestAsDaemonSending::twentyAtOnceAllArrive()
{
    QList<int> requests;
    for (int i = 0; i < 20; ++i)
        requests.append(send(add(draft(QStringLiteral("Mail %1").arg(i)))));
    for (int request : requests)
        QCOMPARE(world().codeOf(request, 60000), 200);
    for (int i = 0; i < 20; ++i)
        QCOMPARE(copies(bob, QStringLiteral("Mail %1").arg(i)), 1);
}

void TestAsDaemonSending::whoCannotBeSentToIsTold_data()
{
    QTest::addColumn<QString>("address");
    QTest::addColumn<int>("asked");
    QTest::newRow("nobody") << QString() << 0;
    QTest::newRow("no address") << QStringLiteral("Somebody") << 0;
    QTest::newRow("unknown to the server") << QStringLiteral("nobody@example.test") << 1;
}

void TestAsDaemonSending::whoCannotBeSentToIsTold()
{
    QFETCH(QString, address);
    QFETCH(int, asked);
    QMailMessage message = draft();
    message.setTo(QMailAddressList());
    if (!address.isEmpty())
        message.setTo(QMailAddress(address));
    const QMailMessageId id = add(message);
    QCOMPARE(sendAndWait(id), 404);
    QCOMPARE(world().server.requestCount("SendMail"), asked);
    QVERIFY(world().daemon.log().contains(QLatin1String("is not sent: 404")));
    QTRY_VERIFY(reasonOf(id).contains(QLatin1String("recipient")));
}

void TestAsDaemonSending::refusalsHaveTheirOwnCode_data()
{
    QTest::addColumn<QJsonObject>("wish");
    QTest::addColumn<int>("code");
    QTest::addColumn<QString>("text");
    const auto status = [](int status) {
        return fault("status", {{QStringLiteral("status"), status}});
    };
    const auto http = [](int status) {
        return fault("http", {{QStringLiteral("status"), status}});
    };
    QTest::newRow("mailbox full") << status(113) << 507 << QStringLiteral("mailbox is full");
    QTest::newRow("quota") << status(115) << 507 << QStringLiteral("quota");
    QTest::newRow("recipient") << status(116) << 404 << QStringLiteral("recipient");
    QTest::newRow("no recipient") << status(119) << 404 << QStringLiteral("no recipient");
    QTest::newRow("denied") << status(112) << 403 << QStringLiteral("denied");
    QTest::newRow("not allowed") << status(167) << 403 << QStringLiteral("not allowed");
    QTest::newRow("too large") << http(413) << 507 << QStringLiteral("413");
    QTest::newRow("forbidden") << http(403) << 403 << QStringLiteral("403");
}

void TestAsDaemonSending::refusalsHaveTheirOwnCode()
{
    QFETCH(QJsonObject, wish);
    QFETCH(int, code);
    QFETCH(QString, text);
    world().server.fault(wish);
    const QMailMessageId id = add(draft());
    QCOMPARE(sendAndWait(id), code);
    // This process learns of what the daemon wrote a moment later.
    QTRY_VERIFY(reasonOf(id).contains(text));
    QVERIFY(world().daemon.log().contains(reasonOf(id)));
    setOutbox(id, true);
    QCOMPARE(sendAndWait(id), 200);
    QCOMPARE(copies(bob, QStringLiteral("Hello")), 1);
}

void TestAsDaemonSending::aRefusedMessageBlocksNoOther()
{
    QMailMessage bad = draft(QStringLiteral("Bad"));
    bad.setTo(QMailAddress(QStringLiteral("nobody@example.test")));
    const int first = send(add(bad));
    const int second = send(add(draft(QStringLiteral("Good"))));
    QCOMPARE(world().codeOf(first), 404);
    QCOMPARE(world().codeOf(second), 200);
    QCOMPARE(copies(bob, QStringLiteral("Good")), 1);
}

void TestAsDaemonSending::messageIdAndDateStayOverRetries()
{
    setOption("client_id_memory", false);
    QMailMessage message = draft();
    message.setDate(QMailTimeStamp());
    const QMailMessageId id = add(message);
    world().server.fault(fault("status", {{QStringLiteral("status"), 113}}));
    QCOMPARE(sendAndWait(id), 507);
    QCOMPARE(sendAndWait(id), 200);
    const QList<QJsonObject> requests = world().server.requests("SendMail");
    QCOMPARE(requests.size(), 2);
    QCOMPARE(requests.at(0).value(QStringLiteral("request")),
             requests.at(1).value(QStringLiteral("request")));
}

void TestAsDaemonSending::aMessageOrAccountThatDoesNotExistIsRefused()
{
    const quint64 account = world().account.toULongLong();
    const quint64 message = add(draft()).toULongLong();
    QCOMPARE(world().proxy.sendMail(account, message + 77, QDBus::Block).value(), -1);
    QCOMPARE(world().proxy.sendMail(account + 77, message, QDBus::Block).value(), -1);
}

void TestAsDaemonSending::whatWasSentBeforeIsNotSentAgain_data()
{
    QTest::addColumn<bool>("memory");
    QTest::newRow("server remembers") << true;
    QTest::newRow("server forgets") << false;
}

void TestAsDaemonSending::whatWasSentBeforeIsNotSentAgain()
{
    QFETCH(bool, memory);
    setOption("client_id_memory", memory);
    const QMailMessageId id = add(draft());
    world().server.fault(
        fault("delay", {{QStringLiteral("late"), true}, {QStringLiteral("seconds"), 30}}));
    send(id);
    QTRY_COMPARE_WITH_TIMEOUT(copies(bob, QStringLiteral("Hello")), 1, 20000);
    world().daemon.kill();
    QVERIFY(!isInOutbox(id));
    QVERIFY(world().daemon.start());
    QTRY_VERIFY(isInOutbox(id));
    QCOMPARE(sendAndWait(id), 200);
    QCOMPARE(copies(bob, QStringLiteral("Hello")), 1);
    QCOMPARE(copies(alice, QStringLiteral("Hello"), QStringLiteral("Sent")), 1);
}

void TestAsDaemonSending::aCutAfterTheServerHasItIsFoundOut_data()
{
    whatWasSentBeforeIsNotSentAgain_data();
}

void TestAsDaemonSending::aCutAfterTheServerHasItIsFoundOut()
{
    QFETCH(bool, memory);
    setOption("client_id_memory", memory);
    world().server.fault(fault("reset", {{QStringLiteral("late"), true}}));
    QCOMPARE(sendAndWait(add(draft())), 200);
    QCOMPARE(copies(bob, QStringLiteral("Hello")), 1);
}

void TestAsDaemonSending::aCutBeforeTheServerHasItIsNoDoubt()
{
    setOption("client_id_memory", false);
    world().server.fault(fault("reset"));
    const QMailMessageId id = add(draft());
    QCOMPARE(sendAndWait(id), 902);
    QCOMPARE(copies(bob, QStringLiteral("Hello")), 0);
    QCOMPARE(sendAndWait(id), 200);
    QCOMPARE(copies(bob, QStringLiteral("Hello")), 1);
}

void TestAsDaemonSending::withoutAConnectionTheMessageStaysInTheOutbox()
{
    world().server.control("network", {{QStringLiteral("up"), false}});
    const QMailMessageId id = add(draft());
    QCOMPARE(sendAndWait(id), 902);
    world().server.control("network", {{QStringLiteral("up"), true}});
    world().server.clearLog();
    QCOMPARE(sendAndWait(id), 200);
    QCOMPARE(world().server.requestCount("Sync"), 0);
    QCOMPARE(copies(bob, QStringLiteral("Hello")), 1);
}

void TestAsDaemonSending::abortedBeforeTheFirstByteItStays()
{
    world().server.fault(fault("delay", {{QStringLiteral("seconds"), 2}}));
    const int first = send(add(draft(QStringLiteral("First"))));
    const QMailMessageId id = add(draft());
    const int second = send(id);
    world().proxy.abortRequest(second, 1030, QDBus::Block);
    QCOMPARE(world().codeOf(second), 1030);
    QCOMPARE(world().codeOf(first), 200);
    QCOMPARE(sendAndWait(add(draft(QStringLiteral("Third")))), 200);
    QCOMPARE(copies(bob, QStringLiteral("Hello")), 0);
    QVERIFY(QMailMessage(id).id().isValid());
}

void TestAsDaemonSending::abortedAfterItIsLetFinish()
{
    world().server.fault(fault("delay", {{QStringLiteral("seconds"), 1}}));
    const QMailMessageId id = add(draft());
    const int request = send(id);
    QTRY_VERIFY(world().server.control("log").value(QStringLiteral("log")).toArray().size() > 0);
    QTRY_COMPARE(world().server.control("faults").value(QStringLiteral("faults")).toArray().size(),
                 0);
    world().proxy.abortRequest(request, 1030, QDBus::Block);
    QCOMPARE(world().codeOf(request), 1030);
    setOutbox(id, true); // as who asked for it does
    QTRY_COMPARE_WITH_TIMEOUT(copies(bob, QStringLiteral("Hello")), 1, 20000);
    QTRY_COMPARE(QMailStore::instance()->countMessages(QMailMessageKey::id(id)), 0);
}

void TestAsDaemonSending::anInterruptedSendingReturnsToTheOutbox()
{
    const QMailMessageId id = add(draft());
    world().endDaemon();
    setOutbox(id, false);
    QVERIFY(world().daemon.start());
    QTRY_VERIFY(isInOutbox(id));
    QTRY_VERIFY(!reasonOf(id).isEmpty());
}

void TestAsDaemonSending::aCopyOfASentMessageIsSent()
{
    const QMailMessageId first = add(draft(QStringLiteral("First")));
    QCOMPARE(sendAndWait(first), 200);
    QMailMessage copy(first);
    QVERIFY(!copy.customFields().isEmpty());
    copy.setId(QMailMessageId());
    copy.setSubject(QStringLiteral("Second"));
    QCOMPARE(sendAndWait(add(copy)), 200);
    QCOMPARE(copies(bob, QStringLiteral("Second")), 1);
}

void TestAsDaemonSending::brokenOffAnywhereItIsSentOnce_data()
{
    QTest::addColumn<bool>("memory");
    QTest::addColumn<bool>("kill");
    QTest::newRow("connection cut, server remembers") << true << false;
    QTest::newRow("connection cut, server forgets") << false << false;
    QTest::newRow("daemon killed, server remembers") << true << true;
    QTest::newRow("daemon killed, server forgets") << false << true;
}

/** How many bytes pass when one message is sent. */
qint64 TestAsDaemonSending::bytesOfOneSending(CuttingProxy *proxy)
{
    proxy->heal();
    if (sendAndWait(add(draft())) != 200)
        return 0;
    return proxy->passed();
}

/** 50 points for each row, 100 for a cut connection and 100 for a killed daemon. */
void TestAsDaemonSending::brokenOffAnywhereItIsSentOnce()
{
    QFETCH(bool, memory);
    QFETCH(bool, kill);
    constexpr int Points = 50;
    setOption("client_id_memory", memory);
    CuttingProxy proxy(world().server.port());
    StoreFixture::Account settings = world().settings();
    settings.port = proxy.port();
    world().changeSettings(world().account, settings);
    const qint64 total = bytesOfOneSending(&proxy);
    QVERIFY(total > 0);
    const quint32 seed = QRandomGenerator::global()->generate();
    qInfo("seed %u, %lld bytes", seed, total);
    QRandomGenerator random(seed);
    for (int i = 0; i < Points; ++i) {
        const qint64 point = 1 + total * i / Points + random.bounded(int(total / Points) + 1);
        sendAndBreakOff(&proxy, kill, point, QStringLiteral("Point %1").arg(i));
        if (QTest::currentTestFailed()) {
            qWarning("at byte %lld", point);
            return;
        }
    }
}

void TestAsDaemonSending::sendAndBreakOff(CuttingProxy *proxy, bool kill, qint64 point,
                                          const QString &subject)
{
    const QMailMessageId id = add(draft(subject));
    const auto messageKey = QMailMessageKey::id(id);
    bool isKilled = false;
    proxy->cutAfter(point, [&] {
        isKilled = kill;
        if (kill)
            world().daemon.kill();
    });
    world().listener.clear();
    const int request = send(id);
    QVERIFY(request > 0);
    QTRY_VERIFY_WITH_TIMEOUT(isKilled || world().listener.codeOf(request) != 0, 30000);
    proxy->heal();
    if (isKilled) {
        QVERIFY(world().daemon.start());
        QTRY_VERIFY(isInOutbox(id) || QMailStore::instance()->countMessages(messageKey) == 0);
    } else if (world().listener.codeOf(request) != 200) {
        QVERIFY(world().daemon.log().contains(
            QStringLiteral("message %1 is not sent").arg(id.toULongLong())));
    }
    const bool isOpen = isKilled ? isInOutbox(id) : world().listener.codeOf(request) != 200;
    QVERIFY(copies(bob, subject) <= 1);
    QVERIFY(isOpen || copies(bob, subject) == 1);
    if (isOpen)
        QCOMPARE(sendAndWait(id), 200);
    QCOMPARE(copies(bob, subject), 1);
}

QTEST_GUILESS_MAIN(TestAsDaemonSending)
#include "tst_asdaemonsending.moc"
