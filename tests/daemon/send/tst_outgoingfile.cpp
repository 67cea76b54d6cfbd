// SPDX-License-Identifier: LGPL-2.1-or-later
#include "daemon/send/outgoingfile.h"
#include "daemon/store/outgoing/outgoingmail.h"
#include "daemon/store/outgoing/outgoingprint.h"
#include "tests/support/storefixture.h"

#include <QDateTime>
#include <QFile>
#include <qmailmessage.h>
#include <qmailstore.h>
#include <QTest>

#include <functional>
#include <memory>

using Daemon::OutgoingFile;

namespace {

using Body = QMailMessageBody;
using Disposition = QMailMessageContentDisposition;
using File = std::unique_ptr<OutgoingFile>;
using Make = std::function<void(QMailMessage *)>;

/** Bytes that are encoded at a time. */
constexpr int Piece = 57 * 512;

QByteArray noise(int size)
{
    QByteArray bytes(size, Qt::Uninitialized);
    quint32 state = 1;
    for (char &byte : bytes)
        byte = char((state = state * 1664525 + 1013904223) >> 24);
    return bytes;
}

QMailMessagePart part(const QByteArray &content, const char *type = "application/octet-stream",
                      Body::TransferEncoding encoding = Body::Base64,
                      Disposition::DispositionType place = Disposition::Attachment)
{
    Disposition disposition(place);
    disposition.setFilename("plan.bin");
    const bool isEncoded = encoding == Body::SevenBit || encoding == Body::EightBit;
    return QMailMessagePart::fromData(content, disposition, QMailMessageContentType(type), encoding,
                                      isEncoded ? Body::AlreadyEncoded : Body::RequiresEncoding);
}

QMailMessage mixed(const Make &make)
{
    QMailMessage message;
    message.setMessageType(QMailMessage::Email);
    message.setParentFolderId(QMailFolderId(QMailFolder::LocalStorageFolderId));
    message.setFrom(QMailAddress(QStringLiteral("alice@example.test")));
    message.setTo(QMailAddress(QStringLiteral("Bob <bob@example.test>")));
    message.setBcc({QMailAddress(QStringLiteral("carol@example.test"))});
    message.setSubject(QStringLiteral("Größe"));
    message.setDate(QMailTimeStamp(QDateTime::fromSecsSinceEpoch(1700000000)));
    message.setMultipartType(QMailMessage::MultipartMixed);
    message.appendPart(
        part("Hello.\n", "text/plain; charset=UTF-8", Body::QuotedPrintable, Disposition::Inline));
    make(&message);
    return message;
}

/** As a message of which the store's files are composed, or are put in when it is read. */
File compose(const QMailMessageId &id, bool isWhole, int *inserted = nullptr)
{
    QMailMessage message(id);
    const Store::StoredParts stored = isWhole ? Store::StoredParts() : Store::StoredParts(&message);
    Store::Outgoing outgoing;
    outgoing.rfcId = "<one@example.test>";
    outgoing.created = 1700000000;
    File file = std::make_unique<OutgoingFile>();
    QList<Store::Insertion> insertions;
    if (!Store::OutgoingMail::write(message, outgoing, stored, file->device(), &insertions).ok()
        || !file->close(insertions))
        qFatal("cannot compose a message");
    if (inserted)
        *inserted = insertions.size();
    return file;
}

/** All that can be read from there, or so many bytes. */
QByteArray readFrom(QIODevice *device, int piece, qint64 most = -1)
{
    QByteArray all;
    for (;;) {
        const qint64 left = most < 0 ? piece : qMin<qint64>(piece, most - all.size());
        const QByteArray bytes = left > 0 ? device->read(left) : QByteArray();
        if (bytes.isEmpty())
            return all;
        all += bytes;
    }
}

/** A text without what its way may change of its line ends. */
QByteArray withoutReturns(QByteArray text)
{
    return text.replace('\r', "");
}

/** Where the store has the content of the message's second part. */
QString attachedFile(const QMailMessageId &id)
{
    return QMailMessage(id).contentIdentifier() + QStringLiteral("-parts/2");
}

void write(const QString &path, const QByteArray &content)
{
    QFile file(path);
    if (!file.open(QIODevice::ReadWrite) || file.write(content) != content.size())
        qFatal("cannot write a file");
}

} // namespace

Q_DECLARE_METATYPE(Make)

/** How a message is read that is composed while it leaves. */
class TestOutgoingFile : public QObject
{
    Q_OBJECT

private slots:
    void init() { m_account = StoreFixture::addAccount(); }
    void cleanup() { StoreFixture::clear(); }

    void readIsWhatIsComposedWhole_data();
    void readIsWhatIsComposedWhole();
    void whatChangesIsNotReadToItsEnd_data();
    void whatChangesIsNotReadToItsEnd();
    void whatIsRenamedIsRead();
    void aSecondReaderReadsAll();
    void aReaderThatLivesLongerReadsNothing();
    void nothingIsReadThatMayNotLeave();
    void theLastByteIsNotReadThatMayNotEnd();

private:
    QMailMessageId add(QMailMessage message) const;
    /** With one attachment of some pieces, which was written long ago. */
    QMailMessageId addLarge() const;

    QMailAccountId m_account;
};

QMailMessageId TestOutgoingFile::add(QMailMessage message) const
{
    message.setParentAccountId(m_account);
    if (!QMailStore::instance()->addMessage(&message))
        qFatal("cannot add a message");
    return message.id();
}

QMailMessageId TestOutgoingFile::addLarge() const
{
    const QMailMessageId id =
        add(mixed([](QMailMessage *one) { one->appendPart(part(noise(5 * Piece + 100))); }));
    QFile file(attachedFile(id));
    if (!file.open(QIODevice::ReadWrite)
        || !file.setFileTime(QDateTime::fromSecsSinceEpoch(1700000000),
                             QFileDevice::FileModificationTime))
        qFatal("cannot touch a file");
    return id;
}

void TestOutgoingFile::readIsWhatIsComposedWhole_data()
{
    QTest::addColumn<Make>("make");
    QTest::addColumn<int>("inserted");
    const auto row = [](const QByteArray &name, int inserted, const Make &make) {
        QTest::newRow(name.constData()) << make << inserted;
    };
    for (const int size : {1, 2, 3, 55, 56, 57, 58, 113, 114, 115, Piece - 1, Piece, Piece + 1,
                           2 * Piece - 57, 2 * Piece, 2 * Piece + 2, 300000})
        row(QByteArray::number(size) + " bytes", 1,
            [size](QMailMessage *one) { one->appendPart(part(noise(size))); });
    row("text alone", 0, [](QMailMessage *) { });
    row("empty attachment", 0, [](QMailMessage *one) { one->appendPart(part("")); });
    row("empty one among others", 2, [](QMailMessage *one) {
        one->appendPart(part(noise(100)));
        one->appendPart(part(""));
        one->appendPart(part(noise(200)));
    });
    row("text in base64", 1,
        [](QMailMessage *one) { one->appendPart(part("a\nb\r\n", "text/plain; charset=UTF-8")); });
    row("8 bits, dots and long lines", 1, [](QMailMessage *one) {
        one->appendPart(
            part("gr\xc3\xbc\xc3\x9f\r\n", "text/plain; charset=UTF-8", Body::EightBit));
        one->appendPart(part(".\r\n..\r\n.dot\r\n", "text/plain", Body::SevenBit));
        one->appendPart(part(QByteArray(3000, 'x'), "text/plain", Body::SevenBit));
        one->appendPart(part(noise(1000)));
        one->appendPart(part("\r\n.\r\n", "text/html", Body::QuotedPrintable));
    });
    row("Chinese", 2, [](QMailMessage *one) {
        const QByteArray text("\xc4\xe3\xba\xc3\r\nab\r\n");
        one->appendPart(part(text, "text/plain; charset=GB2312", Body::QuotedPrintable));
        one->appendPart(part(text, "text/plain; charset=GBK", Body::EightBit));
        one->appendPart(part(text, "text/plain; charset=GB18030", Body::Base64));
        one->appendPart(part(noise(100)));
    });
    row("many", 32, [](QMailMessage *one) {
        for (int i = 0; i < 40; ++i)
            one->appendPart(part(noise(60 + i)));
    });
    row("a part of parts", 2, [](QMailMessage *one) {
        QMailMessagePart related;
        related.setMultipartType(QMailMessage::MultipartRelated);
        related.appendPart(part("<p>See", "text/html", Body::QuotedPrintable, Disposition::Inline));
        related.appendPart(part(noise(400), "image/png", Body::Base64, Disposition::Inline));
        one->appendPart(related);
        one->appendPart(part(noise(500)));
    });
    row("attached message", 0, [](QMailMessage *one) {
        one->appendPart(part("Subject: Inner\r\n\r\nText.\r\n", "message/rfc822", Body::SevenBit));
    });
    row("signed", 0, [](QMailMessage *one) {
        one->setMultipartType(QMailMessage::MultipartSigned);
        one->appendPart(part(noise(400), "application/pgp-signature"));
    });
    for (const auto encoding : {Body::QuotedPrintable, Body::EightBit, Body::Base64})
        row("signed and Chinese " + QByteArray::number(int(encoding)), 0,
            [encoding](QMailMessage *one) {
                one->setMultipartType(QMailMessage::MultipartSigned);
                one->appendPart(
                    part("\xc4\xe3\xba\xc3\r\nab\r\n", "text/plain; charset=GB2312", encoding));
            });
}

void TestOutgoingFile::readIsWhatIsComposedWhole()
{
    QFETCH(Make, make);
    QFETCH(int, inserted);
    const QMailMessageId id = add(mixed(make));
    const QMailMessage stored(id);
    const QByteArray whole = readFrom(compose(id, true)->reader().get(), 1 << 20);
    QVERIFY(whole.contains("\r\nBcc: ") || whole.startsWith("Bcc: "));
    for (const int piece : {777, 16384, 1 << 20}) {
        int count = 0;
        const File file = compose(id, false, &count);
        QCOMPARE(count, inserted);
        QCOMPARE(file->size(), qint64(whole.size()));
        QCOMPARE(readFrom(file->reader().get(), piece), whole);
        QVERIFY(file->hasEnded() && !file->hasChanged());
    }
    const QMailMessage arrived = QMailMessage::fromRfc2822(whole);
    QVERIFY(Store::OutgoingPrint::isSame(Store::OutgoingPrint::of(stored), arrived));
    QCOMPARE(arrived.partCount(), stored.partCount());
    for (uint i = 0; i < stored.partCount(); ++i) {
        if (!stored.partAt(i).hasBody())
            continue;
        const QByteArray content = stored.partAt(i).body().data(Body::Decoded);
        if (stored.partAt(i).contentType().matches("text"))
            QCOMPARE(withoutReturns(arrived.partAt(i).body().data(Body::Decoded)),
                     withoutReturns(content));
        else
            QCOMPARE(arrived.partAt(i).body().data(Body::Decoded), content);
    }
}

void TestOutgoingFile::whatChangesIsNotReadToItsEnd_data()
{
    using Change = std::function<void(const QString &)>;
    const QVector<QPair<const char *, Change>> changes {
        {"changed", [](const QString &path) { write(path, "X"); }},
        {"longer", [](const QString &path) { write(path, noise(6 * Piece)); }},
        {"shorter", [](const QString &path) { QFile(path).resize(4 * Piece); }},
        {"empty", [](const QString &path) { QFile(path).resize(0); }},
        {"removed", [](const QString &path) { QFile::remove(path); }},
        {"another", [](const QString &path) {
             QFile::remove(path);
             write(path, noise(5 * Piece + 100));
         }}};
    QTest::addColumn<Make>("change");
    QTest::addColumn<int>("left");
    for (const auto &change : changes) {
        const Change then = change.second;
        const Make make = [then](QMailMessage *one) { then(attachedFile(one->id())); };
        const QByteArray name = change.first;
        QTest::newRow((name + " before the first byte").constData()) << make << -1;
        QTest::newRow((name + " in the middle").constData()) << make << 2 * Piece;
        QTest::newRow((name + " before the last byte").constData()) << make << 1;
    }
}

void TestOutgoingFile::whatChangesIsNotReadToItsEnd()
{
    QFETCH(Make, change);
    QFETCH(int, left);
    const QMailMessageId id = addLarge();
    const File file = compose(id, false);
    const auto reader = file->reader();
    const qint64 before = left < 0 ? 0 : file->size() - left;
    QCOMPARE(qint64(readFrom(reader.get(), 16384, before).size()), before);
    QMailMessage message(id);
    change(&message);
    QVERIFY(before + readFrom(reader.get(), 16384).size() < file->size());
    QVERIFY(file->hasChanged());
    QVERIFY(!file->hasEnded());
    QVERIFY(readFrom(file->reader().get(), 16384).size() < file->size());
    QVERIFY(!file->hasEnded());
}

/** The mail store may keep an attachment for an edited message, under another name. */
void TestOutgoingFile::whatIsRenamedIsRead()
{
    const QMailMessageId id = addLarge();
    const QByteArray whole = readFrom(compose(id, true)->reader().get(), 16384);
    const File file = compose(id, false);
    const auto reader = file->reader();
    const QByteArray first = readFrom(reader.get(), 16384, 2 * Piece);
    QVERIFY(QFile::rename(attachedFile(id), attachedFile(id) + QStringLiteral("-new")));
    QCOMPARE(first + readFrom(reader.get(), 16384), whole);
    QVERIFY(file->hasEnded());
}

void TestOutgoingFile::aSecondReaderReadsAll()
{
    const QMailMessageId id = addLarge();
    const QByteArray whole = readFrom(compose(id, true)->reader().get(), 16384);
    const File file = compose(id, false);
    const auto first = file->reader();
    QCOMPARE(readFrom(first.get(), 16384, 3 * Piece), whole.left(3 * Piece));
    QVERIFY(!file->hasEnded());
    const auto second = file->reader();
    QCOMPARE(readFrom(second.get(), 16384), whole);
    QVERIFY(file->hasEnded());
}

void TestOutgoingFile::aReaderThatLivesLongerReadsNothing()
{
    File file = compose(addLarge(), false);
    file->mayLeave = [] { return true; };
    const auto reader = file->reader();
    QCOMPARE(readFrom(reader.get(), 16384, 100).size(), 100);
    file.reset();
    QVERIFY(readFrom(reader.get(), 16384).isEmpty());
}

void TestOutgoingFile::nothingIsReadThatMayNotLeave()
{
    const File file = compose(addLarge(), false);
    int asked = 0;
    file->mayLeave = [&] { return ++asked > 1; };
    QVERIFY(readFrom(file->reader().get(), 16384).isEmpty());
    QVERIFY(!file->hasEnded());
    QVERIFY(!file->hasChanged());
    QCOMPARE(qint64(readFrom(file->reader().get(), 16384).size()), file->size());
    QCOMPARE(asked, 2);
}

void TestOutgoingFile::theLastByteIsNotReadThatMayNotEnd()
{
    const File file = compose(addLarge(), false);
    int asked = 0;
    file->mayEnd = [&] { return ++asked > 1; };
    QVERIFY(readFrom(file->reader().get(), 16384).size() < file->size());
    QCOMPARE(asked, 1);
    QVERIFY(!file->hasEnded());
    QVERIFY(!file->hasChanged());
    const auto reader = file->reader();
    QCOMPARE(qint64(readFrom(reader.get(), 16384, file->size() - 1).size()), file->size() - 1);
    QCOMPARE(asked, 1);
    QCOMPARE(readFrom(reader.get(), 16384).size(), 1);
    QCOMPARE(asked, 2);
    QVERIFY(file->hasEnded());
}

QTEST_GUILESS_MAIN(TestOutgoingFile)
#include "tst_outgoingfile.moc"
