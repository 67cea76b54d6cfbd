// SPDX-License-Identifier: LGPL-2.1-or-later
//
// The binary XML reader: whatever the bytes and the pieces they come in, it ends, its elements
// match, and the pieces make no difference. The first byte is the length of the pieces.
#include "eas/limits.h"
#include "eas/wbxmlreader.h"
#include "tests/fuzz/require.h"

using namespace Eas;

namespace {

/** What a document says, in a form that can be compared. */
struct Reading
{
    QByteArray events;
    bool valid = false;
};

class Recorder
{
public:
    Reading read(const QByteArray &document, int step);

private:
    bool take(WbxmlReader::Event event);

    WbxmlReader m_reader;
    Reading m_reading;
    QVector<Tag> m_open;
};

Reading Recorder::read(const QByteArray &document, int step)
{
    int given = 0;
    for (;;) {
        const WbxmlReader::Event event = m_reader.readNext();
        if (event == WbxmlReader::NeedData) {
            m_reader.addData(document.mid(given, step));
            given += step;
            if (given >= document.size())
                m_reader.finish();
        } else if (!take(event)) {
            break;
        }
    }
    REQUIRE(m_reading.valid == m_reader.errorString().isEmpty());
    return m_reading;
}

/** Whether there is more. */
bool Recorder::take(WbxmlReader::Event event)
{
    switch (event) {
    case WbxmlReader::StartElement:
        REQUIRE(findTag(m_reader.tag()));
        REQUIRE(m_open.size() < Limits::Nesting);
        m_open.append(m_reader.tag());
        m_reading.events += '<' + QByteArray::number(m_reader.tag(), 16) + '>';
        return true;
    case WbxmlReader::EndElement:
        REQUIRE(!m_open.isEmpty() && m_open.takeLast() == m_reader.tag());
        m_reading.events += "</>";
        return true;
    case WbxmlReader::Text:
        REQUIRE(!m_open.isEmpty() && !m_reader.data().isEmpty());
        m_reading.events += m_reader.data();
        return true;
    case WbxmlReader::EndDocument:
        REQUIRE(m_open.isEmpty());
        m_reading.valid = true;
        return false;
    default:
        return false;
    }
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    if (size == 0)
        return 0;
    const QByteArray document(reinterpret_cast<const char *>(data) + 1, int(size) - 1);
    const Reading whole = Recorder().read(document, document.size() + 1);
    const Reading pieces = Recorder().read(document, 1 + data[0] % 64);
    REQUIRE(whole.valid == pieces.valid);
    // What is refused is refused where it is wrong, however much was read by then.
    REQUIRE(!whole.valid || whole.events == pieces.events);
    return 0;
}
