// SPDX-License-Identifier: LGPL-2.1-or-later
//
// The binary XML reader and writer by themselves.
#include "eas/limits.h"
#include "eas/log.h"
#include "eas/wbxmlreader.h"
#include "eas/wbxmlwriter.h"
#include "tests/eas/wbxmlxml.h"
#include "tests/support/chance.h"

#include <QRandomGenerator>
#include <QtTest>

using namespace Eas;

namespace {

/** Everything that a document says, as text: what two readings must agree in. */
struct Reading
{
    QByteArray events;
    bool valid = false;
    QString error;
};

QByteArray hex(Tag tag)
{
    return QByteArray::number(tag, 16);
}

/** Reads it in pieces of `step` bytes. */
Reading read(const QByteArray &document, int step)
{
    Reading reading;
    WbxmlReader reader;
    int given = 0;
    bool inText = false;
    for (;;) {
        const WbxmlReader::Event event = reader.readNext();
        if (event == WbxmlReader::NeedData) {
            if (given >= document.size()) {
                reader.finish();
                continue;
            }
            reader.addData(document.mid(given, step));
            given += step;
            continue;
        }
        if (inText && event != WbxmlReader::Text)
            reading.events += ']';
        if (!inText && event == WbxmlReader::Text)
            reading.events += '[';
        inText = event == WbxmlReader::Text;
        switch (event) {
        case WbxmlReader::StartElement:
            reading.events += '<' + hex(reader.tag()) + '>';
            break;
        case WbxmlReader::EndElement:
            reading.events += "</" + hex(reader.tag()) + '>';
            break;
        case WbxmlReader::Text:
            reading.events += reader.data();
            break;
        case WbxmlReader::EndDocument:
            reading.valid = true;
            return reading;
        default:
            reading.error = reader.errorString();
            return reading;
        }
    }
}

Reading read(const QByteArray &document)
{
    return read(document, document.size() + 1);
}

/** A random document and what reading it must give. */
class RandomDocument
{
public:
    explicit RandomDocument(quint32 seed)
        : m_random(seed)
        , m_writer(&bytes)
    {
        m_writer.startDocument();
        element(0);
        m_writer.endDocument();
    }

    QByteArray bytes;
    QByteArray events;

private:
    void element(int depth)
    {
        int count = 0;
        const TagEntry *rows = allTags(&count);
        const Tag tag = rows[m_random.bounded(count)].tag;
        m_writer.startElement(tag);
        events += '<' + hex(tag) + '>';
        const int children = depth > 8 ? 0 : m_random.bounded(4);
        for (int i = 0; i < children; ++i) {
            text();
            element(depth + 1);
        }
        text();
        m_writer.endElement();
        events += "</" + hex(tag) + '>';
    }

    void text()
    {
        QByteArray content;
        switch (m_random.bounded(4)) {
        case 0:
            return;
        case 1: {
            QString letters;
            for (int i = m_random.bounded(1, 200); i > 0; --i)
                letters += QChar(ushort(m_random.bounded(1, 0xd800)));
            m_writer.text(letters);
            content = letters.toUtf8();
            break;
        }
        default:
            content.resize(m_random.bounded(1, 300));
            for (char &byte : content)
                byte = char(m_random.bounded(256));
            m_writer.opaque(content);
            break;
        }
        events += '[' + content + ']';
    }

    QRandomGenerator m_random;
    WbxmlWriter m_writer;
};

} // namespace

class TestWbxml : public QObject
{
    Q_OBJECT

private slots:
    void knownDocumentsAreWrittenByteForByte_data();
    void knownDocumentsAreWrittenByteForByte();
    void knownDocumentsAreRead_data() { knownDocumentsAreWrittenByteForByte_data(); }
    void knownDocumentsAreRead();
    void everyTagIsWrittenAndRead();
    void randomDocumentsReadTheSameInPiecesOfAnySize();
    void eightBitAndOpaqueContentComesBackByteForByte();
    void aLongTextNeedsNoMemoryOfItsOwn();
    void aNulIsLeftOutOfAText();
    void stringTableEntitiesAndExtensionsAreRead();
    void literalsAttributesAndInstructionsArePassedOver();
    void anUnknownElementIsPassedOverAndTold();
    void anUnknownRootLeavesNothing();
    void nothingMoreComesAfterTheEnd();
    void everyTruncationIsRefused();
    void everyBitFlipEndsInAnAnswer();
    void noiseEndsInAnAnswer();
    void malformedDocumentsAreRefused_data();
    void malformedDocumentsAreRefused();
    void nestingIsBounded();
};

void TestWbxml::knownDocumentsAreWrittenByteForByte_data()
{
    QTest::addColumn<QByteArray>("xml");
    QTest::addColumn<QByteArray>("wire");
    QTest::newRow("folder tree") << QByteArray(
        "<FolderSync xmlns=\"FolderHierarchy:\"><SyncKey>0</SyncKey></FolderSync>")
                                 << QByteArray("03016a00000756520330000101");
    QTest::newRow("first key") << QByteArray(
        "<Sync xmlns=\"AirSync:\"><Collections><Collection><SyncKey>0</SyncKey>"
        "<CollectionId>5</CollectionId></Collection></Collections></Sync>")
                               << QByteArray("03016a00455c4f4b033000015203350001010101");
    QTest::newRow("pages back and forth") << QByteArray(
        "<Sync xmlns=\"AirSync:\"><Collections><Collection><SyncKey>1-2</SyncKey>"
        "<CollectionId>5</CollectionId><GetChanges/><Commands><Change><ServerId>3</ServerId>"
        "<ApplicationData><Read xmlns=\"Email:\">1</Read></ApplicationData></Change></Commands>"
        "</Collection></Collections></Sync>")
                                          << QByteArray("03016a00455c4f4b03312d320001520335000113"
                                                        "5648"
                                                        "4d033300015d0002550331000101010101"
                                                        "0101");
    QTest::newRow("policy")
        << QByteArray(
               "<Provision xmlns=\"Provision:\"><Status>1</Status><Policies><Policy>"
               "<PolicyType>MS-EAS-Provisioning-WBXML</PolicyType><Status>2</Status></Policy>"
               "</Policies></Provision>")
        << QByteArray("03016a00000e454b03310001464748034d532d4541532d50726f766973696f6e696e672d"
                      "5742584d4c00014b03320001010101");
}

void TestWbxml::knownDocumentsAreWrittenByteForByte()
{
    QFETCH(QByteArray, xml);
    QFETCH(QByteArray, wire);
    QCOMPARE(WbxmlXml::encode(xml).toHex(), wire);
}

void TestWbxml::knownDocumentsAreRead()
{
    QFETCH(QByteArray, xml);
    QFETCH(QByteArray, wire);
    QCOMPARE(WbxmlXml::decode(QByteArray::fromHex(wire)), xml);
}

void TestWbxml::everyTagIsWrittenAndRead()
{
    int count = 0;
    const TagEntry *rows = allTags(&count);
    QVERIFY(count > 380);
    for (int i = 0; i < count; ++i) {
        QByteArray bytes;
        WbxmlWriter writer(&bytes);
        writer.startDocument();
        writer.startElement(rows[i].tag);
        writer.emptyElement(rows[i].tag);
        writer.endDocument();
        const QByteArray name = hex(rows[i].tag);
        QCOMPARE(read(bytes).events, '<' + name + "><" + name + "></" + name + "></" + name + '>');
    }
}

void TestWbxml::randomDocumentsReadTheSameInPiecesOfAnySize()
{
    const quint32 first = testSeed();
    for (quint32 i = 0; i < 100; ++i) {
        const RandomDocument document(first + i);
        // Text that follows text makes one reading of both.
        const QByteArray expected = QByteArray(document.events).replace("][", "");
        for (int step : {1, 2, 7, 1000000}) {
            const Reading reading = read(document.bytes, step);
            QVERIFY2(reading.valid, qPrintable(reading.error));
            if (QByteArray(reading.events).replace("][", "") != expected)
                QFAIL(qPrintable(QStringLiteral("seed %1, pieces of %2").arg(first + i).arg(step)));
        }
    }
}

void TestWbxml::eightBitAndOpaqueContentComesBackByteForByte()
{
    QByteArray all;
    for (int i = 0; i < 1024; ++i)
        all.append(char(i));
    QByteArray opaque;
    WbxmlWriter writer(&opaque);
    writer.startDocument();
    writer.startElement(Tags::ComposeMail::MIME);
    writer.opaque(all);
    writer.endDocument();
    QCOMPARE(read(opaque).events, "<1510>[" + all + "]</1510>");

    // A server may send a text of any bytes but NUL, UTF-8 or not.
    const QByteArray eightBit = QByteArray(all).replace('\0', QByteArray());
    const QByteArray inlined =
        QByteArray::fromHex("03016a004b03") + eightBit + QByteArray::fromHex("0001");
    QCOMPARE(read(inlined, 3).events, "<b>[" + eightBit + "]</b>");
}

void TestWbxml::aLongTextNeedsNoMemoryOfItsOwn()
{
    WbxmlReader reader;
    reader.addData(QByteArray::fromHex("03016a004b03"));
    const QByteArray piece(64 * 1024, 'x');
    QCOMPARE(reader.readNext(), WbxmlReader::StartElement);
    qint64 size = 0;
    for (int i = 0; i < 1000; ++i) {
        reader.addData(piece);
        while (reader.readNext() == WbxmlReader::Text) {
            QVERIFY(reader.data().size() <= piece.size());
            size += reader.data().size();
        }
    }
    QCOMPARE(size, 1000 * qint64(piece.size()));
    reader.addData(QByteArray::fromHex("0001"));
    QCOMPARE(reader.readNext(), WbxmlReader::EndElement);
    QCOMPARE(reader.readNext(), WbxmlReader::EndDocument);
}

void TestWbxml::aNulIsLeftOutOfAText()
{
    QByteArray bytes;
    WbxmlWriter writer(&bytes);
    writer.startDocument();
    writer.element(Tags::AirSync::SyncKey, QStringLiteral("a") + QChar(0) + QStringLiteral("b"));
    writer.endDocument();
    QCOMPARE(read(bytes).events, QByteArray("<b>[ab]</b>"));
}

void TestWbxml::stringTableEntitiesAndExtensionsAreRead()
{
    // A table of "ab\0cd\0"; text from it, an entity (U+20AC), inline and table extensions, a bare
    // extension.
    const QByteArray document = QByteArray::fromHex("03016a06616200636400"
                                                    "4b"
                                                    "8303"
                                                    "8300"
                                                    "8301"
                                                    "02c12c"
                                                    "02817f"
                                                    "407878 00"
                                                    "4179 00"
                                                    "8003"
                                                    "8200"
                                                    "c0"
                                                    "c2"
                                                    "0321 00"
                                                    "01");
    const Reading reading = read(document);
    QVERIFY2(reading.valid, qPrintable(reading.error));
    QCOMPARE(reading.events,
             QByteArray("<b>[cdabb\xe2\x82\xac\xc3\xbf!]</b>")
                 .replace("\xe2\x82\xac", QString(QChar(0x20ac)).toUtf8()));
    QCOMPARE(read(document, 1).events, reading.events);
}

void TestWbxml::literalsAttributesAndInstructionsArePassedOver()
{
    // An instruction; Sync with attributes; a literal with attributes and content; a SyncKey behind
    // it all.
    const QByteArray document = QByteArray::fromHex("03016a0478797a00"
                                                    "43"
                                                    "05"
                                                    "0361 00"
                                                    "01"
                                                    "c5"
                                                    "06"
                                                    "0362 00"
                                                    "85"
                                                    "8301"
                                                    "c30301 0203"
                                                    "0001"
                                                    "0241"
                                                    "01"
                                                    "c400"
                                                    "07"
                                                    "01"
                                                    "0363 00"
                                                    "45"
                                                    "01"
                                                    "01"
                                                    "0402"
                                                    "4b"
                                                    "036b 00"
                                                    "01"
                                                    "01");
    for (int step : {1, 2, 1000}) {
        const Reading reading = read(document, step);
        QVERIFY2(reading.valid, qPrintable(reading.error));
        QCOMPARE(reading.events, QByteArray("<5><b>[k]</b></5>"));
    }
}

void TestWbxml::anUnknownElementIsPassedOverAndTold()
{
    // Sync, then page 77 token 0x3e with a SyncKey of page 0 in it, then a SyncKey.
    const QByteArray document = QByteArray::fromHex("03016a0045"
                                                    "004d"
                                                    "7e"
                                                    "0378 00"
                                                    "0000"
                                                    "4b 0379 00 01"
                                                    "c30161"
                                                    "01"
                                                    "0000"
                                                    "4b 037a 00 01"
                                                    "01");
    QLoggingCategory::setFilterRules(QStringLiteral("asdaemon.eas.debug=true"));
    QTest::ignoreMessage(QtDebugMsg, "passing over an unknown element: page 77, token 0x3e");
    const Reading reading = read(document);
    QLoggingCategory::setFilterRules(QString());
    QVERIFY(reading.valid);
    QCOMPARE(reading.events, QByteArray("<5><b>[z]</b></5>"));
}

void TestWbxml::anUnknownRootLeavesNothing()
{
    const Reading reading = read(QByteArray::fromHex("03016a00004d450378 0001"));
    QVERIFY(reading.valid);
    QCOMPARE(reading.events, QByteArray());
}

void TestWbxml::nothingMoreComesAfterTheEnd()
{
    WbxmlReader reader;
    reader.addData(QByteArray::fromHex("03016a0005"
                                       "45010101"));
    QCOMPARE(reader.readNext(), WbxmlReader::StartElement);
    QCOMPARE(reader.readNext(), WbxmlReader::EndElement);
    QCOMPARE(reader.readNext(), WbxmlReader::EndDocument);
    QCOMPARE(reader.readNext(), WbxmlReader::EndDocument);
}

void TestWbxml::everyTruncationIsRefused()
{
    const QByteArray document = WbxmlXml::fromFile("sync-first-window.xml");
    QVERIFY(read(document).valid);
    for (int length = 0; length < document.size(); ++length) {
        const Reading reading = read(document.left(length));
        QVERIFY2(!reading.valid && !reading.error.isEmpty(), qPrintable(QString::number(length)));
    }
}

void TestWbxml::everyBitFlipEndsInAnAnswer()
{
    const QByteArray document = WbxmlXml::fromFile("sync-first-window.xml");
    int refused = 0;
    for (int i = 0; i < document.size() * 8; ++i) {
        QByteArray flipped = document;
        flipped[i / 8] = char(flipped[i / 8] ^ (1 << (i % 8)));
        const Reading reading = read(flipped);
        QCOMPARE(reading.valid, reading.error.isEmpty());
        refused += !reading.valid;
    }
    QVERIFY(refused > 0);
}

void TestWbxml::noiseEndsInAnAnswer()
{
    QRandomGenerator random(testSeed());
    for (int i = 0; i < 1000; ++i) {
        QByteArray noise = QByteArray::fromHex("03016a00");
        for (int left = random.bounded(400); left > 0; --left)
            noise.append(char(random.bounded(256)));
        const Reading reading = read(noise, random.bounded(1, 50));
        QCOMPARE(reading.valid, reading.error.isEmpty());
    }
}

void TestWbxml::malformedDocumentsAreRefused_data()
{
    QTest::addColumn<QByteArray>("wire");
    QTest::newRow("nothing") << QByteArray();
    QTest::newRow("a page of the web") << QByteArray("3c68746d6c3e");
    QTest::newRow("another version") << QByteArray("04016a0005");
    QTest::newRow("another character set") << QByteArray("0301040005");
    QTest::newRow("table beyond the document") << QByteArray("03016a7f05");
    QTest::newRow("table beyond all bounds") << QByteArray("03016affffff7f05");
    QTest::newRow("a number of too many bits") << QByteArray("03016a0045c3ffffffff7f01");
    QTest::newRow("a number without an end") << QByteArray("03016a0045c3ffffffffffffffff");
    QTest::newRow("opaque beyond the document") << QByteArray("03016a0045c30a6161 01");
    QTest::newRow("opaque beyond all bounds") << QByteArray("03016a0045c38fffffff7f6101");
    QTest::newRow("an end without a begin") << QByteArray("03016a0001");
    QTest::newRow("text outside") << QByteArray("03016a00036100");
    QTest::newRow("opaque outside") << QByteArray("03016a00c30161");
    QTest::newRow("table string outside") << QByteArray("03016a0261008300");
    QTest::newRow("table string beyond the table") << QByteArray("03016a02610045830201");
    QTest::newRow("no such character") << QByteArray("03016a004502c4000001");
    QTest::newRow("half a character") << QByteArray("03016a00450283b00001");
    QTest::newRow("no character at all") << QByteArray("03016a0045020001");
}

void TestWbxml::malformedDocumentsAreRefused()
{
    QFETCH(QByteArray, wire);
    const Reading reading = read(QByteArray::fromHex(wire));
    QVERIFY(!reading.valid);
    QVERIFY(!reading.error.isEmpty());
    QVERIFY(!read(QByteArray::fromHex(wire), 1).valid);
}

void TestWbxml::nestingIsBounded()
{
    const auto nested = [](int depth) {
        return QByteArray::fromHex("03016a00") + QByteArray(depth, '\x45')
            + QByteArray(depth, '\x01');
    };
    QVERIFY(read(nested(Limits::Nesting)).valid);
    QVERIFY(!read(nested(Limits::Nesting + 1)).valid);
    QVERIFY(!read(nested(1000000)).valid);
}

QTEST_GUILESS_MAIN(TestWbxml)
#include "tst_wbxml.moc"
