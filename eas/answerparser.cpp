// SPDX-License-Identifier: LGPL-2.1-or-later
#include "eas/answerparser.h"

#include "eas/limits.h"
#include "translations/text.h"

namespace Eas {

bool AnswerParser::feed(const QByteArray &bytes)
{
    m_reader.addData(bytes);
    return drain();
}

bool AnswerParser::finish()
{
    m_reader.finish();
    return drain() && m_complete;
}

void AnswerParser::fail(const QString &error, int code)
{
    if (m_error.isEmpty()) {
        m_error = error;
        m_errorCode = code;
    }
}

qint64 AnswerParser::textLimit(Tag tag) const
{
    Q_UNUSED(tag)
    return Limits::TextSize;
}

Tag AnswerParser::enclosing(int up) const
{
    return up < m_path.size() ? m_path.at(m_path.size() - 1 - up) : NoTag;
}

/** Takes all events that the data so far has. */
bool AnswerParser::drain()
{
    while (m_error.isEmpty()) {
        switch (m_reader.readNext()) {
        case WbxmlReader::NeedData:
            return true;
        case WbxmlReader::StartElement:
            start(m_reader.tag());
            break;
        case WbxmlReader::Text:
            text(m_reader.data());
            break;
        case WbxmlReader::EndElement:
            end(m_reader.tag());
            break;
        case WbxmlReader::EndDocument:
            if (!m_begun)
                fail(FailureText::english("an answer to something else"));
            m_complete = true;
            return m_begun;
        case WbxmlReader::Invalid:
            fail(m_reader.errorString());
            break;
        }
    }
    return false;
}

void AnswerParser::start(Tag tag)
{
    if (!m_begun && !isRoot(tag)) {
        fail(FailureText::english("an answer to something else"));
        return;
    }
    m_begun = true;
    if (++m_elements > Limits::Elements) {
        fail(FailureText::english("an answer of more than %1 elements").arg(Limits::Elements));
        return;
    }
    m_path.append(tag);
    m_text.clear();
    m_cut = false;
    startElement(tag);
}

void AnswerParser::text(const QByteArray &bytes)
{
    const Tag tag = m_path.last();
    if (streams(tag)) {
        stream(tag, bytes);
        return;
    }
    const int room = int(qBound(qint64(0), textLimit(tag) - m_text.size(), qint64(bytes.size())));
    m_cut = m_cut || room < bytes.size();
    m_text.append(bytes.constData(), room);
    m_held += room;
    if (m_held > Limits::HeldSize)
        fail(FailureText::english("an answer of more than %1 bytes").arg(Limits::HeldSize));
}

void AnswerParser::stream(Tag tag, const QByteArray &bytes)
{
    // Counted apart from the bytes of the answer: three of them can name a long string of its
    // table.
    m_streamed += bytes.size();
    if (m_streamed > Limits::DownloadSize)
        fail(FailureText::english("a content of more than %1 bytes").arg(Limits::DownloadSize));
    else
        piece(tag, bytes);
}

void AnswerParser::end(Tag tag)
{
    const TagEntry *entry = findTag(tag);
    if (m_path.size() == 2 && qstrcmp(entry->name, "Status") == 0)
        m_status = m_text.trimmed().toInt();
    endElement(tag, m_text);
    m_path.removeLast();
    m_text.clear();
    m_cut = false;
}

} // namespace Eas
