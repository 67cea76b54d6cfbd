// SPDX-License-Identifier: LGPL-2.1-or-later
//
// The binary XML reader and writer against an encoder and a decoder that are not ours (libwbxml).
#include "eas/wbxmlreader.h"
#include "eas/wbxmlwriter.h"
#include "tests/eas/wbxmlxml.h"
#include "tests/support/chance.h"

#include <QProcess>
#include <QRandomGenerator>
#include <QStandardPaths>
#include <QtTest>
#include <QXmlStreamReader>
#include <QXmlStreamWriter>

using namespace Eas;

namespace {

/** Names for which libwbxml has its own. */
QString foreignName(Tag tag)
{
    const QString name = QLatin1String(findTag(tag)->name);
    if (tag >= Tags::Email::Type && tag <= Tags::Email::MonthOfYear)
        return QStringLiteral("Recurrence_") + name;
    switch (tag) {
    case Tags::Email::Status:
        return QStringLiteral("FlagStatus");
    case Tags::Email::Att0Id:
        return QStringLiteral("AttOId");
    case Tags::Tasks::UtcDueDate:
        return QStringLiteral("UTCDueDate");
    case Tags::Tasks::UtcStartDate:
        return QStringLiteral("UTCStartDate");
    case Tags::Settings::RightsManagementInformation:
        return QStringLiteral("ihsManagementInformation");
    case Tags::Provision::RequireStorageCardEncryption:
        return QStringLiteral("DeviceEncryptionEnabled");
    default:
        return name;
    }
}

QString foreignSpace(Tag tag)
{
    const QString space = QLatin1String(findTag(tag)->space);
    return (space == QLatin1String("GAL") ? QStringLiteral("Gal") : space) + QLatin1Char(':');
}

/** Tags that it takes for base64 in XML. */
bool isForeignBinary(Tag tag)
{
    return tag == Tags::ComposeMail::MIME || tag == Tags::Email2::ConversationId
        || tag == Tags::Email2::ConversationIndex || tag == Tags::Search::ConversationId
        || tag == Tags::ItemOperations::ConversationId || tag == Tags::ResolveRecipients::Data
        || tag == Tags::GAL::Data;
}

/** A tag of the protocol's first versions that it does not know. */
bool isForeign(Tag tag)
{
    return tag == Tags::Search::Stores;
}

/** One element of a document: a tree that both sides build for themselves. */
struct Node
{
    Tag tag = NoTag;
    QString text;
    QList<Node> children;
};

/** What the two agree in, as text. */
QString describe(const Node &node)
{
    QString text = foreignSpace(node.tag) + foreignName(node.tag) + QLatin1Char('(') + node.text;
    for (const Node &child : node.children)
        text += describe(child);
    return text + QLatin1Char(')');
}

void write(WbxmlWriter *writer, const Node &node)
{
    writer->startElement(node.tag);
    if (isForeignBinary(node.tag)) {
        if (!node.text.isEmpty())
            writer->opaque(node.text.toUtf8());
    } else {
        writer->text(node.text);
    }
    for (const Node &child : node.children)
        write(writer, child);
    writer->endElement();
}

QByteArray toWbxml(const Node &node)
{
    QByteArray bytes;
    WbxmlWriter writer(&bytes);
    writer.startDocument();
    write(&writer, node);
    return bytes;
}

void write(QXmlStreamWriter *writer, const Node &node, const QString &space)
{
    writer->writeStartElement(foreignName(node.tag));
    if (foreignSpace(node.tag) != space)
        writer->writeDefaultNamespace(foreignSpace(node.tag));
    if (!node.text.isEmpty())
        writer->writeCharacters(isForeignBinary(node.tag)
                                    ? QString::fromLatin1(node.text.toUtf8().toBase64())
                                    : node.text);
    for (const Node &child : node.children)
        write(writer, child, foreignSpace(node.tag));
    writer->writeEndElement();
}

QByteArray toXml(const Node &node)
{
    QByteArray xml;
    QXmlStreamWriter writer(&xml);
    write(&writer, node, QString());
    return "<?xml version=\"1.0\"?>\n<!DOCTYPE ActiveSync PUBLIC \"-//MICROSOFT//DTD "
           "ActiveSync//EN\" "
           "\"http://www.microsoft.com/\">\n"
        + xml;
}

QString describeXml(const QByteArray &xml)
{
    QString text;
    QXmlStreamReader reader(xml);
    while (!reader.atEnd()) {
        switch (reader.readNext()) {
        case QXmlStreamReader::StartElement:
            text += reader.namespaceUri().toString() + reader.name().toString() + QLatin1Char('(');
            break;
        case QXmlStreamReader::EndElement:
            text += QLatin1Char(')');
            break;
        case QXmlStreamReader::Characters:
            text += reader.text().toString();
            break;
        default:
            break;
        }
    }
    return reader.hasError() ? reader.errorString() : text;
}

QString describeWbxml(const QByteArray &wbxml)
{
    WbxmlReader reader;
    reader.addData(wbxml);
    reader.finish();
    QString text;
    for (;;) {
        switch (reader.readNext()) {
        case WbxmlReader::StartElement:
            text += foreignSpace(reader.tag()) + foreignName(reader.tag()) + QLatin1Char('(');
            break;
        case WbxmlReader::EndElement:
            text += QLatin1Char(')');
            break;
        case WbxmlReader::Text:
            text += QString::fromUtf8(reader.data());
            break;
        case WbxmlReader::EndDocument:
            return text;
        default:
            return reader.errorString();
        }
    }
}

/** A random tree of tags, with texts at the leaves. */
Node randomNode(QRandomGenerator *random, int depth)
{
    int count = 0;
    const TagEntry *rows = allTags(&count);
    Node node;
    do {
        node.tag = rows[random->bounded(count)].tag;
        // What it takes for binary depends on where it stands; the tables' test has each of them.
    } while (isForeign(node.tag) || isForeignBinary(node.tag));
    if (depth < 6 && random->bounded(3) > 0) {
        for (int i = random->bounded(1, 5); i > 0; --i)
            node.children.append(randomNode(random, depth + 1));
    } else {
        for (int i = random->bounded(40); i > 0; --i) {
            // Letters of several scripts, and what XML escapes.
            node.text += QStringLiteral("ab<>&'\" äßж中").at(random->bounded(12));
        }
        node.text = node.text.trimmed();
    }
    return node;
}

} // namespace

class TestWbxmlForeign : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase();
    void everyTagIsDecodedByTheOtherSide_data();
    void everyTagIsDecodedByTheOtherSide();
    void everyTagOfTheOtherSideIsDecoded_data() { everyTagIsDecodedByTheOtherSide_data(); }
    void everyTagOfTheOtherSideIsDecoded();
    void randomDocumentsAreTheSameInBothDirections();
    void ourBytesAreTheOtherSidesBytes();

private:
    QByteArray run(const char *program, const QStringList &arguments, const QByteArray &input);
    QByteArray decode(const QByteArray &wbxml)
    {
        return run("wbxml2xml",
                   {QStringLiteral("-l"), QStringLiteral("ACTIVESYNC"), QStringLiteral("-k"),
                    QStringLiteral("-m"), QStringLiteral("0")},
                   wbxml);
    }
    QByteArray encode(const QByteArray &xml)
    {
        return run("xml2wbxml", {QStringLiteral("-a"), QStringLiteral("-n"), QStringLiteral("-k")},
                   xml);
    }

    QTemporaryDir m_directory;
};

void TestWbxmlForeign::initTestCase()
{
    if (QStandardPaths::findExecutable(QStringLiteral("wbxml2xml")).isEmpty())
        QSKIP("wbxml2xml (Debian: libwbxml2-utils) is not installed");
}

QByteArray TestWbxmlForeign::run(const char *program, const QStringList &arguments,
                                 const QByteArray &input)
{
    QFile in(m_directory.filePath(QStringLiteral("in")));
    QFile out(m_directory.filePath(QStringLiteral("out")));
    out.remove();
    if (!in.open(QFile::WriteOnly) || in.write(input) != input.size())
        return {};
    in.close();
    QProcess process;
    process.start(QLatin1String(program),
                  arguments + QStringList {QStringLiteral("-o"), out.fileName(), in.fileName()});
    if (!process.waitForFinished() || process.exitCode() != 0 || !out.open(QFile::ReadOnly)) {
        qWarning("%s: %s", program, process.readAllStandardError().constData());
        return {};
    }
    return out.readAll();
}

void TestWbxmlForeign::everyTagIsDecodedByTheOtherSide_data()
{
    QTest::addColumn<int>("first");
    QTest::addColumn<int>("last");
    int count = 0;
    const TagEntry *rows = allTags(&count);
    for (int first = 0; first < count;) {
        int last = first;
        while (last + 1 < count && rows[last + 1].tag >> 8 == rows[first].tag >> 8)
            ++last;
        QTest::newRow(rows[first].space) << first << last;
        first = last + 1;
    }
}

static Node page(int first, int last)
{
    int count = 0;
    const TagEntry *rows = allTags(&count);
    Node root;
    root.tag = Tags::AirSync::Sync;
    for (int i = first; i <= last; ++i) {
        if (isForeign(rows[i].tag))
            continue;
        root.children.append({rows[i].tag, QStringLiteral("text"), {}});
        root.children.append({Tags::AirSync::Class, {}, {}});
    }
    return root;
}

void TestWbxmlForeign::everyTagIsDecodedByTheOtherSide()
{
    QFETCH(int, first);
    QFETCH(int, last);
    Node root = page(first, last);
    const QByteArray xml = decode(toWbxml(root));
    for (Node &child : root.children) {
        if (isForeignBinary(child.tag))
            child.text = QString::fromLatin1(child.text.toUtf8().toBase64());
    }
    QCOMPARE(describeXml(xml), describe(root));
}

void TestWbxmlForeign::everyTagOfTheOtherSideIsDecoded()
{
    QFETCH(int, first);
    QFETCH(int, last);
    const Node root = page(first, last);
    QCOMPARE(describeWbxml(encode(toXml(root))), describe(root));
}

void TestWbxmlForeign::randomDocumentsAreTheSameInBothDirections()
{
    QRandomGenerator random(testSeed());
    for (int i = 0; i < 60; ++i) {
        Node root;
        root.tag = Tags::AirSync::Sync;
        root.children = {randomNode(&random, 0), randomNode(&random, 0)};
        const QByteArray foreign = encode(toXml(root));
        QCOMPARE(describeWbxml(foreign), describe(root));
        // What it makes of ours is what it makes of its own.
        QCOMPARE(describeXml(decode(toWbxml(root))), describeXml(decode(foreign)));
    }
}

void TestWbxmlForeign::ourBytesAreTheOtherSidesBytes()
{
    const Node root {Tags::AirSync::Sync,
                     {},
                     {{Tags::AirSync::Collections,
                       {},
                       {{Tags::AirSync::SyncKey, QStringLiteral("1"), {}},
                        {Tags::AirSync::GetChanges, {}, {}},
                        {Tags::Email::Subject, QStringLiteral("größer"), {}},
                        {Tags::Email2::ConversationId, QStringLiteral("opaque"), {}}}}}};
    QCOMPARE(toWbxml(root).toHex(), encode(toXml(root)).toHex());
}

QTEST_GUILESS_MAIN(TestWbxmlForeign)
#include "tst_wbxmlforeign.moc"
