// SPDX-License-Identifier: LGPL-2.1-or-later
#include "tests/daemon/daemonfixture.h"
#include "tests/daemon/sendingworld.h"

#include <QDateTime>
#include <QDir>
#include <QFile>
#include <QJsonArray>
#include <qmailaccount.h>
#include <qmaildisconnected.h>
#include <qmailmessage.h>
#include <qmailmessageremovalrecord.h>
#include <qmailstore.h>
#include <QTemporaryDir>
#include <QTest>

#include <algorithm>
#include <memory>

namespace {

const QString Alice = QStringLiteral("alice");
const QString Bob = QStringLiteral("bob");

/** As a message of a text and an attachment. */
QMailMessage withParts(QMailMessage message, const QString &text, const QByteArray &attached)
{
    QMailMessagePart first;
    first.setBody(SendingWorld::plainText(text));
    QMailMessageContentDisposition disposition(QMailMessageContentDisposition::Attachment);
    disposition.setFilename("plan.bin");
    message.setMultipartType(QMailMessage::MultipartMixed);
    message.appendPart(first);
    message.appendPart(QMailMessagePart::fromData(
        attached, disposition, QMailMessageContentType("application/octet-stream"),
        QMailMessageBody::Base64, QMailMessageBody::RequiresEncoding));
    return message;
}

/** Where the store has the message, or "-parts", or "-parts/1". */
QString contentFile(const QMailMessageId &id, const QString &place)
{
    return QMailMessageMetaData(id).contentIdentifier() + place;
}

} // namespace

/** What the daemon does with messages that are to be sent. */
class TestAsDaemonSending : public DaemonFixture<SendingWorld>
{
    Q_OBJECT

private slots:
    void aMessageReachesItsRecipientAndTheSentFolder_data();
    void aMessageReachesItsRecipientAndTheSentFolder();
    void bccReachesItsRecipientsAndNobodyElseLearnsOfThem();
    void whateverIsInABodyArrivesUnchanged_data();
    void whateverIsInABodyArrivesUnchanged();
    void anAttachmentFromAFileArrives();
    void whatIsEmptyArrivesEmpty_data();
    void whatIsEmptyArrivesEmpty();
    void whatIsLostHereIsNotSentWithoutIt_data();
    void whatIsLostHereIsNotSentWithoutIt();
    void twentyAtOnceAllArrive();
    void whoCannotBeSentToIsTold_data();
    void whoCannotBeSentToIsTold();
    void refusalsHaveTheirOwnCode_data();
    void refusalsHaveTheirOwnCode();
    void whatIsTooLargeIsNotSentAgainAndAgain();
    void aRefusedMessageBlocksNoOther();
    void messageIdAndDateStayOverRetries();
    void aMessageOrAccountThatDoesNotExistIsRefused();

    void whatWasSentBeforeIsNotSentAgain_data();
    void whatWasSentBeforeIsNotSentAgain();
    void whatWasSentBeforeAndIsLostHereIsNotSentAgain();
    void aCutAfterTheServerHasItIsFoundOut_data();
    void aCutAfterTheServerHasItIsFoundOut();
    void aCutBeforeTheServerHasItIsNoDoubt();
    void aTimeoutIsNoReasonToSendItTwice_data();
    void aTimeoutIsNoReasonToSendItTwice();
    void aClockThatIsSetBackTakesNoTimeFromTheServer_data();
    void aClockThatIsSetBackTakesNoTimeFromTheServer();
    void whatCannotBeLookedForIsNotSentAgain_data();
    void whatCannotBeLookedForIsNotSentAgain();
    void whatIsTooOldToBeShownIsNotSentAgain();
    void whatIsYoungEnoughToBeShownIsSentAgain();
    void anotherMessageLikeItIsNoDoubt_data();
    void anotherMessageLikeItIsNoDoubt();
    void anEarlierMessageLikeItIsADoubt_data();
    void anEarlierMessageLikeItIsADoubt();
    void whatWasHereBeforeItIsNotTheMessage();
    void anotherMessageOfTheSameIdIsNotTheMessage_data();
    void anotherMessageOfTheSameIdIsNotTheMessage();
    void whatWasSentJustBeforeIsNotTheCorrectedMessage_data();
    void whatWasSentJustBeforeIsNotTheCorrectedMessage();
    void aDoubtIsOverOnceTheServerShowsTheMessage();
    void theServersCopyComesByItself();
    void anEditedMessageGoesAsItIsNow();
    void askedForTwiceItIsSentOnce();
    void memoryDoesNotGrowWithTheMessage();
    void withoutAConnectionTheMessageStaysInTheOutbox();
    void abortedBeforeTheFirstByteItStays();
    void abortedAfterItIsLetFinish();
    void anInterruptedSendingReturnsToTheOutbox();
    void whatWasSentButNotToldIsTakenOut();
    void whatWasMarkedAsSentButNotRemovedIsTakenOut();
    void whatIsKnownToBeSentIsNotSentAgain();
    void aGivenUpMessageThatWasSentLeavesTheOutbox_data();
    void aGivenUpMessageThatWasSentLeavesTheOutbox();
    void aGivenUpMessageThatWasNotSentStays();
    void aGivenUpMessageIsLookedForAgainWhereTheClockWasSetBack();
    void aMessageThatIsTriedAgainIsNotLookedFor();
    void whatWasRefusedButNotToldReturnsWithItsReason();
    void theReasonGoesWhenItIsSent();
    void whatNobodySentIsLeftAlone();
    void whatNobodyPursuesReturnsWithASynchronisationThatJoinsARunningOne();
    void whatItsAuthorHasPutAwayIsNotSent();
    void whatLiesInAFolderMadeHereIsSentWhereItIsAskedFor();
    void whatLiesInAnOutboxMadeHereIsSent();
    void aCopyOfASentMessageIsSent();

private:
    /** A folder of the account that the server does not know. */
    QMailFolderId addLocalFolder(const QString &name);
    QMailMessageId sendOldToNowhere(int keepDays);
    /** One with the Message-ID <own@example.test>, which left tomorrow as the clock has it now. */
    QMailMessageId sendTomorrowToNowhere();
    /** The server puts it into its folder of sent ones. */
    void fileOwn();
    bool begin() override
    {
        world().daemon.hurry();
        return world().begin();
    }
    /** As the message server does with a message that it has tried to send often enough. */
    void giveUp(const QMailMessageId &id)
    {
        world().setOutbox(id, true);
        SendingWorld::setField(id, "dontSend", QStringLiteral("true"));
    }
};

void TestAsDaemonSending::aMessageReachesItsRecipientAndTheSentFolder_data()
{
    QTest::addColumn<QString>("version");
    for (const char *version : {"12.1", "14.0", "14.1"})
        QTest::newRow(version) << QString::fromLatin1(version);
}

void TestAsDaemonSending::aMessageReachesItsRecipientAndTheSentFolder()
{
    QFETCH(QString, version);
    world().setOption("versions", QJsonArray {version});
    QCOMPARE(world().sendAndWait(world().add(world().draft())), 200);
    QCOMPARE(world().copies(Bob, QStringLiteral("Hello")), 1);
    QCOMPARE(world().copies(Alice, QStringLiteral("Hello"), QStringLiteral("Sent")), 1);
    const QMailMessage message = world().sentMessage();
    QCOMPARE(message.from().address(), QStringLiteral("alice@example.test"));
    QCOMPARE(message.to().first().address(), QStringLiteral("bob@example.test"));
    QCOMPARE(message.body().data(), QStringLiteral("Hello.\n"));
    QVERIFY(message.headerFieldText(QStringLiteral("Message-ID")).contains(QLatin1Char('@')));
    QVERIFY(!message.headerFieldText(QStringLiteral("Date")).isEmpty());
}

void TestAsDaemonSending::bccReachesItsRecipientsAndNobodyElseLearnsOfThem()
{
    QMailMessage message = world().draft();
    message.setBcc({QMailAddress(QStringLiteral("Jörg"), QStringLiteral("alice@example.test"))});
    QCOMPARE(world().sendAndWait(world().add(message)), 200);
    QCOMPARE(world().copies(Bob, QStringLiteral("Hello")), 1);
    QCOMPARE(world().copies(Alice, QStringLiteral("Hello")), 1);
    QCOMPARE(world().sentMessage().bcc().value(0).address(), QStringLiteral("alice@example.test"));
    QCOMPARE(world().sentMessage().bcc().value(0).name(), QStringLiteral("Jörg"));
    const QString id = world()
                           .server.messages(Bob, QStringLiteral("Inbox"))
                           .first()
                           .value(QStringLiteral("id"))
                           .toString();
    const QByteArray received = QByteArray::fromBase64(
        world()
            .server.control("message", {{QStringLiteral("user"), Bob}, {QStringLiteral("id"), id}})
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
        QTest::newRow((name + " Chinese").constData())
            << int(encoding) << QByteArray("GB18030") << QByteArray("\xc4\xe3\xba\xc3\r\n");
        QTest::newRow((name + " long line").constData())
            << int(encoding) << QByteArray("UTF-8") << line + odd;
    }
}

void TestAsDaemonSending::whateverIsInABodyArrivesUnchanged()
{
    QFETCH(int, encoding);
    QFETCH(QByteArray, charset);
    QFETCH(QByteArray, text);
    QMailMessage message = world().draft();
    const bool isPlain = encoding == QMailMessageBody::SevenBit
        || encoding == QMailMessageBody::EightBit || encoding == QMailMessageBody::Binary;
    message.setBody(QMailMessageBody::fromData(
        text, QMailMessageContentType("text/plain; charset=" + charset),
        QMailMessageBody::TransferEncoding(encoding),
        isPlain ? QMailMessageBody::AlreadyEncoded : QMailMessageBody::RequiresEncoding));
    QCOMPARE(world().sendAndWait(world().add(message)), 200);
    const QByteArray mime = QByteArray::fromBase64(
        world().sent().first().toObject().value(QStringLiteral("mime")).toString().toLatin1());
    for (const QByteArray &line : mime.split('\n'))
        QVERIFY2(line.size() <= 999, line.left(60).constData());
    QCOMPARE(mime.count('\n'), mime.count("\r\n"));
    for (const char sign : mime)
        QVERIFY(sign > 0);
    // The mail store's own reader makes LF of CR LF.
    QByteArray arrived = world().sentMessage().body().data(QMailMessageBody::Decoded);
    QCOMPARE(arrived.replace("\r\n", "\n"), QByteArray(text).replace("\r\n", "\n"));
    QCOMPARE(world().sentMessage().contentType().charset().toLower(), charset.toLower());
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
    QMailMessage message = world().draft();
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
    QCOMPARE(world().sendAndWait(world().add(message)), 200);
    const QMailMessage arrived = world().sentMessage();
    QCOMPARE(arrived.partCount(), 2u);
    QCOMPARE(arrived.partAt(0).body().data(), QStringLiteral("See ä"));
    QCOMPARE(arrived.partAt(1).body().data(QMailMessageBody::Decoded), content);
    QCOMPARE(arrived.partAt(1).displayName(), QStringLiteral("picture.bin"));
}

void TestAsDaemonSending::whatIsEmptyArrivesEmpty_data()
{
    QTest::addColumn<QString>("text");
    QTest::addColumn<QByteArray>("attached");
    QTest::newRow("text") << QString() << QByteArray("plan");
    QTest::newRow("attachment") << QStringLiteral("Hello.\n") << QByteArray();
    QTest::newRow("both") << QString() << QByteArray();
}

void TestAsDaemonSending::whatIsEmptyArrivesEmpty()
{
    QFETCH(QString, text);
    QFETCH(QByteArray, attached);
    QCOMPARE(world().sendAndWait(world().add(withParts(world().draft(), text, attached))), 200);
    const QMailMessage arrived = world().sentMessage();
    QCOMPARE(arrived.partCount(), 2u);
    QCOMPARE(arrived.partAt(0).body().data(), text);
    QCOMPARE(arrived.partAt(1).body().data(QMailMessageBody::Decoded), attached);
    // The same without parts.
    QMailMessage plain = world().draft();
    plain.setBody(SendingWorld::plainText(text));
    QCOMPARE(world().sendAndWait(world().add(plain)), 200);
    QCOMPARE(world().sentMessage(1).body().data(), text);
}

void TestAsDaemonSending::whatIsLostHereIsNotSentWithoutIt_data()
{
    QTest::addColumn<QString>("place");
    QTest::addColumn<bool>("isThere");
    QTest::newRow("an empty text") << QStringLiteral("-parts/1") << true;
    QTest::newRow("an empty attachment") << QStringLiteral("-parts/2") << true;
    QTest::newRow("an empty message") << QString() << true;
    QTest::newRow("no message") << QString() << false;
    QTest::newRow("no parts") << QStringLiteral("-parts") << false;
}

/** As on a full disk, or after a power cut. */
void TestAsDaemonSending::whatIsLostHereIsNotSentWithoutIt()
{
    QFETCH(QString, place);
    QFETCH(bool, isThere);
    const QMailMessage whole = withParts(world().draft(), QStringLiteral("Hello.\n"), "plan");
    const QMailMessageId id = world().add(whole);
    const QString path = contentFile(id, place);
    QVERIFY(isThere                       ? QFile::resize(path, 0)
                : QFileInfo(path).isDir() ? QDir(path).removeRecursively()
                                          : QFile::remove(path));
    QCOMPARE(world().sendAndWait(id), 404);
    QCOMPARE(world().server.requestCount("SendMail"), 0);
    QVERIFY(StoreFixture::exists(id));
    QTRY_VERIFY(SendingWorld::reasonOf(id).contains(QLatin1String("lost")));
    // Its author writes it once more.
    QMailMessage again = whole;
    again.setId(id);
    again.setContentScheme(QMailMessageMetaData(id).contentScheme());
    again.setContentIdentifier(contentFile(id, QString()));
    QVERIFY(QMailStore::instance()->updateMessage(&again));
    QCOMPARE(world().sendAndWait(id), 200);
    QCOMPARE(world().sentMessage().partAt(0).body().data(), QStringLiteral("Hello.\n"));
    QCOMPARE(world().copies(Bob, QStringLiteral("Hello")), 1);
}

void TestAsDaemonSending::twentyAtOnceAllArrive()
{
    QList<int> requests;
    for (int i = 0; i < 20; ++i)
        requests.append(world().send(world().add(world().draft(QStringLiteral("Mail %1").arg(i)))));
    for (int request : requests)
        QCOMPARE(world().codeOf(request, 60000), 200);
    for (int i = 0; i < 20; ++i)
        QCOMPARE(world().copies(Bob, QStringLiteral("Mail %1").arg(i)), 1);
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
    QMailMessage message = world().draft();
    message.setTo(QMailAddressList());
    if (!address.isEmpty())
        message.setTo(QMailAddress(address));
    const QMailMessageId id = world().add(message);
    QCOMPARE(world().sendAndWait(id), 404);
    QCOMPARE(world().server.requestCount("SendMail"), asked);
    QVERIFY(world().daemon.log().contains(QLatin1String("is not sent: 404")));
    QTRY_VERIFY(SendingWorld::reasonOf(id).contains(QLatin1String("recipient")));
}

void TestAsDaemonSending::refusalsHaveTheirOwnCode_data()
{
    QTest::addColumn<QJsonObject>("fault");
    QTest::addColumn<int>("code");
    QTest::addColumn<QString>("text");
    const auto status = [](int status) {
        return SendingWorld::sendFault("status", {{QStringLiteral("status"), status}});
    };
    const auto http = [](int status) {
        return SendingWorld::sendFault("http", {{QStringLiteral("status"), status}});
    };
    QTest::newRow("mailbox full") << status(113) << 507 << QStringLiteral("mailbox is full");
    QTest::newRow("quota") << status(115) << 507 << QStringLiteral("quota");
    QTest::newRow("recipient") << status(116) << 404 << QStringLiteral("recipient");
    QTest::newRow("no recipient") << status(119) << 404 << QStringLiteral("no recipient");
    QTest::newRow("denied") << status(112) << 403 << QStringLiteral("denied");
    QTest::newRow("not allowed") << status(167) << 403 << QStringLiteral("not allowed");
    QTest::newRow("forbidden") << http(403) << 403 << QStringLiteral("403");
}

void TestAsDaemonSending::refusalsHaveTheirOwnCode()
{
    QFETCH(QJsonObject, fault);
    QFETCH(int, code);
    QFETCH(QString, text);
    world().server.fault(fault);
    const QMailMessageId id = world().add(world().draft());
    QCOMPARE(world().sendAndWait(id), code);
    // This process learns of what the daemon wrote a moment later.
    QTRY_VERIFY(SendingWorld::reasonOf(id).contains(text));
    QVERIFY(world().daemon.log().contains(SendingWorld::reasonOf(id)));
    world().setOutbox(id, true);
    QCOMPARE(world().sendAndWait(id), 200);
    QCOMPARE(world().copies(Bob, QStringLiteral("Hello")), 1);
}

void TestAsDaemonSending::whatIsTooLargeIsNotSentAgainAndAgain()
{
    QMailMessage message = world().draft(QStringLiteral("Large"));
    message.setBody(
        QMailMessageBody::fromData(QByteArray(50000, 'x'), QMailMessageContentType("text/plain"),
                                   QMailMessageBody::Base64, QMailMessageBody::RequiresEncoding));
    const QMailMessageId id = world().add(message);
    world().server.fault(SendingWorld::sendFault("http", {{QStringLiteral("status"), 413}}));
    for (int i = 0; i < 3; ++i)
        QCOMPARE(world().sendAndWait(id), 507);
    QCOMPARE(world().server.requestCount("SendMail"), 1);
    QTRY_VERIFY(SendingWorld::reasonOf(id).contains(QLatin1String("too large")));
    QCOMPARE(world().sendAndWait(world().add(world().draft())), 200);
    // Another run of the daemon asks the server again.
    QCOMPARE(world().endDaemon(), 0);
    QVERIFY(world().daemon.start());
    QCOMPARE(world().sendAndWait(id), 200);
    QCOMPARE(world().copies(Bob, QStringLiteral("Large")), 1);
}

void TestAsDaemonSending::aRefusedMessageBlocksNoOther()
{
    QMailMessage bad = world().draft(QStringLiteral("Bad"));
    bad.setTo(QMailAddress(QStringLiteral("nobody@example.test")));
    const int first = world().send(world().add(bad));
    const int second = world().send(world().add(world().draft(QStringLiteral("Good"))));
    QCOMPARE(world().codeOf(first), 404);
    QCOMPARE(world().codeOf(second), 200);
    QCOMPARE(world().copies(Bob, QStringLiteral("Good")), 1);
}

void TestAsDaemonSending::messageIdAndDateStayOverRetries()
{
    world().setOption("client_id_memory", false);
    QMailMessage message = world().draft();
    message.setDate(QMailTimeStamp());
    const QMailMessageId id = world().add(message);
    world().server.fault(SendingWorld::sendFault("status", {{QStringLiteral("status"), 113}}));
    QCOMPARE(world().sendAndWait(id), 507);
    QCOMPARE(world().sendAndWait(id), 200);
    const QList<QJsonObject> requests = world().server.requests("SendMail");
    QCOMPARE(requests.size(), 2);
    QCOMPARE(requests.at(0).value(QStringLiteral("request")),
             requests.at(1).value(QStringLiteral("request")));
}

void TestAsDaemonSending::aMessageOrAccountThatDoesNotExistIsRefused()
{
    const quint64 account = world().account.toULongLong();
    const quint64 message = world().add(world().draft()).toULongLong();
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
    world().setOption("client_id_memory", memory);
    const QMailMessageId id = world().add(world().draft());
    world().server.fault(SendingWorld::sendFault(
        "delay", {{QStringLiteral("late"), true}, {QStringLiteral("seconds"), 30}}));
    world().send(id);
    QTRY_COMPARE_WITH_TIMEOUT(world().copies(Bob, QStringLiteral("Hello")), 1, 20000);
    world().daemon.kill();
    QVERIFY(!world().isInOutbox(id));
    QVERIFY(world().daemon.start());
    QTRY_VERIFY(world().isInOutbox(id));
    QCOMPARE(world().sendAndWait(id), 200);
    QCOMPARE(world().copies(Bob, QStringLiteral("Hello")), 1);
    QCOMPARE(world().copies(Alice, QStringLiteral("Hello"), QStringLiteral("Sent")), 1);
}

/** The power fails after the server has it, and takes the file of its text along. */
void TestAsDaemonSending::whatWasSentBeforeAndIsLostHereIsNotSentAgain()
{
    world().setOption("client_id_memory", false);
    const QMailMessageId id =
        world().add(withParts(world().draft(), QStringLiteral("Hello.\n"), "plan"));
    world().server.fault(SendingWorld::sendFault(
        "delay", {{QStringLiteral("late"), true}, {QStringLiteral("seconds"), 30}}));
    world().send(id);
    QTRY_COMPARE_WITH_TIMEOUT(world().copies(Bob, QStringLiteral("Hello")), 1, 20000);
    world().daemon.kill();
    QVERIFY(QFile::resize(contentFile(id, QStringLiteral("-parts/1")), 0));
    QVERIFY(world().daemon.start());
    QTRY_VERIFY(world().isInOutbox(id));
    QCOMPARE(world().sendAndWait(id), 200);
    QCOMPARE(world().copies(Bob, QStringLiteral("Hello")), 1);
}

void TestAsDaemonSending::aCutAfterTheServerHasItIsFoundOut_data()
{
    whatWasSentBeforeIsNotSentAgain_data();
}

void TestAsDaemonSending::aCutAfterTheServerHasItIsFoundOut()
{
    QFETCH(bool, memory);
    world().setOption("client_id_memory", memory);
    world().server.fault(SendingWorld::sendFault("reset", {{QStringLiteral("late"), true}}));
    QCOMPARE(world().sendAndWait(world().add(world().draft())), 200);
    QCOMPARE(world().copies(Bob, QStringLiteral("Hello")), 1);
}

void TestAsDaemonSending::aCutBeforeTheServerHasItIsNoDoubt()
{
    QVERIFY(world().startAnew(4)); // for a server that may still be at it
    world().setOption("client_id_memory", false);
    world().server.fault(SendingWorld::sendFault("reset"));
    const QMailMessageId id = world().add(world().draft());
    QCOMPARE(world().sendAndWait(id), 902);
    QCOMPARE(world().copies(Bob, QStringLiteral("Hello")), 0);
    QCOMPARE(world().sendAndWait(id), 200);
    QCOMPARE(world().copies(Bob, QStringLiteral("Hello")), 1);
}

void TestAsDaemonSending::aTimeoutIsNoReasonToSendItTwice_data()
{
    QTest::addColumn<bool>("memory");
    QTest::addColumn<bool>("late");
    QTest::newRow("server remembers") << true << true;
    QTest::newRow("server forgets") << false << true;
    QTest::newRow("server forgets, and is at it still") << false << false;
}

void TestAsDaemonSending::aTimeoutIsNoReasonToSendItTwice()
{
    QFETCH(bool, memory);
    QFETCH(bool, late);
    QVERIFY(world().startAnew(2));
    world().setOption("client_id_memory", memory);
    world().server.fault(SendingWorld::sendFault(
        "delay", {{QStringLiteral("late"), late}, {QStringLiteral("seconds"), 3}}));
    const QMailMessageId id = world().add(world().draft());
    QCOMPARE(world().sendAndWait(id), 901);
    QTRY_VERIFY(!SendingWorld::reasonOf(id).isEmpty());
    QTRY_COMPARE(world().copies(Bob, QStringLiteral("Hello")), 1);
    QCOMPARE(world().sendAndWait(id), 200);
    QCOMPARE(world().copies(Bob, QStringLiteral("Hello")), 1);
}

QMailMessageId TestAsDaemonSending::sendTomorrowToNowhere()
{
    QMailMessage message = world().draft();
    message.setHeaderField(QStringLiteral("Message-ID"), QStringLiteral("<own@example.test>"));
    world().server.fault(SendingWorld::sendFault("reset"));
    const QMailMessageId id = world().add(message);
    const int code = world().sendAndWait(id);
    if (code != 902)
        qFatal("the sending ended with %d", code);
    SendingWorld::setLeftAt(QDateTime::currentDateTimeUtc().addDays(1).toMSecsSinceEpoch());
    return id;
}

void TestAsDaemonSending::fileOwn()
{
    world().server.deliver(Alice, QStringLiteral("Sent"),
                           "From: alice@example.test\r\nTo: bob@example.test\r\nSubject: Hello\r\n"
                           "Message-ID: <own@example.test>\r\n\r\nHello.\r\n");
}

void TestAsDaemonSending::aClockThatIsSetBackTakesNoTimeFromTheServer_data()
{
    QTest::addColumn<bool>("arrives");
    QTest::newRow("the server has it a moment later") << true;
    QTest::newRow("the server does not have it") << false;
}

void TestAsDaemonSending::aClockThatIsSetBackTakesNoTimeFromTheServer()
{
    QFETCH(bool, arrives);
    QVERIFY(world().startAnew(4)); // for a server that may still be at it
    world().setOption("client_id_memory", false);
    QCOMPARE(world().syncAndWait(), 200);
    const QMailMessageId id = sendTomorrowToNowhere();
    world().server.clearLog();
    world().server.fault("delay", "Sync", {{"late", true}, {"seconds", 20}});
    const int request = world().send(id);
    QTRY_VERIFY(world().hasDone("Sync"));
    if (arrives)
        fileOwn();
    world().server.endDelays();
    QCOMPARE(world().codeOf(request), 200);
    QCOMPARE(world().server.requestCount("SendMail"), arrives ? 0 : 1);
    QCOMPARE(world().copies(Alice, QStringLiteral("Hello"), QStringLiteral("Sent")), 1);
}

/** Written two days ago, and cut off now, where mail is kept for so many days. */
QMailMessageId TestAsDaemonSending::sendOldToNowhere(int keepDays)
{
    world().keepDays(keepDays);
    QMailMessage message = world().draft();
    message.setDate(QMailTimeStamp(QDateTime::currentDateTimeUtc().addDays(-2)));
    world().server.fault(SendingWorld::sendFault("reset"));
    const QMailMessageId id = world().add(message);
    const int code = world().sendAndWait(id);
    if (code != 902)
        qFatal("the sending ended with %d", code);
    return id;
}

void TestAsDaemonSending::whatCannotBeLookedForIsNotSentAgain_data()
{
    QTest::addColumn<QJsonObject>("fault");
    QTest::addColumn<bool>("headless");
    const auto always = [](const char *kind, const QString &command, QJsonObject more) {
        more.insert(QStringLiteral("command"), command);
        more.insert(QStringLiteral("count"), -1);
        return SendingWorld::sendFault(kind, more);
    };
    const QString fetch = QStringLiteral("ItemOperations");
    QTest::newRow("the request is refused")
        << always("status", fetch, {{QStringLiteral("status"), 2}}) << false;
    QTest::newRow("the item is gone")
        << always("status", fetch, {{QStringLiteral("status"), 6}}) << false;
    QTest::newRow("half an answer")
        << always("damage", fetch, {{QStringLiteral("how"), QStringLiteral("truncated")}}) << false;
    QTest::newRow("a page in HTML") << always("rubbish", fetch, {}) << false;
    QTest::newRow("the folder is half an answer") << always(
        "damage", QStringLiteral("Sync"), {{QStringLiteral("how"), QStringLiteral("truncated")}})
                                                  << false;
    QTest::newRow("messages without a head") << QJsonObject() << true;
}

/** Nobody knows whether it was sent; so only a person has it sent again. */
void TestAsDaemonSending::whatCannotBeLookedForIsNotSentAgain()
{
    QFETCH(QJsonObject, fault);
    QFETCH(bool, headless);
    QVERIFY(world().startAnew(4)); // for a server that may still be at it
    world().setOption("client_id_memory", false);
    world().setOption("no_mime", headless);
    QCOMPARE(world().syncAndWait(), 200);
    world().server.fault(SendingWorld::sendFault("reset", {{QStringLiteral("late"), true}}));
    if (!fault.isEmpty())
        world().server.fault(fault);
    const QMailMessageId id = world().add(world().draft());
    QCOMPARE(world().sendAndWait(id), 902);
    QTRY_VERIFY(SendingWorld::reasonOf(id).contains(QLatin1String("not known whether")));
    QTRY_COMPARE(SendingWorld::fieldOf(id, "dontSend"), QStringLiteral("true"));
    // The message server's own count of failures gets over it, and it tries again.
    for (const char *count : {"1", "2", "3"}) {
        world().setOutbox(id, true);
        SendingWorld::setField(id, "dontSend", QString::fromLatin1(count));
        QCOMPARE(world().sendAndWait(id), 901);
        QTRY_COMPARE(SendingWorld::fieldOf(id, "dontSend"), QStringLiteral("true"));
    }
    QCOMPARE(world().server.requestCount("SendMail"), 1);
    QCOMPARE(world().copies(Bob, QStringLiteral("Hello")), 1);
    QVERIFY(SendingWorld::reasonOf(id).contains(QLatin1String("not known whether")));
    QCOMPARE(world().sendAndWait(id), 200);
    QCOMPARE(world().copies(Bob, QStringLiteral("Hello")), 2);
}

/** The server shows the mail of one day: that this one is not there says nothing. */
void TestAsDaemonSending::whatIsTooOldToBeShownIsNotSentAgain()
{
    const QMailMessageId id = sendOldToNowhere(1);
    QTRY_COMPARE(SendingWorld::fieldOf(id, "dontSend"), QStringLiteral("true"));
    QVERIFY(SendingWorld::reasonOf(id).contains(QLatin1String("not known whether")));
    world().setOutbox(id, true);
    SendingWorld::setField(id, "dontSend", QStringLiteral("1"));
    QCOMPARE(world().sendAndWait(id), 901);
    QCOMPARE(world().server.requestCount("SendMail"), 1);
}

void TestAsDaemonSending::whatIsYoungEnoughToBeShownIsSentAgain()
{
    QVERIFY(world().startAnew(4)); // for a server that may still be at it
    const QMailMessageId id = sendOldToNowhere(14);
    QCOMPARE(world().sendAndWait(id), 200);
    QCOMPARE(world().server.requestCount("SendMail"), 2);
    QCOMPARE(world().copies(Bob, QStringLiteral("Hello")), 1);
}

void TestAsDaemonSending::anotherMessageLikeItIsNoDoubt_data()
{
    QTest::addColumn<QByteArray>("other");
    const QByteArray head = "From: alice@example.test\r\nSubject: Hello\r\n";
    QTest::newRow("to somebody else")
        << head + "To: carol@elsewhere.test\r\nMessage-ID: <a@other.test>\r\n\r\nHello.\r\n";
    QTest::newRow("this program's own") << head
            + "To: bob@example.test\r\n"
              "Message-ID: <00112233445566778899aabbccddeeff@example.com>\r\n\r\nHello.\r\n";
}

void TestAsDaemonSending::anotherMessageLikeItIsNoDoubt()
{
    QFETCH(QByteArray, other);
    QVERIFY(world().startAnew(2)); // for a server that may still be at it
    world().server.deliver(Alice, QStringLiteral("Sent"), other);
    world().server.fault(SendingWorld::sendFault("reset"));
    const QMailMessageId id = world().add(world().draft());
    QCOMPARE(world().sendAndWait(id), 902);
    QCOMPARE(world().sendAndWait(id), 200);
    QCOMPARE(world().copies(Bob, QStringLiteral("Hello")), 1);
}

void TestAsDaemonSending::anEarlierMessageLikeItIsADoubt_data()
{
    QTest::addColumn<bool>("headless");
    QTest::newRow("to the same people") << false;
    QTest::newRow("without a head") << true;
}

/** This device's clock may be ahead, and the server may write a Message-ID of its own. */
void TestAsDaemonSending::anEarlierMessageLikeItIsADoubt()
{
    QFETCH(bool, headless);
    QVERIFY(world().startAnew(2)); // for a server that may still be at it
    world().setOption("no_mime", headless);
    const qint64 anHourAgo = QDateTime::currentSecsSinceEpoch() - 3600;
    world().server.deliver(Alice, QStringLiteral("Sent"),
                           "From: alice@example.test\r\nTo: bob@example.test\r\nSubject: Hello\r\n"
                           "Message-ID: <servers@other.test>\r\n\r\nHello.\r\n",
                           {{QStringLiteral("received"), anHourAgo}});
    world().server.fault(SendingWorld::sendFault("reset"));
    const QMailMessageId id = world().add(world().draft());
    QCOMPARE(world().sendAndWait(id), 902);
    QTRY_VERIFY(SendingWorld::reasonOf(id).contains(QLatin1String("not known whether")));
    QTRY_COMPARE(SendingWorld::fieldOf(id, "dontSend"), QStringLiteral("true"));
    QCOMPARE(world().server.requestCount("SendMail"), 1);
}

/** The second of two messages that are alike, but for a file perhaps or a word. */
void TestAsDaemonSending::whatWasHereBeforeItIsNotTheMessage()
{
    world().server.deliver(Alice, QStringLiteral("Sent"),
                           "From: alice@example.test\r\nTo: bob@example.test\r\nSubject: Hello\r\n"
                           "Message-ID: <servers@other.test>\r\n\r\nHello.\r\n");
    QCOMPARE(world().syncAndWait(), 200);
    QCOMPARE(world().subjects(QStringLiteral("Sent")), QStringList {QStringLiteral("Hello")});
    world().server.fault(SendingWorld::sendFault("reset"));
    const QMailMessageId id = world().add(world().draft());
    QCOMPARE(world().sendAndWait(id), 902);
    QTRY_VERIFY(SendingWorld::reasonOf(id).contains(QLatin1String("not known whether")));
    QTRY_COMPARE(SendingWorld::fieldOf(id, "dontSend"), QStringLiteral("true"));
}

void TestAsDaemonSending::anotherMessageOfTheSameIdIsNotTheMessage_data()
{
    QTest::addColumn<bool>("isEarlier");
    QTest::newRow("that it was made of") << true;
    QTest::newRow("that was made of the same one, and sent before") << false;
}

/** The message was made of one that was sent, and has kept its Message-ID. */
void TestAsDaemonSending::anotherMessageOfTheSameIdIsNotTheMessage()
{
    QFETCH(bool, isEarlier);
    QVERIFY(world().startAnew(4)); // for a server that may still be at it
    if (isEarlier)
        fileOwn();
    QCOMPARE(world().syncAndWait(), 200);
    QMailMessage message = world().draft(QStringLiteral("Hello again"));
    message.setHeaderField(QStringLiteral("Message-ID"), QStringLiteral("<own@example.test>"));
    message.setBody(SendingWorld::plainText(QStringLiteral("Something else.\n")));
    const QMailMessageId id = world().add(message);
    if (!isEarlier)
        fileOwn();
    world().server.fault(SendingWorld::sendFault("reset"));
    QCOMPARE(world().sendAndWait(id), 902);
    QTRY_VERIFY(SendingWorld::reasonOf(id).contains(QLatin1String("not known whether")));
    QTRY_COMPARE(SendingWorld::fieldOf(id, "dontSend"), QStringLiteral("true"));
    QCOMPARE(world().server.requestCount("SendMail"), 1);
    // A person decides.
    world().setOutbox(id, true);
    QCOMPARE(world().sendAndWait(id), 200);
    QCOMPARE(world().copies(Bob, QStringLiteral("Hello again")), 1);
}

void TestAsDaemonSending::whatWasSentJustBeforeIsNotTheCorrectedMessage_data()
{
    QTest::addColumn<bool>("isKnownHere");
    QTest::addColumn<bool>("isDated");
    QTest::addColumn<int>("age");
    QTest::newRow("the correction is an older draft") << true << true << 60;
    QTest::newRow("both are sent in a row") << false << true << 60;
    QTest::newRow("the correction has kept the date") << false << true << 0;
    QTest::newRow("the server tells no date") << false << false << 0;
}

/** The server writes a Message-ID of its own, and the two differ by a word far down. */
void TestAsDaemonSending::whatWasSentJustBeforeIsNotTheCorrectedMessage()
{
    QFETCH(bool, isKnownHere);
    QFETCH(bool, isDated);
    QFETCH(int, age);
    QVERIFY(world().startAnew(4)); // for a server that may still be at it
    const QByteArray text = QByteArray("The same words again and again. ").repeated(20);
    QMailMessage message = world().draft();
    message.setBody(QMailMessageBody::fromData(QString::fromLatin1(text + "The right end.\n"),
                                               QMailMessageContentType("text/plain"),
                                               QMailMessageBody::QuotedPrintable));
    const QMailMessageId id = world().add(message);
    const QDateTime when = message.date().toUTC().addSecs(-age);
    const QByteArray date = "Date: " + when.toString(Qt::RFC2822Date).toLatin1() + "\r\n";
    world().server.deliver(Alice, QStringLiteral("Sent"),
                           "From: alice@example.test\r\nTo: bob@example.test\r\nSubject: Hello\r\n"
                           "Message-ID: <servers@other.test>\r\n"
                               + (isDated ? date : QByteArray()) + "\r\n" + text
                               + "The wrong end.\r\n");
    if (isKnownHere)
        QCOMPARE(world().syncAndWait(), 200);
    world().server.fault(SendingWorld::sendFault("reset"));
    QCOMPARE(world().sendAndWait(id), 902);
    QTRY_VERIFY(SendingWorld::reasonOf(id).contains(QLatin1String("not known whether")));
    QTRY_COMPARE(SendingWorld::fieldOf(id, "dontSend"), QStringLiteral("true"));
    QCOMPARE(world().server.requestCount("SendMail"), 1);
    // A person decides.
    world().setOutbox(id, true);
    SendingWorld::setField(id, "dontSend", QString());
    QCOMPARE(world().sendAndWait(id), 200);
    QCOMPARE(world().copies(Bob, QStringLiteral("Hello")), 1);
}

void TestAsDaemonSending::aDoubtIsOverOnceTheServerShowsTheMessage()
{
    world().setOption("client_id_memory", false);
    world().server.fault(SendingWorld::sendFault("reset", {{QStringLiteral("late"), true}}));
    world().server.fault(
        SendingWorld::sendFault("status",
                                {{QStringLiteral("command"), QStringLiteral("ItemOperations")},
                                 {QStringLiteral("status"), 2}}));
    const QMailMessageId id = world().add(world().draft());
    QCOMPARE(world().sendAndWait(id), 902);
    QTRY_COMPARE(SendingWorld::fieldOf(id, "dontSend"), QStringLiteral("true"));
    world().setOutbox(id, true);
    QCOMPARE(world().syncAndWait(), 200);
    QTRY_VERIFY(!StoreFixture::exists(id));
    QCOMPARE(world().copies(Bob, QStringLiteral("Hello")), 1);
}

/** Nobody synchronises, and nobody watches for news. */
void TestAsDaemonSending::theServersCopyComesByItself()
{
    QCOMPARE(world().syncAndWait(), 200);
    const QStringList both {QStringLiteral("First"), QStringLiteral("Second")};
    for (const QString &subject : both)
        QCOMPARE(world().sendAndWait(world().add(world().draft(subject))), 200);
    QTRY_COMPARE(world().subjects(QStringLiteral("Sent")), both);
}

void TestAsDaemonSending::anEditedMessageGoesAsItIsNow()
{
    QMailMessage message = world().draft();
    message.setTo(QMailAddress(QStringLiteral("nobody@example.test")));
    const QMailMessageId id = world().add(message);
    QCOMPARE(world().sendAndWait(id), 404);
    QMailMessage edited(id);
    edited.setTo(QMailAddress(QStringLiteral("bob@example.test")));
    edited.setSubject(QStringLiteral("Edited"));
    QVERIFY(QMailStore::instance()->updateMessage(&edited));
    QCOMPARE(world().sendAndWait(id), 200);
    QCOMPARE(world().copies(Bob, QStringLiteral("Edited")), 1);
}

void TestAsDaemonSending::askedForTwiceItIsSentOnce()
{
    world().server.fault(SendingWorld::sendFault("delay", {{QStringLiteral("seconds"), 20}}));
    world().setOption("client_id_memory", false);
    const QMailMessageId id = world().add(world().draft());
    const int first = world().send(id);
    const int second = world().send(id);
    QVERIFY(first != second);
    QVERIFY(world().faultsAreTaken());
    world().server.endDelays();
    QCOMPARE(world().codeOf(first), 200);
    QCOMPARE(world().codeOf(second), 200);
    QCOMPARE(world().copies(Bob, QStringLiteral("Hello")), 1);
}

void TestAsDaemonSending::memoryDoesNotGrowWithTheMessage()
{
#ifdef __SANITIZE_ADDRESS__
    QSKIP("a sanitizer keeps memory that was given back");
#endif
    constexpr int Size = 40 * 1024 * 1024;
    QCOMPARE(world().sendAndWait(world().add(world().draft())), 200);
    QMailMessage message = world().draft(QStringLiteral("Large"));
    message.setMultipartType(QMailMessage::MultipartMixed);
    message.appendPart(QMailMessagePart::fromData(
        QByteArray(Size, 'x'),
        QMailMessageContentDisposition(QMailMessageContentDisposition::Attachment),
        QMailMessageContentType("application/octet-stream"), QMailMessageBody::Base64,
        QMailMessageBody::RequiresEncoding));
    const QMailMessageId id = world().add(message);
    const qint64 before = world().daemon.ownMemory();
    qint64 peak = 0;
    const int request = world().send(id);
    QVERIFY(QTest::qWaitFor(
        [&] {
            peak = qMax(peak, world().daemon.ownMemory());
            return world().listener.codeOf(request) != 0;
        },
        60000));
    QCOMPARE(world().listener.codeOf(request), 200);
    QVERIFY(world().sent().last()[QStringLiteral("size")].toInt() > Size);
    QVERIFY2(peak - before < 4 * 1024, qPrintable(QString::number(peak - before)));
}

void TestAsDaemonSending::withoutAConnectionTheMessageStaysInTheOutbox()
{
    world().server.control("network", {{QStringLiteral("up"), false}});
    const QMailMessageId id = world().add(world().draft());
    QCOMPARE(world().sendAndWait(id), 902);
    world().server.control("network", {{QStringLiteral("up"), true}});
    world().server.clearLog();
    QCOMPARE(world().sendAndWait(id), 200);
    // It is not looked for: it never left.
    const QJsonArray log = world().server.log();
    const auto isOfIt = [](const QJsonValue &entry) {
        const QString command = entry[QStringLiteral("command")].toString();
        return command == QLatin1String("Sync") || command == QLatin1String("SendMail");
    };
    const auto first = std::find_if(log.begin(), log.end(), isOfIt);
    QVERIFY(first != log.end());
    QCOMPARE((*first)[QStringLiteral("command")].toString(), QStringLiteral("SendMail"));
    QCOMPARE(world().copies(Bob, QStringLiteral("Hello")), 1);
}

void TestAsDaemonSending::abortedBeforeTheFirstByteItStays()
{
    world().server.fault(SendingWorld::sendFault("delay", {{QStringLiteral("seconds"), 20}}));
    const int first = world().send(world().add(world().draft(QStringLiteral("First"))));
    QVERIFY(world().faultsAreTaken());
    const QMailMessageId id = world().add(world().draft());
    const int second = world().send(id);
    world().proxy.abortRequest(second, 1030, QDBus::Block);
    QCOMPARE(world().codeOf(second), 1030);
    world().server.endDelays();
    QCOMPARE(world().codeOf(first), 200);
    QCOMPARE(world().sendAndWait(world().add(world().draft(QStringLiteral("Third")))), 200);
    QCOMPARE(world().copies(Bob, QStringLiteral("Hello")), 0);
    QVERIFY(QMailMessage(id).id().isValid());
}

void TestAsDaemonSending::abortedAfterItIsLetFinish()
{
    world().server.fault(SendingWorld::sendFault("delay", {{QStringLiteral("seconds"), 20}}));
    const QMailMessageId id = world().add(world().draft());
    const int request = world().send(id);
    QVERIFY(world().faultsAreTaken());
    world().proxy.abortRequest(request, 1030, QDBus::Block);
    QCOMPARE(world().codeOf(request), 1030);
    world().setOutbox(id, true); // as who asked for it does
    world().server.endDelays();
    QTRY_COMPARE_WITH_TIMEOUT(world().copies(Bob, QStringLiteral("Hello")), 1, 20000);
    QTRY_VERIFY(!StoreFixture::exists(id));
}

void TestAsDaemonSending::anInterruptedSendingReturnsToTheOutbox()
{
    const QMailMessageId id = world().add(world().draft());
    world().endDaemon();
    world().setOutbox(id, false);
    QVERIFY(world().daemon.start());
    QTRY_VERIFY(world().isInOutbox(id));
    QTRY_VERIFY(!SendingWorld::reasonOf(id).isEmpty());
}

/** The daemon dies between the server's answer and its own broadcast. */
void TestAsDaemonSending::whatWasSentButNotToldIsTakenOut()
{
    const QMailMessageId id = world().add(world().draft());
    QCOMPARE(world().sendAndWait(id), 200);
    world().daemon.kill();
    QVERIFY(world().daemon.start());
    QTRY_VERIFY(!StoreFixture::exists(id));
    QCOMPARE(QMailStore::instance()->messageRemovalRecords(world().account).size(), 0);
    QCOMPARE(world().copies(Bob, QStringLiteral("Hello")), 1);
}

/** The message server dies over it. */
void TestAsDaemonSending::whatWasMarkedAsSentButNotRemovedIsTakenOut()
{
    const QMailMessageId id = world().add(world().draft());
    QCOMPARE(world().sendAndWait(id), 200);
    world().setOutbox(id, false);
    QVERIFY(QMailStore::instance()->updateMessagesMetaData(QMailMessageKey::id(id),
                                                           QMailMessage::Sent, true));
    QCOMPARE(world().syncAndWait(), 200);
    QTRY_VERIFY(!StoreFixture::exists(id));
    QCOMPARE(QMailStore::instance()->messageRemovalRecords(world().account).size(), 0);
    QCOMPARE(world().copies(Bob, QStringLiteral("Hello")), 1);
}

void TestAsDaemonSending::whatIsKnownToBeSentIsNotSentAgain()
{
    const QMailMessageId id = world().add(world().draft());
    QCOMPARE(world().sendAndWait(id), 200);
    world().setOutbox(id, true);
    world().daemon.kill();
    QVERIFY(world().daemon.start());
    world().server.clearLog();
    QCOMPARE(world().sendAndWait(id), 200);
    QCOMPARE(world().server.requestCount("SendMail"), 0);
    QCOMPARE(world().copies(Bob, QStringLiteral("Hello")), 1);
}

void TestAsDaemonSending::aGivenUpMessageThatWasSentLeavesTheOutbox_data()
{
    QTest::addColumn<bool>("known");
    QTest::newRow("the daemon has heard of it") << true;
    QTest::newRow("the daemon has not") << false;
}

void TestAsDaemonSending::aGivenUpMessageThatWasSentLeavesTheOutbox()
{
    QFETCH(bool, known);
    QVERIFY(world().startAnew(2));
    if (!known)
        world().server.fault(SendingWorld::sendFault(
            "delay", {{QStringLiteral("late"), true}, {QStringLiteral("seconds"), 3}}));
    const QMailMessageId id = world().add(world().draft());
    QCOMPARE(world().sendAndWait(id), known ? 200 : 901);
    QCOMPARE(SendingWorld::reasonOf(id).isEmpty(), known);
    giveUp(id);
    QCOMPARE(world().syncAndWait(), 200);
    QTRY_VERIFY(!StoreFixture::exists(id));
    QCOMPARE(QMailStore::instance()->messageRemovalRecords(world().account).size(), 0);
    QCOMPARE(world().server.requestCount("SendMail"), 1);
    QCOMPARE(world().copies(Bob, QStringLiteral("Hello")), 1);
    QCOMPARE(world().subjects(QStringLiteral("Sent")), QStringList {QStringLiteral("Hello")});
}

void TestAsDaemonSending::aGivenUpMessageThatWasNotSentStays()
{
    // For a server that may still be at it, which it is not after the usual pause.
    world().daemon.hurry(false);
    QVERIFY(world().startAnew(2));
    world().deliver(1, QStringLiteral("Other"), QStringLiteral("Sent"));
    world().server.fault(SendingWorld::sendFault("reset"));
    const QMailMessageId id = world().add(world().draft());
    QCOMPARE(world().sendAndWait(id), 902);
    QTRY_VERIFY(!SendingWorld::reasonOf(id).isEmpty());
    giveUp(id);
    world().server.clearLog();
    QCOMPARE(world().syncAndWait(), 200);
    QTRY_COMPARE(world().server.requestCount("ItemOperations"), 1);
    // It was looked for: that is enough until it leaves once more.
    for (int i = 0; i < 2; ++i)
        QCOMPARE(world().syncAndWait(), 200);
    QCOMPARE(world().server.requestCount("ItemOperations"), 1);
    QCOMPARE(world().server.requestCount("SendMail"), 0);
    QVERIFY(world().isInOutbox(id));
    QVERIFY(!SendingWorld::reasonOf(id).isEmpty());
    QCOMPARE(QMailMessage(id).customField(QStringLiteral("dontSend")), QStringLiteral("true"));
    QCOMPARE(world().sendAndWait(id), 200);
    QCOMPARE(world().copies(Bob, QStringLiteral("Hello")), 1);
}

void TestAsDaemonSending::aGivenUpMessageIsLookedForAgainWhereTheClockWasSetBack()
{
    world().deliver(1, QStringLiteral("Other"), QStringLiteral("Sent"));
    QCOMPARE(world().syncAndWait(), 200);
    const QMailMessageId id = sendTomorrowToNowhere();
    giveUp(id);
    world().server.clearLog();
    QCOMPARE(world().syncAndWait(), 200);
    QTRY_COMPARE(world().server.requestCount("ItemOperations"), 1);
    fileOwn();
    QCOMPARE(world().syncAndWait(), 200);
    QTRY_VERIFY(!StoreFixture::exists(id));
    QCOMPARE(world().server.requestCount("SendMail"), 0);
}

/** Its own next attempt will. */
void TestAsDaemonSending::aMessageThatIsTriedAgainIsNotLookedFor()
{
    world().deliver(1, QStringLiteral("Other"), QStringLiteral("Sent"));
    world().server.fault(SendingWorld::sendFault("reset"));
    const QMailMessageId id = world().add(world().draft());
    QCOMPARE(world().sendAndWait(id), 902);
    world().setOutbox(id, true);
    world().server.clearLog();
    for (int i = 0; i < 2; ++i)
        QCOMPARE(world().syncAndWait(), 200);
    QCOMPARE(world().server.requestCount("ItemOperations"), 0);
    QVERIFY(world().isInOutbox(id));
}

void TestAsDaemonSending::whatWasRefusedButNotToldReturnsWithItsReason()
{
    QMailMessage message = world().draft();
    message.setTo(QMailAddress(QStringLiteral("nobody@example.test")));
    const QMailMessageId id = world().add(message);
    QCOMPARE(world().sendAndWait(id), 404);
    QVERIFY(!world().isInOutbox(id));
    world().daemon.kill();
    QVERIFY(world().daemon.start());
    QTRY_VERIFY(world().isInOutbox(id));
    QVERIFY(SendingWorld::reasonOf(id).contains(QLatin1String("recipient")));
}

void TestAsDaemonSending::theReasonGoesWhenItIsSent()
{
    world().server.fault(SendingWorld::sendFault("status", {{QStringLiteral("status"), 115}}));
    const QMailMessageId id = world().add(world().draft());
    QCOMPARE(world().sendAndWait(id), 507);
    QVERIFY(!SendingWorld::reasonOf(id).isEmpty());
    QCOMPARE(world().sendAndWait(id), 200);
    QVERIFY(SendingWorld::reasonOf(id).isEmpty());
}

/** Drafts, what lies in the trash, and what the server's folder of sent messages holds. */
void TestAsDaemonSending::whatNobodySentIsLeftAlone()
{
    QMailMessageIdList ids;
    for (const quint64 flag : {QMailMessage::Draft, QMailMessage::Trash, QMailMessage::Sent}) {
        QMailMessage message = world().draft();
        message.setStatus(QMailMessage::Outbox, false);
        message.setStatus(flag, true);
        ids.append(world().add(message));
    }
    QMailMessage known = world().draft();
    known.setStatus(QMailMessage::Outbox, false);
    known.setServerUid(QStringLiteral("folder\u001fitem"));
    ids.append(world().add(known));
    world().daemon.kill();
    QVERIFY(world().daemon.start());
    const QMailMessageId waiting = world().add(world().draft());
    world().setOutbox(waiting, false);
    QCOMPARE(world().syncAndWait(), 200);
    QTRY_VERIFY(world().isInOutbox(waiting));
    for (const QMailMessageId &id : qAsConst(ids))
        QVERIFY(!world().isInOutbox(id));
}

void TestAsDaemonSending::whatNobodyPursuesReturnsWithASynchronisationThatJoinsARunningOne()
{
    QVERIFY(world().startAnew(24));
    world().server.fault("delay", "Sync", {{"seconds", 20}});
    const int running = world().sync();
    QVERIFY(world().faultsAreTaken());
    const QMailMessageId id = world().add(world().draft());
    world().setOutbox(id, false);
    const int joining = world().sync();
    QTRY_VERIFY(world().isInOutbox(id));
    QCOMPARE(world().listener.codeOf(running), 0);
    world().server.endDelays();
    QCOMPARE(world().codeOf(running), 200);
    QCOMPARE(world().codeOf(joining), 200);
    QVERIFY(world().sent().isEmpty());
}

/** A move to the inbox takes all marks from a message that tell why it is not to be sent. */
void TestAsDaemonSending::whatItsAuthorHasPutAwayIsNotSent()
{
    world().setOption("versions", QJsonArray {QStringLiteral("14.1")});
    world().createFolder(QStringLiteral("Projects"));
    QCOMPARE(world().sendAndWait(world().add(world().draft(QStringLiteral("Sent")))), 200);
    QCOMPARE(world().syncAndWait(), 200);
    const auto move = [this](const QMailMessageId &id, const QString &folder) {
        QMailDisconnected::moveToFolder({id}, world().folder(folder));
    };
    const auto draft = [&] {
        const QMailMessageId id = world().add(world().draft());
        move(id, QStringLiteral("Drafts"));
        return id;
    };
    QMailMessageIdList ids {draft(), draft(), draft(), draft()};
    move(ids.at(0), QStringLiteral("Inbox"));
    move(ids.at(1), QStringLiteral("Trash"));
    move(ids.at(1), QStringLiteral("Inbox"));
    move(ids.at(2), QStringLiteral("Inbox"));
    move(ids.at(2), QStringLiteral("Projects"));
    move(ids.at(3), QStringLiteral("Junk"));
    // One that failed, whose author has made it a draft.
    world().server.fault(SendingWorld::sendFault("status", {{QStringLiteral("status"), 115}}));
    const QMailMessageId failed = world().add(world().draft());
    QCOMPARE(world().sendAndWait(failed), 507);
    move(failed, QStringLiteral("Drafts"));
    move(failed, QStringLiteral("Inbox"));
    ids.append(failed);
    const QMailMessageId sent = world().find(QStringLiteral("Sent"));
    QCOMPARE(QMailMessageMetaData(sent).parentFolderId(), world().folder(QStringLiteral("Sent")));
    QMailDisconnected::copyToFolder({sent}, world().folder(QStringLiteral("Inbox")));
    const QMailMessageKey copy = QMailMessageKey::subject(QStringLiteral("Sent"))
        & QMailMessageKey::parentFolderId(world().folder(QStringLiteral("Inbox")));
    ids.append(QMailStore::instance()->queryMessages(copy));
    QCOMPARE(ids.size(), 6);
    for (const QMailMessageId &id : qAsConst(ids)) {
        QVERIFY(StoreFixture::hasStatus(id, QMailMessage::Outgoing));
        QVERIFY(!StoreFixture::hasStatus(id, QMailMessage::Draft));
        QVERIFY(!StoreFixture::hasStatus(id, QMailMessage::Sent));
    }
    world().daemon.kill();
    QVERIFY(world().daemon.start());
    const QMailMessageId waiting = world().add(world().draft());
    world().setOutbox(waiting, false);
    QCOMPARE(world().syncAndWait(), 200);
    QTRY_VERIFY(world().isInOutbox(waiting));
    for (const QMailMessageId &id : qAsConst(ids))
        QVERIFY(!world().isInOutbox(id));
}

QMailFolderId TestAsDaemonSending::addLocalFolder(const QString &name)
{
    QMailFolder folder(name, QMailFolderId(), world().account);
    folder.setStatus(QMailFolder::MessagesPermitted, true);
    if (!QMailStore::instance()->addFolder(&folder))
        qFatal("cannot add a folder");
    return folder.id();
}

void TestAsDaemonSending::whatLiesInAFolderMadeHereIsSentWhereItIsAskedFor()
{
    QCOMPARE(world().syncAndWait(), 200);
    const QMailFolderId own = addLocalFolder(QStringLiteral("Own"));
    const QMailMessageId putAway = world().add(world().draft());
    for (const QMailFolderId &folder :
         {world().folder(QStringLiteral("Drafts")), world().folder(QStringLiteral("Inbox")), own})
        QMailDisconnected::moveToFolder({putAway}, folder);
    QVERIFY(!StoreFixture::hasStatus(putAway, QMailMessage::Draft));
    QMailMessage message = world().draft();
    message.setParentFolderId(own);
    world().server.fault(SendingWorld::sendFault("status", {{QStringLiteral("status"), 115}}));
    const QMailMessageId failed = world().add(message);
    QCOMPARE(world().sendAndWait(failed), 507);
    // One leaves, and another waits behind it, when the daemon dies.
    world().server.fault(SendingWorld::sendFault("delay", {{QStringLiteral("seconds"), 30}}));
    QVERIFY(world().send(world().add(world().draft())) > 0);
    QVERIFY(world().faultsAreTaken());
    const QMailMessageId behind = world().add(message);
    QVERIFY(world().send(behind) > 0);
    // The daemon answers this when it has taken the one before.
    QVERIFY(world().send(world().add(world().draft())) > 0);
    world().daemon.kill();
    world().server.endDelays();
    QVERIFY(world().daemon.start());
    QTRY_VERIFY(world().isInOutbox(failed));
    QTRY_VERIFY(world().isInOutbox(behind));
    QCOMPARE(world().syncAndWait(), 200);
    QVERIFY(!world().isInOutbox(putAway));
}

void TestAsDaemonSending::whatLiesInAnOutboxMadeHereIsSent()
{
    const QMailFolderId outbox = addLocalFolder(QStringLiteral("To be sent"));
    QMailAccount account(world().account);
    account.setStandardFolder(QMailFolder::OutboxFolder, outbox);
    QVERIFY(QMailStore::instance()->updateAccount(&account));
    QMailMessage message = world().draft();
    message.setParentFolderId(outbox);
    const QMailMessageId id = world().add(message);
    world().setOutbox(id, false);
    world().daemon.kill();
    QVERIFY(world().daemon.start());
    QTRY_VERIFY(world().isInOutbox(id));
}

void TestAsDaemonSending::aCopyOfASentMessageIsSent()
{
    world().server.fault(SendingWorld::sendFault("status", {{QStringLiteral("status"), 115}}));
    const QMailMessageId first = world().add(world().draft(QStringLiteral("First")));
    QCOMPARE(world().sendAndWait(first), 507);
    QTRY_VERIFY(!SendingWorld::fieldOf(first, "orvmail-client-id").isEmpty());
    QMailMessage copy(first);
    copy.setCustomField(QStringLiteral("orvmail-client-id"),
                        SendingWorld::fieldOf(first, "orvmail-client-id"));
    QCOMPARE(world().sendAndWait(first), 200);
    copy.setId(QMailMessageId());
    copy.setSubject(QStringLiteral("Second"));
    QCOMPARE(world().sendAndWait(world().add(copy)), 200);
    QCOMPARE(world().copies(Bob, QStringLiteral("Second")), 1);
}

QTEST_GUILESS_MAIN(TestAsDaemonSending)
#include "tst_asdaemonsending.moc"
