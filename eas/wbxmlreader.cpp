// SPDX-License-Identifier: LGPL-2.1-or-later
#include "eas/wbxmlreader.h"

#include "eas/limits.h"
#include "eas/log.h"
#include "eas/wbxmltokens.h"
#include "translations/text.h"

namespace Eas {

void WbxmlReader::addData(const QByteArray &bytes)
{
    if (m_pos == m_buffer.size()) {
        m_buffer = bytes;
    } else {
        m_buffer.remove(0, m_pos);
        m_buffer.append(bytes);
    }
    m_pos = 0;
}

WbxmlReader::Event WbxmlReader::readNext()
{
    while (!m_over) {
        m_mark = m_pos;
        if (const Step event = step())
            return *event;
    }
    return m_error.isEmpty() ? EndDocument : Invalid;
}

WbxmlReader::Step WbxmlReader::step()
{
    switch (m_state) {
    case Header:
        return readHeader();
    case Content:
        return m_endDue ? end() : readContent();
    case Attributes:
        return readAttribute();
    case InlineText:
        return readInlineText();
    case OpaqueText:
        return readOpaqueText();
    }
    Q_UNREACHABLE();
}

WbxmlReader::Step WbxmlReader::readHeader()
{
    quint8 version = 0;
    quint32 publicId = 0;
    quint32 charset = 0;
    quint32 tableSize = 0;
    if (!takeByte(&version))
        return needData();
    if (version < Wbxml::Version11 || version > Wbxml::Version13)
        return fail(FailureText::english("not WBXML 1.1 to 1.3"));
    // A public id of 0 is told by its place in the string table instead.
    if (!takeNumber(&publicId) || (publicId == 0 && !takeNumber(&publicId)) || !takeNumber(&charset)
        || !takeNumber(&tableSize))
        return needData();
    if (charset != Wbxml::CharsetUtf8 && charset != Wbxml::CharsetAscii
        && charset != Wbxml::CharsetUnknown)
        return fail(FailureText::english("character set %1 is not understood").arg(charset));
    if (tableSize > quint32(Limits::StringTableSize))
        return fail(FailureText::english("a string table of %1 bytes is too long").arg(tableSize));
    if (m_buffer.size() - m_pos < int(tableSize))
        return needData();
    m_table = m_buffer.mid(m_pos, int(tableSize));
    m_pos += int(tableSize);
    m_state = Content;
    return {};
}

WbxmlReader::Step WbxmlReader::readContent()
{
    quint8 token = 0;
    if (!takeByte(&token))
        return needData();
    switch (token) {
    case Wbxml::SwitchPage: {
        quint8 page = 0;
        if (!takeByte(&page))
            return needData();
        m_page = page;
        return {};
    }
    case Wbxml::End:
        return m_open.isEmpty() ? fail(FailureText::english("an end without a begin")) : end();
    case Wbxml::Entity:
        return readEntity();
    case Wbxml::InlineString:
        return beginInlineText(false);
    case Wbxml::TableString:
        return readTableString();
    case Wbxml::Opaque:
        return readOpaqueLength();
    case Wbxml::ProcessingInstruction:
        m_state = Attributes;
        return {};
    case Wbxml::Literal:
    case Wbxml::LiteralContent:
    case Wbxml::LiteralAttributes:
    case Wbxml::LiteralAttributesContent:
        return readLiteral(token);
    default:
        return (token & Wbxml::TokenMask) < 0x05
            ? readExtension(token)
            : start(Tag(m_page << 8 | (token & Wbxml::TokenMask)), token);
    }
}

WbxmlReader::Step WbxmlReader::readLiteral(quint8 token)
{
    quint32 offset = 0;
    // No literal is known here: it is passed over as any unknown tag.
    return takeNumber(&offset) ? start(NoTag, token) : needData();
}

WbxmlReader::Step WbxmlReader::readOpaqueLength()
{
    if (!takeNumber(&m_opaqueLeft))
        return needData();
    if (m_opaqueLeft > Limits::DownloadSize)
        return fail(FailureText::english("%1 bytes of opaque data are too many").arg(m_opaqueLeft));
    if (m_state == Content && m_open.isEmpty())
        return fail(FailureText::english("opaque data outside the root element"));
    m_silent = m_state == Attributes;
    m_outer = m_state;
    m_state = OpaqueText;
    return {};
}

WbxmlReader::Step WbxmlReader::readEntity()
{
    quint32 character = 0;
    if (!takeNumber(&character))
        return needData();
    if (character == 0 || character > 0x10ffff || QChar::isSurrogate(character))
        return fail(FailureText::english("%1 is no character").arg(character));
    const char32_t ucs4 = character;
    return text(QString::fromUcs4(&ucs4, 1).toUtf8());
}

WbxmlReader::Step WbxmlReader::readTableString()
{
    quint32 offset = 0;
    if (!takeNumber(&offset))
        return needData();
    if (offset >= quint32(m_table.size()))
        return fail(FailureText::english("a string beyond the table"));
    return text(QByteArray(m_table.constData() + offset));
}

/** The extension tokens of the format, of which ActiveSync gives none a meaning: passed over. */
WbxmlReader::Step WbxmlReader::readExtension(quint8 token)
{
    if (token >= Wbxml::ExtensionInline0 && token <= Wbxml::ExtensionInline2)
        return beginInlineText(true);
    if (token >= Wbxml::ExtensionTable0 && token <= Wbxml::ExtensionTable2)
        return passNumber();
    if (token >= Wbxml::Extension0 && token <= Wbxml::Extension2)
        return {};
    return fail(
        FailureText::english("token 0x%1 is not understood").arg(token, 2, 16, QLatin1Char('0')));
}

WbxmlReader::Step WbxmlReader::readAttribute()
{
    quint8 token = 0;
    quint8 page = 0;
    if (!takeByte(&token))
        return needData();
    switch (token) {
    case Wbxml::End:
        m_state = Content;
        return {};
    case Wbxml::SwitchPage:
        return takeByte(&page) ? Step() : needData();
    case Wbxml::Entity:
    case Wbxml::TableString:
    case Wbxml::Literal:
        return passNumber();
    case Wbxml::InlineString:
        return beginInlineText(true);
    case Wbxml::Opaque:
        return readOpaqueLength();
    default:
        return (token & Wbxml::TokenMask) < 0x05 ? readExtension(token) : Step();
    }
}

WbxmlReader::Step WbxmlReader::readInlineText()
{
    const int end = m_buffer.indexOf('\0', m_pos);
    const int length = (end < 0 ? m_buffer.size() : end) - m_pos;
    if (end < 0 && length == 0)
        return needData();
    const QByteArray bytes = m_silent ? QByteArray() : m_buffer.mid(m_pos, length);
    m_pos += length;
    if (end >= 0) {
        ++m_pos;
        m_state = m_outer;
    }
    return text(bytes);
}

WbxmlReader::Step WbxmlReader::readOpaqueText()
{
    const int length = int(qMin(quint32(m_buffer.size() - m_pos), m_opaqueLeft));
    if (length == 0 && m_opaqueLeft > 0)
        return needData();
    const QByteArray bytes = m_silent ? QByteArray() : m_buffer.mid(m_pos, length);
    m_pos += length;
    m_opaqueLeft -= quint32(length);
    if (m_opaqueLeft == 0)
        m_state = m_outer;
    return text(bytes);
}

WbxmlReader::Step WbxmlReader::passNumber()
{
    quint32 number = 0;
    return takeNumber(&number) ? Step() : needData();
}

WbxmlReader::Step WbxmlReader::beginInlineText(bool silent)
{
    if (m_state == Content && m_open.isEmpty())
        return fail(FailureText::english("text outside the root element"));
    m_silent = silent;
    m_outer = m_state;
    m_state = InlineText;
    return {};
}

WbxmlReader::Step WbxmlReader::start(Tag tag, quint8 token)
{
    if (m_open.size() >= Limits::Nesting)
        return fail(FailureText::english("nested deeper than %1 elements").arg(Limits::Nesting));
    m_open.append(tag);
    m_endDue = !(token & Wbxml::HasContent);
    if (token & Wbxml::HasAttributes)
        m_state = Attributes;
    if (m_skipFrom == 0 && !findTag(tag)) {
        m_skipFrom = m_open.size();
        qCDebug(lcEas, "passing over an unknown element: page %d, token 0x%02x", m_page,
                token & Wbxml::TokenMask);
    }
    if (m_skipFrom > 0)
        return {};
    m_tag = tag;
    return StartElement;
}

WbxmlReader::Step WbxmlReader::end()
{
    m_endDue = false;
    m_tag = m_open.takeLast();
    m_over = m_open.isEmpty();
    if (m_skipFrom == 0)
        return EndElement;
    if (m_skipFrom > m_open.size())
        m_skipFrom = 0;
    return {};
}

WbxmlReader::Step WbxmlReader::text(const QByteArray &bytes)
{
    if (m_open.isEmpty() && m_state == Content)
        return fail(FailureText::english("text outside the root element"));
    if (m_skipFrom > 0 || bytes.isEmpty())
        return {};
    m_data = bytes;
    return Text;
}

WbxmlReader::Step WbxmlReader::needData()
{
    if (m_badNumber)
        return fail(FailureText::english("a number of more than 32 bits"));
    if (m_finished)
        return fail(FailureText::english("the document ends too early"));
    m_pos = m_mark;
    return NeedData;
}

WbxmlReader::Step WbxmlReader::fail(const QString &error)
{
    m_error = error;
    m_over = true;
    return Invalid;
}

bool WbxmlReader::takeByte(quint8 *byte)
{
    if (m_pos == m_buffer.size())
        return false;
    *byte = quint8(m_buffer.at(m_pos++));
    return true;
}

/** A number of up to 32 bits in groups of seven, WBXML 1.3 5.1. */
bool WbxmlReader::takeNumber(quint32 *number)
{
    quint64 value = 0;
    quint8 byte = 0;
    for (int i = 0; i < 5; ++i) {
        if (!takeByte(&byte))
            return false;
        value = value << 7 | (byte & 0x7f);
        if (!(byte & 0x80)) {
            *number = quint32(value);
            m_badNumber = value > 0xffffffff;
            return !m_badNumber;
        }
    }
    m_badNumber = true;
    return false;
}

} // namespace Eas
