// SPDX-License-Identifier: LGPL-2.1-or-later
#include "tests/daemon/sendingworld.h"

#include <memory>
#include <QJsonArray>
#include <qmailaccount.h>
#include <qmailmessage.h>
#include <qmailstore.h>
#include <QTest>

namespace {

const QString alice = QStringLiteral("alice");
const QString bob = QStringLiteral("bob");

const QByteArray OriginalText("The original says something that nobody else says.");

QByteArray attachedContent()
{
    QByteArray content;
    for (int i = 0; i < 30000; ++i)
        content.append(char(i * 7 + i / 256));
    return content;
}

QByteArray original()
{
    return "From: Carol <carol@elsewhere.test>\r\nTo: alice@example.test\r\nSubject: Original\r\n"
           "Message-ID: <original@elsewhere.test>\r\nMIME-Version: 1.0\r\n"
           "Content-Type: multipart/mixed; boundary=\"edge\"\r\n\r\n--edge\r\n"
           "Content-Type: text/plain; charset=utf-8\r\n\r\n"
        + OriginalText
        + "\r\n--edge\r\nContent-Type: application/octet-stream; name=\"plan.bin\"\r\n"
          "Content-Disposition: attachment; filename=\"plan.bin\"\r\n"
          "Content-Transfer-Encoding: base64\r\n\r\n"
        + attachedContent().toBase64() + "\r\n--edge--\r\n";
}

QMailMessageBody plainText(const QString &text)
{
    return QMailMessageBody::fromData(text, QMailMessageContentType("text/plain; charset=UTF-8"),
                                      QMailMessageBody::QuotedPrintable);
}

/** Every text and every attachment of a message, one behind the other. */
QByteArray contentOf(const QMailMessagePartContainer &container)
{
    if (container.multipartType() == QMailMessage::MultipartNone)
        return container.body().data(QMailMessageBody::Decoded);
    QByteArray all;
    for (uint i = 0; i < container.partCount(); ++i)
        all += contentOf(container.partAt(i)) + '\n';
    return all;
}

} // namespace

/** Replies and forwards, and what of the original message travels with them. */
class TestResponses : public QObject
{
    Q_OBJECT

private slots:
    void init();
    void cleanup();

    void aReplyLeavesTheOriginalToTheServer_data() { addVersions(); }
    void aReplyLeavesTheOriginalToTheServer();
    void aForwardLeavesTextAndAttachmentsToTheServer_data() { addVersions(); }
    void aForwardLeavesTextAndAttachmentsToTheServer();
    void whatAForwardOnlyNamesIsLeftToTheServer();
    void aReplyThatQuotesSaysItOnce_data() { addVersions(); }
    void aReplyThatQuotesSaysItOnce();
    void whatQuotesAShortMessage_data();
    void whatQuotesAShortMessage();
    void aForwardWithTheAttachmentInItBringsItOnce();
    void withoutTheWishItGoesPlain();
    void whereTheOriginalIsGoneItGoesPlain_data() { addVersions(); }
    void whereTheOriginalIsGoneItGoesPlain();
    void whereTheServerForbidsItGoesPlain_data();
    void whereTheServerForbidsItGoesPlain();
    void whereTheOriginalIsNotHereAnyMoreItGoesPlain();
    void toAMessageOfAnotherAccountItGoesPlain();
    void aCutAfterTheServerHasItIsFoundOut_data() { addVersions(); }
    void aCutAfterTheServerHasItIsFoundOut();
    void aRefusalIsNoReasonToSendItPlain();

private:
    SendingWorld &world() { return *m_world; }
    static void addVersions();
    void wishSmartReplies(bool on);
    QMailMessage response(QMailMessage::ResponseType type, const QString &text) const;
    QMailMessage withPart(QMailMessage message, const QMailMessagePart &part) const;
    /** The commands by which messages were asked to be sent. */
    QStringList commands();
    qint64 sentSize();
    QByteArray arrived();

    std::unique_ptr<SendingWorld> m_world;
    QMailMessageId m_original;
};

void TestResponses::init()
{
    if (!EasServer::isAvailable())
        QSKIP("there is no python3 for the test server");
    m_world = std::make_unique<SendingWorld>();
    QVERIFY(world().begin());
    const QByteArray version = QTest::currentDataTag();
    if (version.startsWith("1"))
        world().setOption("versions", QJsonArray {QString::fromLatin1(version)});
    wishSmartReplies(true);
    world().server.deliver(alice, QStringLiteral("Inbox"), original());
    QCOMPARE(world().syncAndWait(), 200);
    m_original = QMailStore::instance()
                     ->queryMessages(QMailMessageKey::subject(QStringLiteral("Original")))
                     .value(0);
    QVERIFY(m_original.isValid());
    world().server.clearLog();
}

void TestResponses::cleanup()
{
    const int code = m_world ? m_world->endDaemon() : 0;
    m_world.reset();
    QCOMPARE(code, 0);
}

void TestResponses::addVersions()
{
    QTest::addColumn<bool>("isOld");
    QTest::newRow("12.1") << true;
    QTest::newRow("14.0") << false;
    QTest::newRow("14.1") << false;
}

void TestResponses::wishSmartReplies(bool on)
{
    QMailAccount account(world().account);
    account.setStatus(QMailAccount::UseSmartReply, on);
    QVERIFY(QMailStore::instance()->updateAccount(&account));
}

QMailMessage TestResponses::response(QMailMessage::ResponseType type, const QString &text) const
{
    QMailMessage message = m_world->draft(QStringLiteral("Response"));
    message.setBody(plainText(text));
    message.setInResponseTo(m_original);
    message.setResponseType(type);
    return message;
}

QMailMessage TestResponses::withPart(QMailMessage message, const QMailMessagePart &part) const
{
    QMailMessagePart text;
    text.setBody(message.body());
    message.setMultipartType(QMailMessage::MultipartMixed);
    message.appendPart(text);
    message.appendPart(part);
    return message;
}

QStringList TestResponses::commands()
{
    QStringList names;
    const QJsonArray log = world().server.log();
    for (const QJsonValue &entry : log) {
        const QString name = entry[QStringLiteral("command")].toString();
        if (name == QLatin1String("SendMail") || name.startsWith(QLatin1String("Smart")))
            names.append(name);
    }
    return names;
}

qint64 TestResponses::sentSize()
{
    return world().sent().last()[QStringLiteral("size")].toInt();
}

QByteArray TestResponses::arrived()
{
    return contentOf(QMailMessage::fromRfc2822(world().received()));
}

void TestResponses::aReplyLeavesTheOriginalToTheServer()
{
    const QMailMessageId id = world().add(response(QMailMessage::Reply, QStringLiteral("Yes.\n")));
    QCOMPARE(world().sendAndWait(id), 200);
    QCOMPARE(commands(), QStringList {QStringLiteral("SmartReply")});
    QCOMPARE(contentOf(world().sentMessage()), QByteArray("Yes.\n"));
    QVERIFY(arrived().startsWith("Yes."));
    QCOMPARE(arrived().count(OriginalText), 1);
    QVERIFY(!arrived().contains(attachedContent()));
    QCOMPARE(world().copies(alice, QStringLiteral("Response"), QStringLiteral("Sent")), 1);
    const QJsonObject answered = world().server.messages(alice, QStringLiteral("Inbox")).first();
    QCOMPARE(answered[QStringLiteral("verb")].toInt(), 1);
}

void TestResponses::aForwardLeavesTextAndAttachmentsToTheServer()
{
    const QMailMessageId id =
        world().add(response(QMailMessage::Forward, QStringLiteral("See below.\n")));
    QCOMPARE(world().sendAndWait(id), 200);
    QCOMPARE(commands(), QStringList {QStringLiteral("SmartForward")});
    QVERIFY(sentSize() < 1000);
    QVERIFY(arrived().startsWith("See below."));
    QCOMPARE(arrived().count(OriginalText), 1);
    QCOMPARE(arrived().count(attachedContent()), 1);
}

void TestResponses::whatAForwardOnlyNamesIsLeftToTheServer()
{
    const QMailMessagePart named = QMailMessagePart::fromMessageReference(
        m_original, QMailMessageContentDisposition(QMailMessageContentDisposition::Attachment),
        QMailMessageContentType("message/rfc822"), QMailMessageBody::NoEncoding);
    const QMailMessageId id =
        world().add(withPart(response(QMailMessage::Forward, QStringLiteral("Look.\n")), named));
    QCOMPARE(world().sendAndWait(id), 200);
    QCOMPARE(commands(), QStringList {QStringLiteral("SmartForward")});
    QVERIFY(sentSize() < 1000);
    QCOMPARE(arrived().count(OriginalText), 1);
    QCOMPARE(arrived().count(attachedContent()), 1);
}

void TestResponses::aReplyThatQuotesSaysItOnce()
{
    QFETCH(bool, isOld);
    const QString text =
        QStringLiteral("Yes.\n\nCarol wrote:\n> The original says something\n> that nobody else "
                       "says.\n");
    QCOMPARE(world().sendAndWait(world().add(response(QMailMessage::Reply, text))), 200);
    QCOMPARE(commands(),
             QStringList {isOld ? QStringLiteral("SendMail") : QStringLiteral("SmartReply")});
    QCOMPARE(arrived().replace("\r\n", "\n"), text.toUtf8());
}

void TestResponses::whatQuotesAShortMessage_data()
{
    QTest::addColumn<QString>("type");
    QTest::addColumn<QString>("text");
    QTest::addColumn<bool>("quotes");
    const QString plain = QStringLiteral("text/plain");
    const QString html = QStringLiteral("text/html");
    QTest::newRow("quoted") << plain << QStringLiteral("Yes.\n> At\n> noon.\n") << true;
    QTest::newRow("the same words by chance")
        << plain << QStringLiteral("At noon, with a picture.\n") << false;
    QTest::newRow("quoted in HTML")
        << html << QStringLiteral("<p>Yes<blockquote>At\nnoon.</blockquote>") << true;
    QTest::newRow("by chance in HTML") << html << QStringLiteral("<p>At noon, then.") << false;
}

void TestResponses::whatQuotesAShortMessage()
{
    QFETCH(QString, type);
    QFETCH(QString, text);
    QFETCH(bool, quotes);
    world().server.deliver(
        alice, QStringLiteral("Inbox"),
        "From: carol@elsewhere.test\r\nTo: alice@example.test\r\nSubject: Short\r\n"
        "Message-ID: <short@elsewhere.test>\r\n\r\nAt noon.\r\n");
    QCOMPARE(world().syncAndWait(), 200);
    m_original = QMailStore::instance()
                     ->queryMessages(QMailMessageKey::subject(QStringLiteral("Short")))
                     .value(0);
    QMailMessage message = response(QMailMessage::Reply, text);
    message.setBody(QMailMessageBody::fromData(
        text, QMailMessageContentType(type.toLatin1() + "; charset=UTF-8"),
        QMailMessageBody::QuotedPrintable));
    QCOMPARE(world().sendAndWait(world().add(message)), 200);
    const QString request =
        world().server.requests("SmartReply").last()[QStringLiteral("request")].toString();
    QCOMPARE(request.contains(QLatin1String("ReplaceMime")), quotes);
}

void TestResponses::aForwardWithTheAttachmentInItBringsItOnce()
{
    QMailMessageContentDisposition disposition(QMailMessageContentDisposition::Attachment);
    disposition.setFilename("plan.bin");
    const QMailMessagePart part = QMailMessagePart::fromData(
        attachedContent(), disposition, QMailMessageContentType("application/octet-stream"),
        QMailMessageBody::Base64, QMailMessageBody::RequiresEncoding);
    const QMailMessageId id =
        world().add(withPart(response(QMailMessage::Forward, QStringLiteral("Look.\n")), part));
    QCOMPARE(world().sendAndWait(id), 200);
    QCOMPARE(commands(), QStringList {QStringLiteral("SmartForward")});
    QCOMPARE(arrived().count(attachedContent()), 1);
}

void TestResponses::withoutTheWishItGoesPlain()
{
    wishSmartReplies(false);
    QCOMPARE(
        world().sendAndWait(world().add(response(QMailMessage::Reply, QStringLiteral("Yes.\n")))),
        200);
    QCOMPARE(commands(), QStringList {QStringLiteral("SendMail")});
    QCOMPARE(arrived(), QByteArray("Yes.\n"));
}

void TestResponses::whereTheOriginalIsGoneItGoesPlain()
{
    const QString item = world()
                             .server.messages(alice, QStringLiteral("Inbox"))
                             .first()[QStringLiteral("id")]
                             .toString();
    world().server.control("delete",
                           {{QStringLiteral("user"), alice}, {QStringLiteral("id"), item}});
    const QMailMessageId id = world().add(response(QMailMessage::Reply, QStringLiteral("Yes.\n")));
    QCOMPARE(world().sendAndWait(id), 200);
    QCOMPARE(commands(), (QStringList {QStringLiteral("SmartReply"), QStringLiteral("SendMail")}));
    QCOMPARE(world().copies(bob, QStringLiteral("Response")), 1);
    QCOMPARE(arrived(), QByteArray("Yes.\n"));
}

void TestResponses::whereTheServerForbidsItGoesPlain_data()
{
    QTest::addColumn<int>("status");
    for (const int status : {117, 121, 150})
        QTest::addRow("14.1") << status;
}

void TestResponses::whereTheServerForbidsItGoesPlain()
{
    QFETCH(int, status);
    world().server.fault(
        SendingWorld::sendFault("status",
                                {{QStringLiteral("command"), QStringLiteral("SmartForward")},
                                 {QStringLiteral("status"), status}}));
    const QMailMessageId id =
        world().add(response(QMailMessage::Forward, QStringLiteral("Look.\n")));
    QCOMPARE(world().sendAndWait(id), 200);
    QCOMPARE(commands(),
             (QStringList {QStringLiteral("SmartForward"), QStringLiteral("SendMail")}));
    QCOMPARE(world().copies(bob, QStringLiteral("Response")), 1);
}

void TestResponses::whereTheOriginalIsNotHereAnyMoreItGoesPlain()
{
    const QMailMessageId id = world().add(response(QMailMessage::Reply, QStringLiteral("Yes.\n")));
    QVERIFY(QMailStore::instance()->removeMessage(m_original, QMailStore::NoRemovalRecord));
    QCOMPARE(world().sendAndWait(id), 200);
    QCOMPARE(commands(), QStringList {QStringLiteral("SendMail")});
}

void TestResponses::toAMessageOfAnotherAccountItGoesPlain()
{
    StoreFixture::Account settings = world().settings();
    settings.name = QStringLiteral("Other");
    settings.enabled = false;
    const QMailAccountId other = StoreFixture::addAccount(settings);
    QMailMessageMetaData moved(m_original);
    moved.setParentAccountId(other);
    QVERIFY(QMailStore::instance()->updateMessage(&moved));
    QCOMPARE(
        world().sendAndWait(world().add(response(QMailMessage::Reply, QStringLiteral("Yes.\n")))),
        200);
    QCOMPARE(commands(), QStringList {QStringLiteral("SendMail")});
}

void TestResponses::aCutAfterTheServerHasItIsFoundOut()
{
    world().setOption("client_id_memory", false);
    world().server.fault(
        SendingWorld::sendFault("reset",
                                {{QStringLiteral("command"), QStringLiteral("SmartReply")},
                                 {QStringLiteral("late"), true}}));
    const QMailMessageId id = world().add(response(QMailMessage::Reply, QStringLiteral("Yes.\n")));
    QCOMPARE(world().sendAndWait(id), 200);
    QCOMPARE(commands(), QStringList {QStringLiteral("SmartReply")});
    QCOMPARE(world().copies(bob, QStringLiteral("Response")), 1);
}

void TestResponses::aRefusalIsNoReasonToSendItPlain()
{
    world().server.fault(
        SendingWorld::sendFault("status",
                                {{QStringLiteral("command"), QStringLiteral("SmartReply")},
                                 {QStringLiteral("status"), 115}}));
    const QMailMessageId id = world().add(response(QMailMessage::Reply, QStringLiteral("Yes.\n")));
    QCOMPARE(world().sendAndWait(id), 507);
    QCOMPARE(commands(), QStringList {QStringLiteral("SmartReply")});
    QTRY_VERIFY(SendingWorld::reasonOf(id).contains(QLatin1String("quota")));
}

QTEST_GUILESS_MAIN(TestResponses)
#include "tst_responses.moc"
