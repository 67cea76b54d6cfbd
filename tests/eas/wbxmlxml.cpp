// SPDX-License-Identifier: LGPL-2.1-or-later
#include "tests/eas/wbxmlxml.h"

#include "eas/wbxmlreader.h"
#include "eas/wbxmlwriter.h"

#include <QFile>
#include <QXmlStreamReader>

using namespace Eas;

namespace {

Tag tagOf(const QString &space, const QString &name)
{
    int count = 0;
    const TagEntry *rows = allTags(&count);
    for (int i = 0; i < count; ++i) {
        if (name == QLatin1String(rows[i].name)
            && space == QLatin1String(rows[i].space) + QLatin1Char(':'))
            return rows[i].tag;
    }
    qFatal("no such tag: %s%s", qUtf8Printable(space), qUtf8Printable(name));
    return NoTag;
}

bool isOpaque(Tag tag)
{
    return tag == Tags::ComposeMail::MIME || tag == Tags::Email2::ConversationId
        || tag == Tags::Email2::ConversationIndex;
}

} // namespace

QByteArray WbxmlXml::encode(const QByteArray &xml)
{
    QByteArray bytes;
    WbxmlWriter writer(&bytes);
    QXmlStreamReader reader(xml);
    QVector<Tag> open;
    writer.startDocument();
    while (!reader.atEnd()) {
        switch (reader.readNext()) {
        case QXmlStreamReader::StartElement:
            open.append(tagOf(reader.namespaceUri().toString(), reader.name().toString()));
            writer.startElement(open.last());
            break;
        case QXmlStreamReader::EndElement:
            open.removeLast();
            writer.endElement();
            break;
        case QXmlStreamReader::Characters:
            if (isOpaque(open.last()))
                writer.opaque(reader.text().toUtf8());
            else
                writer.text(reader.text().toString());
            break;
        default:
            break;
        }
    }
    if (reader.hasError())
        qFatal("malformed XML in a test: %s", qUtf8Printable(reader.errorString()));
    return bytes;
}

QByteArray WbxmlXml::decode(const QByteArray &wbxml)
{
    WbxmlReader reader;
    reader.addData(wbxml);
    reader.finish();
    QByteArray xml;
    QVector<QByteArray> spaces;
    bool isEmpty = false;
    for (;;) {
        const WbxmlReader::Event event = reader.readNext();
        const TagEntry *entry = findTag(reader.tag());
        switch (event) {
        case WbxmlReader::StartElement:
            xml += (isEmpty ? ">" : "") + QByteArray("<") + entry->name;
            if (spaces.isEmpty() || spaces.last() != entry->space)
                xml += QByteArray(" xmlns=\"") + entry->space + ":\"";
            spaces.append(entry->space);
            isEmpty = true;
            break;
        case WbxmlReader::Text:
            xml += (isEmpty ? ">" : "")
                + QString::fromUtf8(reader.data())
                      .toHtmlEscaped()
                      .replace(QLatin1String("&quot;"), QLatin1String("\""))
                      .toUtf8();
            isEmpty = false;
            break;
        case WbxmlReader::EndElement:
            xml += isEmpty ? QByteArray("/>") : QByteArray("</") + entry->name + '>';
            spaces.removeLast();
            isEmpty = false;
            break;
        case WbxmlReader::EndDocument:
            return xml;
        case WbxmlReader::NeedData:
        case WbxmlReader::Invalid:
            return "malformed: " + reader.errorString().toUtf8();
        }
    }
}

QByteArray WbxmlXml::fromFile(const char *name)
{
    QFile file(QStringLiteral(EAS_DATA_DIR "/") + QLatin1String(name));
    if (!file.open(QFile::ReadOnly))
        qFatal("no such file: %s", qUtf8Printable(file.fileName()));
    // One element a line, for people; the wire has nothing between elements.
    QByteArray xml;
    for (const QByteArray &line : file.readAll().split('\n'))
        xml += line.trimmed();
    return encode(xml);
}
