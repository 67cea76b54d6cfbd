// SPDX-License-Identifier: LGPL-2.1-or-later
#include "daemon/store/incoming/messagebuilder.h"
#include "daemon/store/mailtext.h"
#include "tests/store/items.h"

#include <qmailstore.h>
#include <QTemporaryFile>
#include <QTest>
#include <QUrl>

using namespace Items;

namespace {

using Message = QMailMessageMetaData;

QStringList addresses(const QList<QMailAddress> &list)
{
    return QMailAddress::toStringList(list);
}

/** A tree of multiparts, each in the one before. */
QByteArray nested(int depth)
{
    QByteArray mail = "From: a@b.test\r\nMIME-Version: 1.0\r\n";
    for (int i = 0; i < depth; ++i) {
        const QByteArray mark = "b" + QByteArray::number(i);
        mail += "Content-Type: multipart/mixed; boundary=" + mark + "\r\n\r\n--" + mark + "\r\n";
    }
    return mail + "Content-Type: text/plain\r\n\r\ndeep\r\n";
}

QByteArray flat(int parts)
{
    return "MIME-Version: 1.0\r\nContent-Type: multipart/mixed;\r\n\tBoundary = \"b b\"\r\n\r\n"
        + QByteArray("--b b\r\n\r\ntext\r\n").repeated(parts) + "--b b--\r\n";
}

} // namespace

/** What arrives in the mail store for what a server sends; every message goes through the store. */
class TestMessageBuilder : public QObject
{
    Q_OBJECT

private slots:
    void init() { m_account = std::make_unique<SyncedAccount>(); }
    void cleanup() { m_account.reset(); }

    void plainMessageHasItsHeadersTextAndFlags();
    void flagsOfTheServerAreThereFromTheStart();
    void importanceSetsPriority();
    void namesOfAnyScriptSurvive();
    void namesOfManyScriptsInOneListSurvive();
    void oddAddresses_data();
    void oddAddresses();
    void oddSubjects_data();
    void oddSubjects();
    void emptyTextBecomesOneLineBreak();
    void messageWithoutBodyIsNotTakenForComplete();
    void cutTextIsPartial();
    void htmlStaysHtmlAndHasAPreview();
    void attachmentIsListedButNotHere();
    void attachmentNames_data();
    void attachmentNames();
    void attachmentTypeIsGuessedFromTheName();
    void imageShownInTheTextIsRelated();
    void fileReferenceSurvivesAsItIs();
    void conversationIsKept();
    void wholeMimeMessageIsParsed();
    void mimeWithAbsurdStructureDoesNoHarm();
    void contentIsNotTakenFromAFileOfThisMachine();
    void internalHeadersOfOthersAreNotBelieved();
    void linesEndAlike_data();
    void linesEndAlike();
    void datesOutOfRange_data();
    void datesOutOfRange();
    void sentAndDraftFoldersMarkTheirMessages();

private:
    QMailMessage through(const Eas::MailItem &item, const Eas::FolderId &collection = InboxId);

    std::unique_ptr<SyncedAccount> m_account;
};

QMailMessage TestMessageBuilder::through(const Eas::MailItem &item, const Eas::FolderId &collection)
{
    Eas::SyncWindow window = adding(QStringLiteral("2"), {item}, collection);
    if (m_account->write(window) != Eas::Success)
        return {};
    return m_account->message(item.serverId, collection);
}

void TestMessageBuilder::plainMessageHasItsHeadersTextAndFlags()
{
    Eas::MailItem sent = item(text("1"), text("Hello"), "One\nTwo\n");
    sent.cc = text("Dave <dave@example.test>, eve@example.test");
    sent.replyTo = text("list@example.test");
    const QMailMessage message = through(sent);
    QVERIFY(message.id().isValid());
    QCOMPARE(message.from().toString(), text("\"Carol Sender\" <carol@elsewhere.test>"));
    QCOMPARE(addresses(message.to()), QStringList(text("\"Alice Example\" <alice@example.test>")));
    QCOMPARE(addresses(message.cc()),
             QStringList({text("Dave <dave@example.test>"), text("eve@example.test")}));
    QCOMPARE(message.replyTo().address(), text("list@example.test"));
    QCOMPARE(message.subject(), text("Hello"));
    QCOMPARE(message.receivedDate().toUTC(), *sent.dateReceived);
    QCOMPARE(message.date().toUTC(), *sent.dateReceived);
    QCOMPARE(message.body().data(), text("One\nTwo\n"));
    QCOMPARE(message.contentType().content(), QByteArray("text/plain"));
    QCOMPARE(message.preview().simplified(), text("One Two"));
    QCOMPARE(message.messageType(), QMailMessage::Email);
    QCOMPARE(message.contentScheme(), text("qmfstoragemanager"));
    QCOMPARE(message.size(), 8u);
    const quint64 set = Message::Incoming | Message::New | Message::ContentAvailable
        | Message::PartialContentAvailable;
    QCOMPARE(message.status() & set, set);
    QCOMPARE(message.status()
                 & (Message::Read | Message::ReadElsewhere | Message::Important
                    | Message::HasAttachments | Message::Outbox | Message::LocalOnly),
             quint64(0));
}

void TestMessageBuilder::flagsOfTheServerAreThereFromTheStart()
{
    Eas::MailItem sent = item(text("1"));
    sent.read = true;
    sent.flag = Eas::FlagStatus::Active;
    sent.lastVerb = 1;
    const quint64 status = through(sent).status();
    const quint64 set = Message::Read | Message::ReadElsewhere | Message::Important
        | Message::ImportantElsewhere | Message::Replied;
    QCOMPARE(status & set, set);
    QCOMPARE(status & Message::New, quint64(0));
}

void TestMessageBuilder::importanceSetsPriority()
{
    Eas::MailItem high = item(text("1"));
    high.importance = 2;
    const QMailMessage message = through(high);
    QVERIFY(message.status() & Message::HighPriority);
    QCOMPARE(message.headerFieldText(text("X-Priority")), text("1"));
    Eas::MailItem low = item(text("2"));
    low.importance = 0;
    QVERIFY(through(low).status() & Message::LowPriority);
}

void TestMessageBuilder::namesOfAnyScriptSurvive()
{
    Eas::MailItem sent = item(text("1"), text("Grüße, 世界 – שלום 🎉"));
    sent.from = text("\"Jürgen Müller, 山田\" <j@example.test>");
    sent.to = text("\"שלום\" <s@example.test>, \"Δοκιμή\" <d@example.test>");
    const QMailMessage message = through(sent);
    QCOMPARE(message.subject(), *sent.subject);
    QCOMPARE(message.from().name(), text("Jürgen Müller, 山田"));
    QCOMPARE(message.to().size(), 2);
    QCOMPARE(message.to().at(0).name(), text("שלום"));
    QCOMPARE(message.to().at(1).name(), text("Δοκιμή"));
    QCOMPARE(message.to().at(1).address(), text("d@example.test"));
}

void TestMessageBuilder::namesOfManyScriptsInOneListSurvive()
{
    Eas::MailItem sent = item(text("1"));
    sent.to = text("\"Erin Müller\" <e@example.test>, \"山田 太郎\" <y@example.test>, "
                   "plain@example.test, \"O'Hara, Zoë\" <z@example.test>");
    sent.cc = text("\"山田 太郎\" <y@example.test>, \"Erin Müller\" <e@example.test>");
    const QMailMessage message = through(sent);
    QStringList names;
    const QList<QMailAddress> all = message.to() + message.cc();
    for (const QMailAddress &address : all)
        names.append(address.name());
    QCOMPARE(names,
             QStringList({text("Erin Müller"), text("山田 太郎"), text("plain@example.test"),
                          text("O'Hara, Zoë"), text("山田 太郎"), text("Erin Müller")}));
}

void TestMessageBuilder::oddAddresses_data()
{
    QTest::addColumn<QString>("header");
    QTest::addColumn<int>("least");
    QTest::newRow("empty") << QString() << 0;
    QTest::newRow("blank") << text("  ") << 0;
    QTest::newRow("no address") << text("undisclosed-recipients:;") << 0;
    QTest::newRow("only a name") << text("Somebody") << 1;
    QTest::newRow("only quotes") << text("\"") << 0;
    QTest::newRow("unbalanced") << text("\"A <a@b.test>, (c <d@e.test") << 0;
    QTest::newRow("header injection") << text("a@b.test\r\nBcc: x@y.test") << 1;
    QTest::newRow("commas alone") << QString(1000, QLatin1Char(',')) << 0;
    QTest::newRow("very long") << QString(1000000, QLatin1Char('a')) << 1;
    QTest::newRow("brackets alone") << QString(5000, QLatin1Char('<')) << 0;
    QTest::newRow("parentheses alone") << QString(5000, QLatin1Char('(')) << 0;
    QStringList many;
    for (int i = 0; i < 1000; ++i)
        many.append(QStringLiteral("\"User %1\" <user%1@example.test>").arg(i));
    QTest::newRow("a thousand") << many.join(text(", ")) << 200; // QMF cuts long headers
}

void TestMessageBuilder::oddAddresses()
{
    QFETCH(QString, header);
    QFETCH(int, least);
    Eas::MailItem sent = item(text("1"));
    sent.from = header;
    sent.to = header;
    sent.cc = header;
    const QMailMessage message = through(sent);
    QVERIFY(message.id().isValid());
    QCOMPARE(message.subject(), text("Hello"));
    QVERIFY(message.headerFieldText(text("Bcc")).isEmpty());
    QVERIFY2(message.to().size() >= least, qPrintable(QString::number(message.to().size())));
}

void TestMessageBuilder::oddSubjects_data()
{
    QTest::addColumn<QString>("subject");
    QTest::addColumn<QString>("expected");
    QTest::newRow("empty") << QString() << QString();
    QTest::newRow("header injection") << text("a\r\nBcc: x@y.test") << text("a  Bcc: x@y.test");
    QTest::newRow("encoded word") << text("=?utf-8?q?x?=") << text("=?utf-8?q?x?=");
    QTest::newRow("control characters")
        << text("a\x01\x1f\x7f") + QLatin1Char('b') << text("a   b");
    QTest::newRow("tabs") << text("a\tb") << text("a b");
    QTest::newRow("half a pair") << QString(QChar(0xd83c)) + text("x")
                                 << QString(QChar::ReplacementCharacter) + text("x");
    QTest::newRow("huge") << QString(5000000, QLatin1Char('s')) << QString(4096, QLatin1Char('s'));
}

void TestMessageBuilder::oddSubjects()
{
    QFETCH(QString, subject);
    QFETCH(QString, expected);
    const QMailMessage message = through(item(text("1"), subject));
    QVERIFY(message.id().isValid());
    QVERIFY(message.headerFieldText(text("Bcc")).isEmpty());
    QCOMPARE(message.subject(), expected);
}

void TestMessageBuilder::emptyTextBecomesOneLineBreak()
{
    QCOMPARE(through(item(text("1"), text("Empty"), "")).body().data(), text("\n"));
}

void TestMessageBuilder::messageWithoutBodyIsNotTakenForComplete()
{
    Eas::MailItem sent = item(text("1"));
    sent.body.reset();
    const QMailMessage message = through(sent);
    QCOMPARE(message.subject(), text("Hello"));
    QCOMPARE(message.status() & (Message::ContentAvailable | Message::PartialContentAvailable),
             quint64(0));
    QVERIFY(message.body().length() > 0);
}

void TestMessageBuilder::cutTextIsPartial()
{
    Eas::MailItem sent = item(text("1"));
    sent.body->truncated = true;
    sent.body->estimatedSize = 100000;
    const QMailMessage message = through(sent);
    QCOMPARE(message.status() & (Message::ContentAvailable | Message::PartialContentAvailable),
             quint64(Message::PartialContentAvailable));
    QCOMPARE(message.size(), 100000u);
}

void TestMessageBuilder::htmlStaysHtmlAndHasAPreview()
{
    Eas::MailItem sent = item(text("1"));
    sent.body->type = Eas::Html;
    sent.body->data = "<html><head><title>T</title></head><style>p {}</style><!-- no --><p>Grüße "
                      "&amp; &lt;mehr&gt;</p></html>";
    const QMailMessage message = through(sent);
    QCOMPARE(message.contentType().content(), QByteArray("text/html"));
    QCOMPARE(message.body().data(), QString::fromUtf8(sent.body->data));
    QCOMPARE(message.preview(), text("TGrüße & <mehr>")); // as QMF makes it
}

void TestMessageBuilder::attachmentIsListedButNotHere()
{
    Eas::MailItem sent = item(text("1"));
    sent.attachments = QList<Eas::Attachment> {attachment(text("a b.pdf"), text("ref/1"), 14014)};
    const QMailMessage message = through(sent);
    QCOMPARE(message.multipartType(), QMailMessage::MultipartMixed);
    QCOMPARE(message.partCount(), 2u);
    QCOMPARE(message.partAt(0u).body().data(), text("How are you?\n"));
    QVERIFY(message.partAt(0u).contentAvailable());
    const QMailMessagePart part = message.partAt(1u);
    QVERIFY(!part.contentAvailable());
    QCOMPARE(part.displayName(), text("a b.pdf"));
    QCOMPARE(part.contentType().content(), QByteArray("application/pdf"));
    QCOMPARE(part.contentDisposition().type(), QMailMessageContentDisposition::Attachment);
    QCOMPARE(part.contentDisposition().size(), 14014);
    QCOMPARE(message.findAttachmentLocations().size(), 1);
    QCOMPARE(message.status() & Message::ContentAvailable, quint64(0));
    QVERIFY(message.status() & Message::HasAttachments);
    QVERIFY(message.status() & Message::PartialContentAvailable);
}

void TestMessageBuilder::attachmentNames_data()
{
    QTest::addColumn<QString>("name");
    QTest::addColumn<QString>("shown");
    QTest::newRow("umlauts") << text("Prüfung 2026.txt") << text("Prüfung 2026.txt");
    QTest::newRow("CJK") << text("見積書.pdf") << text("見積書.pdf");
    QTest::newRow("quotes") << text("a\"b;c=d.txt") << text("a\"b;c=d.txt");
    QTest::newRow("path") << text("../../etc/passwd") << text("passwd");
    QTest::newRow("DOS path") << text("C:\\x\\y.doc") << text("y.doc");
    QTest::newRow("line break") << text("a\r\nX-Evil: 1.txt") << text("a  X-Evil: 1.txt");
    QTest::newRow("percent") << text("100%25.txt") << text("100%25.txt");
    QTest::newRow("apostrophes") << text("it''s.txt") << text("it''s.txt");
    QTest::newRow("long") << QString(3000, QLatin1Char('n')) << QString(255, QLatin1Char('n'));
}

void TestMessageBuilder::attachmentNames()
{
    QFETCH(QString, name);
    QFETCH(QString, shown);
    Eas::MailItem sent = item(text("1"));
    sent.attachments = QList<Eas::Attachment> {attachment(name, text("ref"))};
    const QMailMessage message = through(sent);
    QCOMPARE(message.partCount(), 2u);
    QCOMPARE(message.partAt(1u).displayName(), shown);
    QVERIFY(message.partAt(1u).headerFieldText(text("X-Evil")).isEmpty());
}

void TestMessageBuilder::attachmentTypeIsGuessedFromTheName()
{
    Eas::MailItem sent = item(text("1"));
    Eas::Attachment told = attachment(text("x.bin"), text("2"));
    told.contentType = text("Image/PNG; foo=bar");
    Eas::Attachment mail = attachment(text("Fwd"), text("3"));
    mail.method = 5;
    Eas::Attachment evil = attachment(text("x"), text("4"));
    evil.contentType = text("text/plain\r\nX-Evil: 1");
    sent.attachments =
        QList<Eas::Attachment> {attachment(text("photo.jpeg"), text("1")), told, mail, evil,
                                attachment(text("x.unknown"), text("5"))};
    const QMailMessage message = through(sent);
    QCOMPARE(message.partCount(), 6u);
    QList<QByteArray> types;
    for (uint i = 1; i < message.partCount(); ++i)
        types.append(message.partAt(i).contentType().content().toLower());
    QCOMPARE(types,
             QList<QByteArray>({"image/jpeg", "image/png", "message/rfc822",
                                "application/octet-stream", "application/octet-stream"}));
}

void TestMessageBuilder::imageShownInTheTextIsRelated()
{
    Eas::MailItem sent = item(text("1"));
    sent.body->type = Eas::Html;
    sent.body->data = "<img src=\"cid:pic1@elsewhere.test\">";
    Eas::Attachment image = attachment(text("pic.png"), text("r2"));
    image.contentId = text("pic1@elsewhere.test");
    image.isInline = true;
    sent.attachments = QList<Eas::Attachment> {image, attachment(text("a.txt"), text("r3"))};
    const QMailMessage message = through(sent);
    QCOMPARE(message.multipartType(), QMailMessage::MultipartMixed);
    QCOMPARE(message.partCount(), 2u);
    const QMailMessagePart related = message.partAt(0u);
    QCOMPARE(related.multipartType(), QMailMessage::MultipartRelated);
    QCOMPARE(related.partCount(), 2u);
    QCOMPARE(related.partAt(1u).contentID(), text("pic1@elsewhere.test"));
    QCOMPARE(Store::MessageBuilder::fileReference(related.partAt(1u)), text("r2"));
    QVERIFY(message.hasHtmlBody());
    QCOMPARE(message.findAttachmentLocations().size(), 1);
}

void TestMessageBuilder::fileReferenceSurvivesAsItIs()
{
    const QString reference = text("mail/Pr%26APw-f%20 ü\t\"x\"/1/2?=;");
    Eas::MailItem sent = item(text("1"));
    sent.attachments = QList<Eas::Attachment> {attachment(text("a.txt"), reference)};
    const QMailMessage message = through(sent);
    QCOMPARE(Store::MessageBuilder::fileReference(message.partAt(1u)), reference);
    QVERIFY(Store::MessageBuilder::fileReference(message.partAt(0u)).isEmpty());
    // It is nobody else's business.
    QVERIFY(!message.toRfc2822().contains("mail/Pr"));
    QVERIFY(!message.toRfc2822().contains("Pr%25"));
}

void TestMessageBuilder::conversationIsKept()
{
    Eas::MailItem sent = item(text("1"));
    sent.conversationId = QByteArray("\x00\xff\x01<a@b>", 8);
    QCOMPARE(Store::MessageBuilder::conversationId(through(sent)), *sent.conversationId);
}

void TestMessageBuilder::wholeMimeMessageIsParsed()
{
    Eas::MailItem sent = item(text("1"));
    sent.body->type = Eas::Mime;
    sent.body->data =
        "From: x@y.test\r\nSubject: Signed\r\nMIME-Version: 1.0\r\n"
        "Content-Type: multipart/mixed; boundary=b\r\n\r\n--b\r\n"
        "Content-Type: text/plain\r\n\r\nText\r\n--b\r\n"
        "Content-Type: image/png\r\nContent-Disposition: attachment; filename=a.png\r\n"
        "Content-Transfer-Encoding: base64\r\n\r\nAAEC\r\n--b--\r\n";
    const QMailMessage message = through(sent);
    QCOMPARE(message.partCount(), 2u);
    QVERIFY(message.partAt(1u).contentAvailable());
    QCOMPARE(message.partAt(1u).body().data(QMailMessageBody::Decoded),
             QByteArray("\x00\x01\x02", 3));
    QVERIFY(message.status() & Message::ContentAvailable);
    QVERIFY(message.status() & Message::HasAttachments);
    QCOMPARE(message.subject(), text("Hello"));
}

void TestMessageBuilder::mimeWithAbsurdStructureDoesNoHarm()
{
    Eas::MailItem sent = item(text("1"));
    sent.body->type = Eas::Mime;
    for (const QByteArray &mail : {nested(20000), flat(20000)}) {
        sent.body->data = mail;
        sent.serverId += text("x");
        const QMailMessage message = through(sent);
        QVERIFY(message.id().isValid());
        QCOMPARE(message.subject(), text("Hello"));
        QCOMPARE(message.partCount(), 0u);
    }
    sent.body->data = nested(20);
    sent.serverId = text("2");
    QCOMPARE(through(sent).partCount(), 1u);
}

/** A forward would send the file. */
void TestMessageBuilder::contentIsNotTakenFromAFileOfThisMachine()
{
    QTemporaryFile secret;
    QVERIFY(secret.open() && secret.write("secret") == 6 && secret.flush());
    const QString url = QUrl::fromLocalFile(secret.fileName()).toString();
    const QString encoded =
        QStringLiteral("=?utf-8?B?%1?=").arg(QString::fromLatin1(url.toUtf8().toBase64()));
    int number = 0;
    for (const QString &location : {url, url.toUpper().left(5) + url.mid(5), encoded}) {
        Eas::MailItem sent = item(QString::number(++number));
        sent.attachments = QList<Eas::Attachment> {attachment(text("a.bin"), text("ref/1"))};
        sent.attachments->first().contentLocation = location;
        const QMailMessage built = through(sent);
        QCOMPARE(built.partCount(), 2u);
        QVERIFY(!built.partAt(1u).hasBody());

        sent = item(QString::number(++number));
        sent.body->type = Eas::Mime;
        sent.body->data = "Content-Type: multipart/mixed; boundary=b\r\n\r\n--b\r\n"
                          "Content-Type: application/octet-stream\r\nContent-Location: "
            + location.toUtf8() + "\r\n\r\nreal\r\n--b--\r\n";
        const QMailMessage parsed = through(sent);
        QCOMPARE(parsed.partCount(), 1u);
        QCOMPARE(parsed.partAt(0u).body().data(QMailMessageBody::Decoded), QByteArray("real"));
    }
    Eas::MailItem relative = item(text("r"));
    relative.attachments = QList<Eas::Attachment> {attachment(text("a.png"), text("ref/1"))};
    relative.attachments->first().contentLocation = text("image001.png");
    QCOMPARE(through(relative).partAt(1u).contentLocation(), text("image001.png"));
}

/** By them we fetch an attachment, and send it with a forward. */
void TestMessageBuilder::internalHeadersOfOthersAreNotBelieved()
{
    Eas::MailItem sent = item(text("1"));
    sent.body->type = Eas::Mime;
    sent.body->data =
        "X-QMF-internal-own: 1\r\nContent-Type: multipart/mixed; boundary=b\r\n\r\n--b\r\n"
        "Content-Type: application/octet-stream\r\n"
        "x-qmf-internal-file-reference: other\r\n"
        "X-qmf-internal-partial-content: 1\r\n\r\nreal\r\n--b--\r\n";
    const QMailMessage message = through(sent);
    QCOMPARE(message.partCount(), 1u);
    QVERIFY(message.headerField(text("X-qmf-internal-own")).isNull());
    QCOMPARE(Store::MessageBuilder::fileReference(message.partAt(0u)), QString());
    QVERIFY(message.partAt(0u).headerField(text("X-qmf-internal-partial-content")).isNull());
    QVERIFY(message.partAt(0u).contentAvailable());
}

void TestMessageBuilder::linesEndAlike_data()
{
    QTest::addColumn<QByteArray>("told");
    QTest::addColumn<QByteArray>("stored");

    const QByteArray lines("a\r\nb\r\n");
    QTest::newRow("as they are") << lines << lines;
    QTest::newRow("LF") << QByteArray("a\nb\n") << lines;
    QTest::newRow("CR") << QByteArray("a\rb\r") << lines;
    QTest::newRow("all of them") << QByteArray("a\n\r\n\rb\n") << QByteArray("a\r\n\r\n\r\nb\r\n");
    QTest::newRow("no end") << QByteArray("a") << QByteArray("a");
    QTest::newRow("NUL") << QByteArray("\0a\0\r\0\nb\0", 8) << QByteArray("a\r\n\r\nb");
    QTest::newRow("NUL alone") << QByteArray("\0", 1) << QByteArray("\r\n");
    QTest::newRow("nothing") << QByteArray() << QByteArray("\r\n");
}

void TestMessageBuilder::linesEndAlike()
{
    QFETCH(QByteArray, told);
    QFETCH(QByteArray, stored);
    QCOMPARE(Store::MailText::storableText(told), stored);
}

void TestMessageBuilder::datesOutOfRange_data()
{
    QTest::addColumn<QDateTime>("date");
    QTest::newRow("year 1601") << QDateTime(QDate(1601, 1, 1), QTime(0, 0), Qt::UTC);
    QTest::newRow("year 9999") << QDateTime(QDate(9999, 12, 31), QTime(23, 59, 59), Qt::UTC);
    QTest::newRow("epoch") << QDateTime(QDate(1970, 1, 1), QTime(0, 0), Qt::UTC);
}

void TestMessageBuilder::datesOutOfRange()
{
    QFETCH(QDateTime, date);
    Eas::MailItem sent = item(text("1"));
    sent.dateReceived = date;
    const QMailMessage message = through(sent);
    QVERIFY(message.id().isValid());
    QCOMPARE(message.receivedDate().toUTC(), date);
    sent.serverId = text("2");
    sent.dateReceived.reset();
    QVERIFY(through(sent).receivedDate().isValid());
}

void TestMessageBuilder::sentAndDraftFoldersMarkTheirMessages()
{
    const quint64 sent = through(item(text("1")), "se"_folder).status();
    QVERIFY(sent & Message::Sent);
    QCOMPARE(sent & (Message::Incoming | Message::Outbox), quint64(0));
    QVERIFY(through(item(text("1")), "dr"_folder).status() & Message::Draft);
    QVERIFY(through(item(text("1")), "tr"_folder).status() & Message::Trash);
}

QTEST_GUILESS_MAIN(TestMessageBuilder)
#include "tst_messagebuilder.moc"
