// SPDX-License-Identifier: LGPL-2.1-or-later
#include "daemon/store/outgoing/outgoingprint.h"
#include "tests/store/items.h"
#include "tests/support/storefixture.h"

#include <QCryptographicHash>
#include <QFile>
#include <qmailmessage.h>
#include <qmailstore.h>
#include <QTemporaryDir>
#include <QTest>

#include <functional>

using Items::text;
namespace OutgoingPrint = Store::OutgoingPrint;

namespace {

using Address = QMailAddress;

QMailMessageBody plainText(const char *utf8)
{
    return QMailMessageBody::fromData(
        text(utf8), QMailMessageContentType("text/plain; charset=UTF-8"), QMailMessageBody::Base64);
}

QMailMessageContentDisposition attached(const char *name)
{
    QMailMessageContentDisposition disposition(QMailMessageContentDisposition::Attachment);
    disposition.setFilename(name);
    disposition.setSize(6);
    return disposition;
}

QMailMessagePart attachment(const char *name, const QByteArray &content)
{
    return QMailMessagePart::fromData(content, attached(name),
                                      QMailMessageContentType("application/octet-stream"),
                                      QMailMessageBody::Base64, QMailMessageBody::RequiresEncoding);
}

/** A text, an attachment that is here, one that was never fetched, and a message that is named. */
QMailMessage message()
{
    QMailMessage message;
    message.setMessageType(QMailMessage::Email);
    message.setTo({Address(text("Bob <bob@example.test>")), Address(text("carol@example.test"))});
    message.setCc({Address(text("dan@example.test"))});
    message.setBcc({Address(text("eve@example.test"))});
    message.setSubject(text("Höre"));
    message.setMultipartType(QMailMessage::MultipartMixed);
    QMailMessagePart body;
    body.setBody(plainText("One.\nTwo.\n"));
    message.appendPart(body);
    message.appendPart(attachment("here.bin", "abcdef"));
    message.appendPart(attachment("unfetched.bin", QByteArray()));
    message.appendPart(QMailMessagePart::fromMessageReference(
        QMailMessageId(77), attached("named.eml"), QMailMessageContentType("message/rfc822"),
        QMailMessageBody::NoEncoding));
    return message;
}

} // namespace

Q_DECLARE_METATYPE(std::function<void(QMailMessage *)>)
using Change = std::function<void(QMailMessage *)>;

/** What counts as an edit of a message that left, and what does not. */
class TestOutgoingPrint : public QObject
{
    Q_OBJECT

private slots:
    void cleanup() { StoreFixture::clear(); }

    void anEditIsSeen_data();
    void anEditIsSeen();
    void whatIsNoEditIsNotSeen_data();
    void whatIsNoEditIsNotSeen();
    void aMessageOfOnePartIsSeenAsWell();
    void theStoreChangesNothing();
    void thePrintOfAnOlderDaemonSaysAsMuch();
    void whatWasMadeInAnUnknownWaySaysNothing();
};

void TestOutgoingPrint::anEditIsSeen_data()
{
    QTest::addColumn<Change>("change");
    const auto row = [](const char *name, const Change &change) { QTest::newRow(name) << change; };
    row("one recipient less",
        [](auto *one) { one->setTo(Address(text("Bob <bob@example.test>"))); });
    row("another name", [](auto *one) {
        one->setTo({Address(text("Rob <bob@example.test>")), Address(text("carol@example.test"))});
    });
    row("from to into cc", [](auto *one) {
        one->setTo(Address(text("Bob <bob@example.test>")));
        one->setCc({Address(text("carol@example.test")), Address(text("dan@example.test"))});
    });
    row("no hidden recipient", [](auto *one) { one->setBcc({}); });
    row("subject", [](auto *one) { one->setSubject(text("Hore")); });
    row("a letter", [](auto *one) { one->partAt(0).setBody(plainText("One.\nToo.\n")); });
    row("no text", [](auto *one) { one->partAt(0).setBody(plainText("")); });
    row("lines joined", [](auto *one) { one->partAt(0).setBody(plainText("One. Two.\n")); });
    row("attachment of the same size",
        [](auto *one) { one->partAt(1).setBody(attachment("here.bin", "abcdeg").body()); });
    row("longer attachment",
        [](auto *one) { one->partAt(1).setBody(attachment("here.bin", "abcdefg").body()); });
    row("attachment's name",
        [](auto *one) { one->partAt(1).setContentDisposition(attached("there.bin")); });
    row("name of one that is not here",
        [](auto *one) { one->partAt(2).setContentDisposition(attached("other.bin")); });
    row("one attachment less", [](auto *one) { one->removePartAt(1); });
    row("one attachment more", [](auto *one) { one->appendPart(attachment("new.bin", "new")); });
    row("another message", [](auto *one) {
        one->removePartAt(3);
        one->appendPart(QMailMessagePart::fromMessageReference(
            QMailMessageId(78), attached("named.eml"), QMailMessageContentType("message/rfc822"),
            QMailMessageBody::NoEncoding));
    });
}

void TestOutgoingPrint::anEditIsSeen()
{
    QFETCH(Change, change);
    QMailMessage edited = message();
    change(&edited);
    QVERIFY(!OutgoingPrint::isSame(OutgoingPrint::of(message()), edited));
    QVERIFY(!OutgoingPrint::isSame(OutgoingPrint::of(edited), message()));
}

void TestOutgoingPrint::whatIsNoEditIsNotSeen_data()
{
    QTest::addColumn<Change>("change");
    const auto row = [](const char *name, const Change &change) { QTest::newRow(name) << change; };
    row("nothing", [](auto *) { });
    row("status", [](auto *one) { one->setStatus(QMailMessage::Sent | QMailMessage::Read, true); });
    row("custom field", [](auto *one) { one->setCustomField(text("dontSend"), text("2")); });
    row("headers", [](auto *one) {
        one->setHeaderField(text("Message-ID"), text("<new@example.test>"));
        one->setHeaderField(text("References"), text("<old@example.test>"));
        one->setDate(QMailTimeStamp(QDateTime::fromSecsSinceEpoch(1)));
    });
    row("order and letters of recipients", [](auto *one) {
        one->setTo({Address(text("CAROL@example.test")), Address(text("Bob <bob@Example.test>"))});
    });
    row("line ends", [](auto *one) { one->partAt(0).setBody(plainText("One.\r\nTwo.\r\n")); });
    row("another encoding", [](auto *one) {
        one->partAt(0).setBody(QMailMessageBody::fromData(
            text("One.\nTwo.\n"), QMailMessageContentType("text/plain; charset=UTF-8"),
            QMailMessageBody::QuotedPrintable));
    });
    row("a fetched attachment",
        [](auto *one) { one->partAt(2).setBody(attachment("unfetched.bin", "abcdef").body()); });
}

void TestOutgoingPrint::whatIsNoEditIsNotSeen()
{
    QFETCH(Change, change);
    QMailMessage same = message();
    change(&same);
    QVERIFY(OutgoingPrint::isSame(OutgoingPrint::of(message()), same));
    QVERIFY(OutgoingPrint::isSame(OutgoingPrint::of(same), message()));
}

void TestOutgoingPrint::aMessageOfOnePartIsSeenAsWell()
{
    QMailMessage one;
    one.setTo(Address(text("bob@example.test")));
    one.setBody(plainText("One."));
    QMailMessage other = one;
    QVERIFY(OutgoingPrint::isSame(OutgoingPrint::of(one), other));
    other.setBody(plainText("Two."));
    QVERIFY(!OutgoingPrint::isSame(OutgoingPrint::of(one), other));
}

/** Nor does it count that a file is gone that was attached. */
void TestOutgoingPrint::theStoreChangesNothing()
{
    QTemporaryDir folder;
    QFile file(folder.filePath(text("large.txt")));
    QVERIFY(file.open(QIODevice::WriteOnly));
    file.write(QByteArray("a line of it\r\nand another\n").repeated(10000));
    file.close();
    QMailMessage kept = message();
    kept.setParentAccountId(StoreFixture::addAccount());
    kept.setParentFolderId(QMailFolderId(QMailFolder::LocalStorageFolderId));
    kept.appendPart(QMailMessagePart::fromFile(file.fileName(), attached("large.txt"),
                                               QMailMessageContentType("text/plain"),
                                               QMailMessageBody::Base64));
    QVERIFY(QMailStore::instance()->addMessage(&kept));
    const QByteArray print = OutgoingPrint::of(QMailMessage(kept.id()));
    QVERIFY(file.remove());
    QVERIFY(OutgoingPrint::isSame(print, QMailMessage(kept.id())));
    QMailMessage again(kept.id());
    again.setHeaderField(text("X-Program"), text("Some"));
    QVERIFY(QMailStore::instance()->updateMessage(&again));
    const QMailMessage now(kept.id());
    QCOMPARE(now.headerFieldText(text("X-Program")).trimmed(), text("Some"));
    QVERIFY(OutgoingPrint::isSame(print, now));
}

/** The mail store may hold what one has sent, or may have. */
void TestOutgoingPrint::thePrintOfAnOlderDaemonSaysAsMuch()
{
    const auto digest = [](const QByteArray &content) {
        return QCryptographicHash::hash(content, QCryptographicHash::Sha256).toHex();
    };
    const QByteArray print = "1 " + digest("<bob@example.test\n\n\nNews") + ' ' + digest("One.");
    QMailMessage message;
    message.setTo(Address(text("bob@example.test")));
    message.setSubject(text("News"));
    message.setBody(plainText("One."));
    QVERIFY(OutgoingPrint::isSame(print, message));
    message.setBody(plainText("Two."));
    QVERIFY(!OutgoingPrint::isSame(print, message));
}

void TestOutgoingPrint::whatWasMadeInAnUnknownWaySaysNothing()
{
    QVERIFY(OutgoingPrint::isSame("0 something else", message()));
}

QTEST_GUILESS_MAIN(TestOutgoingPrint)
#include "tst_outgoingprint.moc"
