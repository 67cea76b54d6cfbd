// SPDX-License-Identifier: LGPL-2.1-or-later
#ifndef EAS_WBXMLREADER_H
#define EAS_WBXMLREADER_H

#include "eas/tags.h"

#include <QByteArray>
#include <QString>
#include <QVector>

#include <optional>

namespace Eas {

/**
 * Reads a WBXML document as it arrives, in the manner of QXmlStreamReader.
 *
 * Give it bytes with addData() and take what they say with readNext() until that returns NeedData.
 * Memory does not grow with the document: a text comes in as many pieces as it arrives in, byte for
 * byte as it was sent. Elements that are not in the table of tags are left out with all that is in
 * them, and told in the debug log. The document is refused (Invalid, with errorString()) where it
 * is malformed, nested too deep, or ends too early.
 *
 * Understood: WBXML 1.1 to 1.3, UTF-8 or US-ASCII, string tables, inline and table strings,
 * opaque data, character entities, literal tags and attributes (both passed over).
 */
class WbxmlReader
{
public:
    enum Event {
        NeedData, ///< all that came was read: addData() or finish(), then go on
        StartElement,
        EndElement,
        Text, ///< a piece of text or of opaque data, see data()
        EndDocument,
        Invalid
    };

    void addData(const QByteArray &bytes);
    /** There will be no more data. */
    void finish() { m_finished = true; }

    /** The next event; the same for ever after EndDocument and Invalid. */
    Event readNext();

    /** The element of the last StartElement or EndElement. */
    Tag tag() const { return m_tag; }
    /** The bytes of the last Text. */
    QByteArray data() const { return m_data; }
    /** The number of open elements. */
    int depth() const { return m_open.size(); }
    QString errorString() const { return m_error; }

private:
    enum State { Header, Content, Attributes, InlineText, OpaqueText };
    /** What a step led to; nothing: take the next one. */
    using Step = std::optional<Event>;

    Step step();
    Step readHeader();
    Step readContent();
    Step readLiteral(quint8 token);
    Step readOpaqueLength();
    Step readEntity();
    Step readTableString();
    Step readExtension(quint8 token);
    Step readAttribute();
    Step readInlineText();
    Step readOpaqueText();
    Step passNumber();
    Step beginInlineText(bool silent);
    Step start(Tag tag, quint8 token);
    Step end();
    Step text(const QByteArray &bytes);
    Step needData();
    Step fail(const QString &error);
    bool takeByte(quint8 *byte);
    bool takeNumber(quint32 *number);

    QByteArray m_buffer;
    int m_pos = 0;
    /** Where the current step began: what is incomplete is read again from here. */
    int m_mark = 0;
    bool m_finished = false;
    State m_state = Header;
    /** The state after the current text. */
    State m_outer = Content;
    /** The current text is passed over. */
    bool m_silent = false;
    quint32 m_opaqueLeft = 0;
    /** The element that has begun has no content: its end comes next. */
    bool m_endDue = false;
    bool m_over = false;
    bool m_badNumber = false;
    QByteArray m_table;
    QVector<Tag> m_open;
    /** Depth of the outermost element that is passed over, 0 for none. */
    int m_skipFrom = 0;
    int m_page = 0;
    Tag m_tag = NoTag;
    QByteArray m_data;
    QString m_error;
};

} // namespace Eas

#endif
