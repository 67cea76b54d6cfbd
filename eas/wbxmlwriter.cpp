// SPDX-License-Identifier: LGPL-2.1-or-later
#include "eas/wbxmlwriter.h"

#include "eas/wbxmltokens.h"

namespace Eas {

WbxmlWriter::WbxmlWriter(QByteArray *target)
    : m_target(target)
{
}

void WbxmlWriter::startDocument()
{
    m_target->append(char(Wbxml::Version13));
    putNumber(Wbxml::PublicIdUnknown);
    putNumber(Wbxml::CharsetUtf8);
    putNumber(0); // the string table's length
}

void WbxmlWriter::startElement(Tag tag)
{
    openPending();
    m_pending = tag;
}

void WbxmlWriter::endElement()
{
    if (m_pending != NoTag) {
        putTag(m_pending, false);
        m_pending = NoTag;
        return;
    }
    Q_ASSERT(!m_open.isEmpty());
    m_open.removeLast();
    m_target->append(char(Wbxml::End));
}

void WbxmlWriter::endDocument()
{
    while (m_pending != NoTag || !m_open.isEmpty())
        endElement();
}

void WbxmlWriter::emptyElement(Tag tag)
{
    startElement(tag);
    endElement();
}

void WbxmlWriter::element(Tag tag, const QString &content)
{
    startElement(tag);
    text(content);
    endElement();
}

void WbxmlWriter::element(Tag tag, int number)
{
    element(tag, QString::number(number));
}

void WbxmlWriter::text(const QString &text)
{
    QByteArray bytes = text.toUtf8();
    bytes.replace('\0', QByteArray());
    if (bytes.isEmpty())
        return;
    openPending();
    m_target->append(char(Wbxml::InlineString));
    m_target->append(bytes);
    m_target->append('\0');
}

void WbxmlWriter::opaque(const QByteArray &bytes)
{
    beginOpaque(quint32(bytes.size()));
    m_target->append(bytes);
}

void WbxmlWriter::beginOpaque(quint32 size)
{
    openPending();
    m_target->append(char(Wbxml::Opaque));
    putNumber(size);
}

void WbxmlWriter::openPending()
{
    if (m_pending != NoTag) {
        putTag(m_pending, true);
        m_open.append(m_pending);
        m_pending = NoTag;
    }
}

void WbxmlWriter::putTag(Tag tag, bool hasContent)
{
    const int page = tag >> 8;
    if (page != m_page) {
        m_target->append(char(Wbxml::SwitchPage));
        m_target->append(char(page));
        m_page = page;
    }
    m_target->append(char((tag & Wbxml::TokenMask) | (hasContent ? Wbxml::HasContent : 0)));
}

void WbxmlWriter::putNumber(quint32 number)
{
    char bytes[5];
    int first = 4;
    bytes[first] = char(number & 0x7f);
    while (number >>= 7)
        bytes[--first] = char((number & 0x7f) | 0x80);
    m_target->append(bytes + first, 5 - first);
}

} // namespace Eas
