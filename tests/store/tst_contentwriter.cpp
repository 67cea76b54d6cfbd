// SPDX-License-Identifier: LGPL-2.1-or-later
#include "daemon/store/incoming/contentwriter.h"
#include "daemon/store/incoming/foundwriter.h"
#include "tests/store/items.h"
#include "tests/support/storefixture.h"

#include <QCryptographicHash>
#include <QDir>
#include <qmailstore.h>
#include <QProcess>
#include <QTemporaryDir>
#include <QTest>

#include <algorithm>

Q_DECLARE_METATYPE(Eas::Attachment)

using namespace Items;
namespace ContentWriter = Store::ContentWriter;

namespace {

using Message = QMailMessageMetaData;

QByteArray digest(QByteArray content, bool isText)
{
    if (isText) {
        content.replace("\r\n", "\n");
        while (content.endsWith('\n'))
            content.chop(1);
    }
    return QCryptographicHash::hash(content, QCryptographicHash::Sha1).toHex();
}

void appendDigests(const QMailMessagePartContainer &container, QList<QByteArray> *digests)
{
    if (container.multipartType() != QMailMessagePartContainer::MultipartNone) {
        for (uint i = 0; i < container.partCount(); ++i)
            appendDigests(container.partAt(i), digests);
        return;
    }
    const QByteArray type = container.contentType().type().toLower();
    if (type == "message")
        digests->append("message");
    else
        digests->append(digest(container.body().data(QMailMessageBody::Decoded),
                               container.transferEncoding() != QMailMessageBody::Base64));
}

/** The highest memory that this process had so far, in KiB. */
long peakMemory()
{
    QFile status(text("/proc/self/status"));
    if (!status.open(QIODevice::ReadOnly))
        return 0;
    for (const QByteArray &line : status.readAll().split('\n')) {
        if (line.startsWith("VmHWM:"))
            return line.mid(6).simplified().split(' ').first().toLong();
    }
    return 0;
}

} // namespace

/** Downloaded content in messages that are in the mail store already. */
class TestContentWriter : public QObject
{
    Q_OBJECT

private slots:
    void init();
    void cleanup();

    void wholeMessageKeepsIdAndFlags();
    void wholeMessageSurvivesTheNextChangeOfFlags();
    void sampleMessagesKeepTheirParts_data();
    void sampleMessagesKeepTheirParts();
    void aDraftThatItsAuthorHasEditedIsNotReplaced();
    void aFoundDraftThatItsAuthorHasEditedIsNotReplaced();
    void aDraftThatHadComeInPartKeepsItsAuthorsText();
    void emptyMessageGetsALineBreak();
    void uselessFileLeavesTheMessageAsItWas();
    void messageThatLostItsContentGetsItAgain();
    void messageThatQmfDoesNotGetOverIsNotParsed_data();
    void messageThatQmfDoesNotGetOverIsNotParsed();
    void messageWithAParameterOfALongNameIsNotParsed_data();
    void messageWithAParameterOfALongNameIsNotParsed();
    void partIsDescribed();
    void anAttachmentOfSeveralOfItsNameIsFoundInANewList_data();
    void anAttachmentOfSeveralOfItsNameIsFoundInANewList();
    void anAttachmentThatMayBeAnotherIsNotFoundInANewList();
    void partBecomesReadable();
    void lastPartMakesTheMessageWhole();
    void aPartThatHasTakenAnothersPlaceStaysAsItIs_data();
    void aPartThatHasTakenAnothersPlaceStaysAsItIs();
    void emptyPartDoesNoHarm();
    void otherPartsStayAsTheyAre();
    void messageThatIsGoneIsNotFound();
    void largePartTakesLittleMemory();

private:
    QString file(const QByteArray &content);
    /** Replaces the draft by what the server has; the code. */
    int fetch(const QMailMessageId &id, const char *body);
    /** The author makes another text of the draft. */
    void edit(const QMailMessageId &id);
    /** A message with an HTML text and these attachments. */
    QMailMessageId add(const QList<Eas::Attachment> &attachments);
    QMailMessage message() { return m_account->message(text("1")); }

    std::unique_ptr<SyncedAccount> m_account;
    std::unique_ptr<QTemporaryDir> m_directory;
    QMailMessageId m_id;
};

void TestContentWriter::init()
{
    m_account = std::make_unique<SyncedAccount>();
    m_directory =
        std::make_unique<QTemporaryDir>(ContentWriter::downloadFolder() + text("/XXXXXX"));
    Eas::SyncWindow window = adding(text("2"), {item(text("1"), text("With parts"))});
    window.added.first().body->truncated = false;
    window.added.first().attachments =
        QList<Eas::Attachment> {attachment(text("a.bin"), text("ref/1"), 3),
                                attachment(text("Prüfung.pdf"), text("ref/2"), 5000)};
    QCOMPARE(m_account->write(window), 200);
    m_id = message().id();
    QVERIFY(m_id.isValid());
}

void TestContentWriter::cleanup()
{
    m_directory.reset();
    m_account.reset();
}

QString TestContentWriter::file(const QByteArray &content)
{
    static int count = 0;
    QFile file(m_directory->filePath(QString::number(++count)));
    if (!file.open(QIODevice::WriteOnly) || file.write(content) != content.size())
        qFatal("cannot write a file for the test");
    return file.fileName();
}

QMailMessageId TestContentWriter::add(const QList<Eas::Attachment> &attachments)
{
    Eas::MailItem shown = item(text("9"), text("With more parts"));
    shown.body->type = Eas::Html;
    shown.attachments = attachments;
    m_account->write(adding(text("3"), {shown}));
    return m_account->message(text("9")).id();
}

void TestContentWriter::wholeMessageKeepsIdAndFlags()
{
    QVERIFY(QMailStore::instance()->updateMessagesMetaData(
        QMailMessageKey::id(m_id), Message::Read | Message::Important, true));
    const QString uid = message().serverUid();
    const QString path =
        file("Received: from x by y\r\nFrom: Carol <c@d.test>\r\n"
             "Subject: =?utf-8?q?Gr=C3=BC=C3=9Fe?=\r\nX-Own: 1\r\n\r\nThe text\r\n");
    QVERIFY(ContentWriter::replaceMessage(m_id, path).ok());
    QFile::remove(path);
    const QMailMessage after = message();
    QCOMPARE(after.id(), m_id);
    QCOMPARE(after.serverUid(), uid);
    QCOMPARE(after.parentFolderId(), m_account->folderId());
    QCOMPARE(after.subject(), text("Grüße"));
    QCOMPARE(after.headerFieldText(text("X-Own")), text("1"));
    QCOMPARE(after.partCount(), 0u);
    QCOMPARE(after.body().data(), text("The text\n"));
    QVERIFY(after.status() & Message::ContentAvailable);
    QVERIFY(!(after.status() & Message::HasAttachments));
    QVERIFY(after.status() & Message::Read);
    QVERIFY(!(after.status() & Message::ReadElsewhere));
    QVERIFY(after.status() & Message::Important);
    QVERIFY(after.status() & Message::Incoming);
    QCOMPARE(after.receivedDate().toUTC(), *item(text("1")).dateReceived);
}

void TestContentWriter::wholeMessageSurvivesTheNextChangeOfFlags()
{
    QVERIFY(ContentWriter::replaceMessage(m_id, file("Subject: With parts\r\n\r\nWhole\r\n")).ok());
    Eas::SyncWindow window = changing(text("3"), {item(text("1"), text("With parts"))});
    window.changed.first().attachments =
        QList<Eas::Attachment> {attachment(text("a.bin"), text("ref/1"), 3),
                                attachment(text("Prüfung.pdf"), text("ref/2"), 5000)};
    window.changed.first().read = true;
    QCOMPARE(m_account->write(window), 200);
    QCOMPARE(message().body().data(), text("Whole\n"));
    QVERIFY(message().status() & Message::Read);
    // And a reconciliation.
    window.syncKey = text("4");
    QCOMPARE(m_account->write(window), 200);
    QCOMPARE(message().body().data(), text("Whole\n"));
}

void TestContentWriter::sampleMessagesKeepTheirParts_data()
{
    QTest::addColumn<QString>("path");
    const QDir samples(qEnvironmentVariable("ORVMAIL_SOURCE_DIR") + text("/tests/data/mail"));
    // Readers differ on these.
    const QStringList damaged {text("attachment-uuencode"),
                               text("body-damaged-qp"),
                               text("body-empty-multipart"),
                               text("body-no-boundary"),
                               text("body-no-last-boundary"),
                               text("headers-missing"),
                               text("nothing")};
    for (const QFileInfo &info : samples.entryInfoList({text("*.eml")}, QDir::Files)) {
        if (!damaged.contains(info.baseName()))
            QTest::newRow(qPrintable(info.fileName())) << info.filePath();
    }
    QVERIFY(samples.exists());
}

void TestContentWriter::sampleMessagesKeepTheirParts()
{
    QFETCH(QString, path);
    QProcess python;
    python.start(
        text("python3"),
        {qEnvironmentVariable("ORVMAIL_SOURCE_DIR") + text("/tests/store/mimedigests.py"), path});
    QVERIFY(python.waitForFinished());
    QCOMPARE(python.exitCode(), 0);
    const QList<QByteArray> expected = python.readAllStandardOutput().trimmed().split('\n');
    QVERIFY(ContentWriter::replaceMessage(m_id, path).ok());
    QList<QByteArray> found;
    appendDigests(message(), &found);
    QCOMPARE(found, expected);
}

/** While it is fetched, or after it was. */
void TestContentWriter::aDraftThatItsAuthorHasEditedIsNotReplaced()
{
    const Eas::FolderId drafts = "dr"_folder;
    const QString number = text("7");
    QCOMPARE(m_account->write(adding(text("2"), {item(number, text("Draft"))}, drafts)), 200);
    const QMailMessageId id = m_account->message(number, drafts).id();
    QCOMPARE(fetch(id, "of the server"), 200);
    QCOMPARE(fetch(id, "of the server, again"), 200);
    QCOMPARE(QMailMessage(id).body().data(), text("of the server, again"));
    edit(id);
    QCOMPARE(fetch(id, "of the server, too late"), 200);
    QCOMPARE(QMailMessage(id).body().data(), text("of the author"));
    QCOMPARE(ContentWriter::replaceText(id, item(number, text("Draft"))).code, 200);
    QCOMPARE(QMailMessage(id).body().data(), text("of the author"));
}

int TestContentWriter::fetch(const QMailMessageId &id, const char *body)
{
    return ContentWriter::replaceMessage(id, file(QByteArray("Subject: Draft\r\n\r\n") + body))
        .code;
}

void TestContentWriter::edit(const QMailMessageId &id)
{
    QMailMessage draft(id);
    draft.setBody(QMailMessageBody::fromData(QStringLiteral("of the author"),
                                             QMailMessageContentType("text/plain; charset=UTF-8"),
                                             QMailMessageBody::EightBit));
    QVERIFY(QMailStore::instance()->updateMessage(&draft));
    QCOMPARE(QMailMessage(id).body().data(), text("of the author"));
}

void TestContentWriter::aFoundDraftThatItsAuthorHasEditedIsNotReplaced()
{
    const Store::FoundItem found {Store::ServerUid::item("dr"_folder, text("7")),
                                  item(text("7"), text("Draft"))};
    Store::FoundWriter search(m_account->db, m_account->id, {found});
    QVERIFY(search.run().ok());
    const QMailMessageId id = search.messages().value(0);
    edit(id);
    QCOMPARE(fetch(id, "of the server"), 200);
    QCOMPARE(QMailMessage(id).body().data(), text("of the author"));
}

/** What has come of it since, whole, is not known to be another text. */
void TestContentWriter::aDraftThatHadComeInPartKeepsItsAuthorsText()
{
    const Eas::FolderId drafts = "dr"_folder;
    Eas::MailItem shown = item(text("7"), text("Draft"), "of the");
    shown.body->truncated = true;
    QCOMPARE(m_account->write(adding(text("2"), {shown}, drafts)), 200);
    const QMailMessageId id = m_account->message(text("7"), drafts).id();
    QCOMPARE(fetch(id, "of the server"), 200);
    edit(id);
    shown.subject = text("Another subject");
    shown.body->data = "of the server";
    shown.body->truncated = false;
    QCOMPARE(m_account->write(changing(text("3"), {shown}, drafts)), 200);
    QCOMPARE(QMailMessage(id).subject(), *shown.subject);
    QCOMPARE(QMailMessage(id).body().data(), text("of the author"));
    // From then on, what is another text is known.
    shown.subject = text("A third subject");
    shown.body->data = "of another client";
    QCOMPARE(m_account->write(changing(text("4"), {shown}, drafts)), 200);
    QCOMPARE(QMailMessage(id).body().data(), text("of another client"));
}

void TestContentWriter::emptyMessageGetsALineBreak()
{
    QVERIFY(ContentWriter::replaceMessage(m_id, file("Subject: Nothing\r\n\r\n")).ok());
    QVERIFY(message().body().length() > 0);
    QVERIFY(ContentWriter::replaceMessage(m_id, file("Subject: Nothing\r\n")).ok());
    QVERIFY(message().body().length() > 0);
}

void TestContentWriter::uselessFileLeavesTheMessageAsItWas()
{
    QByteArray absurd = "MIME-Version: 1.0\r\n";
    for (int i = 0; i < 3000; ++i) {
        const QByteArray mark = "b" + QByteArray::number(i);
        absurd += "Content-Type: multipart/mixed; boundary=" + mark + "\r\n\r\n--" + mark + "\r\n";
    }
    QCOMPARE(ContentWriter::replaceMessage(m_id, file("")).code, 501);
    QCOMPARE(ContentWriter::replaceMessage(m_id, text("/does/not/exist")).code, 501);
    QCOMPARE(ContentWriter::replaceMessage(m_id, file(absurd)).code, 501);
    QCOMPARE(message().partCount(), 3u);
    QCOMPARE(message().subject(), text("With parts"));
}

void TestContentWriter::messageThatLostItsContentGetsItAgain()
{
    QVERIFY(QFile::remove(message().contentIdentifier()));
    QVERIFY(ContentWriter::replaceMessage(m_id, file("Subject: Back\r\n\r\nThe text\r\n")).ok());
    QCOMPARE(message().id(), m_id);
    QCOMPARE(message().body().data(), text("The text\n"));
}

void TestContentWriter::messageThatQmfDoesNotGetOverIsNotParsed_data()
{
    const auto nested = [](const QByteArray &begin) {
        return "MIME-Version: 1.0\r\n" + begin + QByteArray(begin).repeated(200);
    };
    const QByteArray type = "Content-Type: text/plain";
    QTest::addColumn<QByteArray>("content");
    QTest::addColumn<int>("code");
    QTest::newRow("nested, a boundary in pieces")
        << nested("Content-Type: multipart/mixed; boundary*0=x\r\n\r\n--x\r\n") << 501;
    QTest::newRow("nested, an encoded boundary")
        << nested("Content-Type: multipart/mixed; boundary*=us-ascii''x\r\n\r\n--x\r\n") << 501;
    QTest::newRow("nested, a folded boundary")
        << nested("Content-Type: multipart/mixed; boundary\r\n =x\r\n\r\n--x\r\n") << 501;
    QTest::newRow("nested, no boundary") << nested("x--\nContent-Type: multipart/mixed\n\n") << 501;
    QTest::newRow("nested, a folded name")
        << nested("Content-Type\r\n : multipart/mixed\r\n\r\n--x\r\n") << 501;
    QTest::newRow("many parts, no boundary")
        << "Content-Type: multipart/mixed\r\n\r\n" + QByteArray("a\r\n--\r\n").repeated(2000)
        << 501;
    QTest::newRow("a charset that ends in %")
        << type + "; charset*=us-ascii''%\r\n\r\nHello" << 501;
    QTest::newRow("a folded one") << type + ";\r\n charset*\r\n =us-ascii''%4\r\n\r\nHello" << 501;
    QTest::newRow("a boundary") << QByteArray(
        "Content-Type: multipart/mixed; boundary*=''%\r\n\r\n--b\r\n\r\nHello")
                                << 501;
    QTest::newRow("a name in pieces")
        << type + "; name*0*=us-ascii''a; name*1=\"b%\"; x=y\r\n\r\nHello" << 501;
    QTest::newRow("behind a semicolon") << type + "; name*=\"us-ascii''%41;%\"\r\n\r\nHello" << 501;
    QTest::newRow("beside a plain one")
        << type + "; name*=us-ascii''a; name=\"b%\"\r\n\r\nHello" << 501;
    QTest::newRow("of the place") << QByteArray(
        "Content-Disposition: attachment; filename*=''a%4\r\n\r\nHello")
                                  << 501;
    QTest::newRow("folded in the value") << type + "; name*=us-ascii''a%\r\n b\r\n\r\nHello" << 501;
    QTest::newRow("plain pieces") << type + "; name*0=\"20% \"; name*1=\"100%\"\r\n\r\nHello"
                                  << 200;
    QTest::newRow("a piece cut in a byte")
        << type + "; name*0*=utf-8''a%4; name*1*=1.txt\r\n\r\nHello" << 200;
    QTest::newRow("not cut at the end") << type + "; name*=utf-8''100%.pdf\r\n\r\nHello" << 200;
    QTest::newRow("style in the text") << type + "\r\n\r\na[name*=\"x\"]{width:100%}\r\n" << 200;
    QTest::newRow("multiparts in the text") << type + "\r\n\r\nRe: multipart; "
            + QByteArray(70, 'a') + "=b\r\n" + QByteArray("a: multipart\r\n").repeated(100)
                                            << 200;
    QTest::newRow("many types in one")
        << type + QByteArray("\r\n content-type:").repeated(5000) + "\r\n\r\nHello" << 501;
    QTest::newRow("a whole name") << type + "; name*=utf-8''100%25; charset=utf-8\r\n\r\nHello"
                                  << 200;
    QTest::newRow("not encoded") << type + "; name=\"100%\"\r\n\r\nHello" << 200;
    QTest::newRow("in the text") << QByteArray("Subject: a\r\n\r\nx*=5%; name *= 5%20") << 200;
    QTest::newRow("many lists of addresses")
        << QByteArray("To: a@b.test\r\n").repeated(21) + "\r\nHello" << 501;
    QTest::newRow("a long head") << "X-A: " + QByteArray(300000, 'a') + "\r\n\r\nHello" << 501;
    QTest::newRow("a long subject")
        << "Subject: " + QByteArray("[]").repeated(10000) + "\r\n\r\nHello" << 501;
    QTest::newRow("many recipients") << "To: " + QByteArray("aaaaaaaaa@b.test,\r\n ").repeated(2000)
            + "c@d.test\r\n\r\nHello" << 200;
    QTest::newRow("a long text") << "Subject: a\r\n\r\n" + QByteArray("To: a\r\n").repeated(50000)
                                 << 200;
}

/** The daemon, and each program that shows the message, would crash or stand still. */
void TestContentWriter::messageThatQmfDoesNotGetOverIsNotParsed()
{
    QFETCH(QByteArray, content);
    QFETCH(int, code);
    QCOMPARE(ContentWriter::replaceMessage(m_id, file(content)).code, code);
    QCOMPARE(message().subject() == text("With parts"), code != 200);
}

void TestContentWriter::messageWithAParameterOfALongNameIsNotParsed_data()
{
    const QByteArray name(70, 'a');
    const QByteArray value(70, 'v');
    const QByteArray mixed = "Content-Type: multipart/mixed";
    const QByteArray end = "\r\n\r\n--b\r\n\r\nHello\r\n--b--\r\n";
    QTest::addColumn<QByteArray>("content");
    QTest::addColumn<int>("code");
    QTest::newRow("without a boundary") << mixed + "; " + name + "=v" + end << 501;
    QTest::newRow("in other letters")
        << "CONTENT-type : Multipart/mixed; c=d; " + name + "=v" + end << 501;
    QTest::newRow("folded") << mixed + ";\r\n " + name + "\r\n =v" + end << 501;
    QTest::newRow("with a semicolon")
        << mixed + "; \"" + name.left(35) + ";" + name.left(35) + "\"=v" + end << 501;
    QTest::newRow("of a part") << mixed + "; boundary=b\r\n\r\n--b\r\n" + mixed + "; " + name + "=v"
            + end << 501;
    QTest::newRow("with lines that end otherwise")
        << QByteArray(mixed + ";\n " + name + "=v" + end).replace("\r\n", "\n") << 501;
    QTest::newRow("usual names") << mixed + ";\r\n boundary=\"b\";\r\n other=\"" + value
            + "\"; third=d" + end << 200;
    QTest::newRow("not of parts") << "Content-Type: text/plain; " + name + "=v\r\n\r\nHello" << 200;
    QTest::newRow("in the text") << "Subject: How\r\n\r\nContent-Type: multipart/mixed\r\n; " + name
            + "=v\r\n" << 200;
}

/** The mail store would not come to an end with it, and take all memory. */
void TestContentWriter::messageWithAParameterOfALongNameIsNotParsed()
{
    QFETCH(QByteArray, content);
    QFETCH(int, code);
    QCOMPARE(ContentWriter::replaceMessage(m_id, file(content)).code, code);
    const bool isParsed = message().subject() != text("With parts");
    QCOMPARE(isParsed, code == 200);
}

void TestContentWriter::partIsDescribed()
{
    Store::PartSource source;
    const QString location = message().partAt(2u).location().toString(true);
    for (const QString &place : {text("3"), location}) {
        QVERIFY(ContentWriter::partSource(m_id, place, &source).ok());
        QCOMPARE(source.fileReference, text("ref/2"));
        QCOMPARE(source.estimatedSize, qint64(5000));
        QVERIFY(!source.available);
    }
    QVERIFY(ContentWriter::partSource(m_id, text("1"), &source).ok());
    QVERIFY(source.available);
    QVERIFY(source.fileReference.isEmpty());
    for (const char *place : {"4", "0", "1.1", "", "x", "999999-3", "-1"})
        QCOMPARE(ContentWriter::partSource(m_id, text(place), &source).code, 404);
}

void TestContentWriter::anAttachmentOfSeveralOfItsNameIsFoundInANewList_data()
{
    QTest::addColumn<QList<Eas::Attachment>>("attachments");
    QTest::addColumn<QStringList>("locations");
    QTest::addColumn<bool>("isReversed");
    using List = QList<Eas::Attachment>;
    const Eas::Attachment plain = attachment(text("image.png"), text("ref/1"));
    Eas::Attachment shown = attachment(text("image.png"), text("ref/2"));
    shown.isInline = true;
    shown.contentId = text("image@text");
    Eas::Attachment shownAsWell = attachment(text("image.png"), text("ref/3"));
    shownAsWell.isInline = true;
    shownAsWell.contentId = text("another@text");
    Eas::Attachment withId = attachment(text("image.png"), text("ref/2"));
    withId.contentId = text("image@text");
    const Eas::Attachment larger = attachment(text("image.png"), text("ref/2"), 2000);
    QTest::newRow("alike in all") << List {plain, plain} << QStringList {text("2"), text("3")}
                                  << false;
    QTest::newRow("the second is shown in the text")
        << List {plain, shown} << QStringList {text("2"), text("1.2")} << false;
    QTest::newRow("two are shown in the text")
        << List {plain, shown, plain, shownAsWell}
        << QStringList {text("2"), text("1.2"), text("3"), text("1.3")} << false;
    QTest::newRow("told by the content id, in another order")
        << List {plain, withId} << QStringList {text("2"), text("3")} << true;
    QTest::newRow("told by the size, in another order")
        << List {plain, larger} << QStringList {text("2"), text("3")} << true;
    const Eas::Attachment nameless = attachment(QString(), text("ref/1"));
    Eas::Attachment namelessWithId = attachment(text(".."), text("ref/2"));
    namelessWithId.contentId = text("image@text");
    Eas::Attachment image = attachment(QString(), text("ref/3"));
    image.contentType = text("image/png");
    QTest::newRow("without a name") << List {nameless} << QStringList {text("2")} << false;
    QTest::newRow("without a name, with a content id")
        << List {namelessWithId} << QStringList {text("2")} << false;
    QTest::newRow("several without a name")
        << List {nameless, plain, namelessWithId, image}
        << QStringList {text("2"), text("3"), text("4"), text("5")} << true;
}

void TestContentWriter::anAttachmentOfSeveralOfItsNameIsFoundInANewList()
{
    QFETCH(QList<Eas::Attachment>, attachments);
    QFETCH(QStringList, locations);
    QFETCH(bool, isReversed);
    for (int i = 0; i < attachments.size(); ++i)
        attachments[i].fileReference = text("old/%1").arg(i);
    const QMailMessageId id = add(attachments);
    for (int i = 0; i < attachments.size(); ++i)
        attachments[i].fileReference = text("new/%1").arg(i);
    QList<Eas::Attachment> listed = attachments;
    if (isReversed)
        std::reverse(listed.begin(), listed.end());
    for (int i = 0; i < attachments.size(); ++i) {
        Store::PartSource source;
        QVERIFY(ContentWriter::partSource(id, locations.at(i), &source).ok());
        QCOMPARE(source.fileReference, text("old/%1").arg(i));
        QCOMPARE(ContentWriter::matchingReference(id, locations.at(i), listed),
                 text("new/%1").arg(i));
    }
}

void TestContentWriter::anAttachmentThatMayBeAnotherIsNotFoundInANewList()
{
    const QMailMessageId id = add({attachment(text("image.png"), text("ref/1")),
                                   attachment(text("image.png"), text("ref/2"))});
    const QList<Eas::Attachment> listed {attachment(text("image.png"), text("new"))};
    QCOMPARE(ContentWriter::matchingReference(id, text("2"), listed), QString());
    QCOMPARE(ContentWriter::matchingReference(id, text("3"), listed), QString());
}

void TestContentWriter::partBecomesReadable()
{
    const QByteArray content("\x00\x01\xff\r\n\n.\r\n", 10);
    const QString path = file(content);
    QVERIFY(ContentWriter::writePart(m_id, text("2"), text("ref/1"), path).ok());
    QFile::remove(path);
    {
        const QMailMessagePart part = message().partAt(1u);
        QVERIFY(part.contentAvailable());
        QCOMPARE(part.body().data(QMailMessageBody::Decoded), content);
        QCOMPARE(part.displayName(), text("a.bin"));
        QFile copy(part.writeBodyTo(m_directory->path()));
        QVERIFY(copy.open(QIODevice::ReadOnly));
        QCOMPARE(copy.readAll(), content);
    }
    Store::PartSource source;
    QVERIFY(ContentWriter::partSource(m_id, text("2"), &source).ok());
    QVERIFY(source.available);
    QVERIFY(!(message().status() & Message::ContentAvailable));
    // Again, with other content.
    QVERIFY(ContentWriter::writePart(m_id, text("2"), text("ref/1"), file("other")).ok());
    QCOMPARE(message().partAt(1u).body().data(QMailMessageBody::Decoded), QByteArray("other"));
}

void TestContentWriter::lastPartMakesTheMessageWhole()
{
    QVERIFY(ContentWriter::writePart(m_id, text("2"), text("ref/1"), file("one")).ok());
    QVERIFY(!(message().status() & Message::ContentAvailable));
    QVERIFY(ContentWriter::writePart(m_id, text("3"), text("ref/2"), file("two")).ok());
    QVERIFY(message().status() & Message::ContentAvailable);
    QCOMPARE(message().id(), m_id);
    QCOMPARE(message().partAt(1u).body().data(QMailMessageBody::Decoded), QByteArray("one"));
    QCOMPARE(message().partAt(2u).body().data(QMailMessageBody::Decoded), QByteArray("two"));
    QCOMPARE(message().partAt(2u).displayName(), text("Prüfung.pdf"));
}

void TestContentWriter::aPartThatHasTakenAnothersPlaceStaysAsItIs_data()
{
    QTest::addColumn<bool>("isOwn");
    QTest::newRow("a file of the author's") << true;
    QTest::newRow("an attachment that is not here either") << false;
}

/** The author takes an attachment out of a draft while it is fetched. */
void TestContentWriter::aPartThatHasTakenAnothersPlaceStaysAsItIs()
{
    QFETCH(bool, isOwn);
    Store::PartSource source;
    QVERIFY(ContentWriter::partSource(m_id, text("2"), &source).ok());
    QMailMessage edited = message();
    const QByteArray content("the author's own");
    if (isOwn) {
        edited.removePartAt(2);
        edited.appendPart(QMailMessagePart::fromData(
            content, QMailMessageContentDisposition("attachment; filename=own.bin"),
            QMailMessageContentType("application/octet-stream"), QMailMessageBody::Base64));
    }
    edited.removePartAt(1);
    QVERIFY(QMailStore::instance()->updateMessage(&edited));
    const QString path = file("the server's");
    QCOMPARE(ContentWriter::writePart(m_id, text("2"), source.fileReference, path).code, 404);
    QCOMPARE(message().partCount(), 2u);
    const QMailMessagePart part = message().partAt(1u);
    QCOMPARE(part.displayName(), isOwn ? text("own.bin") : text("Prüfung.pdf"));
    QCOMPARE(part.contentAvailable(), isOwn);
    QCOMPARE(part.body().data(QMailMessageBody::Decoded), isOwn ? content : QByteArray());
    QVERIFY(QFile::exists(path));
}

void TestContentWriter::emptyPartDoesNoHarm()
{
    QVERIFY(ContentWriter::writePart(m_id, text("2"), text("ref/1"), file("")).ok());
    QCOMPARE(message().partAt(1u).body().data(QMailMessageBody::Decoded), QByteArray());
    QCOMPARE(message().partCount(), 3u);
}

void TestContentWriter::otherPartsStayAsTheyAre()
{
    QVERIFY(ContentWriter::writePart(m_id, text("3"), text("ref/2"), file("two")).ok());
    QCOMPARE(message().partAt(0u).body().data(), text("How are you?\n"));
    QVERIFY(!message().partAt(1u).contentAvailable());
    Store::PartSource source;
    QVERIFY(ContentWriter::partSource(m_id, text("2"), &source).ok());
    QCOMPARE(source.fileReference, text("ref/1"));
}

void TestContentWriter::messageThatIsGoneIsNotFound()
{
    const QString path = file("Subject: x\r\n\r\nText\r\n");
    QVERIFY(QMailStore::instance()->removeMessage(m_id));
    Store::PartSource source;
    QCOMPARE(ContentWriter::replaceMessage(m_id, path).code, 404);
    QCOMPARE(ContentWriter::writePart(m_id, text("2"), text("ref/1"), path).code, 404);
    QCOMPARE(ContentWriter::partSource(m_id, text("2"), &source).code, 404);
    QCOMPARE(ContentWriter::writePart(QMailMessageId(), text("2"), text("ref/1"), path).code, 404);
}

void TestContentWriter::largePartTakesLittleMemory()
{
#ifdef __SANITIZE_ADDRESS__
    QSKIP("the sanitizer takes memory of its own");
#endif
    const QByteArray block(1 << 20, 'x');
    QFile large(m_directory->filePath(text("large")));
    QVERIFY(large.open(QIODevice::WriteOnly));
    for (int i = 0; i < 100; ++i)
        QCOMPARE(large.write(block), qint64(block.size()));
    large.close();
    const long before = peakMemory();
    QElapsedTimer timer;
    timer.start();
    QVERIFY(ContentWriter::writePart(m_id, text("2"), text("ref/1"), large.fileName()).ok());
    const long more = peakMemory() - before;
    qInfo("100 MiB: %ld MiB more memory, %lld ms", more / 1024, (long long)timer.elapsed());
    QVERIFY2(more < 50 * 1024, qPrintable(QString::number(more)));
}

QTEST_GUILESS_MAIN(TestContentWriter)
#include "tst_contentwriter.moc"
