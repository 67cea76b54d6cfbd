// SPDX-License-Identifier: LGPL-2.1-or-later
#ifndef EAS_WBXMLREADER_H
#define EAS_WBXMLREADER_H

#include "daemon/eas/tags.h"

#include <QByteArray>
#include <QString>
#include <QVector>

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
    /** Whether the last Text was opaque data. */
    bool isOpaque() const { return m_opaque; }
    /** The number of open elements. */
    int depth() const { return m_open.size(); }
    QString errorString() const { return m_error; }

private:
    enum State { Header, Content, Attributes, InlineText, OpaqueText, Done };

    bool readHeader();
    Event readContent();
    Event readTag(quint8 token);
    Event readGlobal(quint8 token);
    Event readInlineText();
    Event readOpaqueText();
    bool readAttributes(Event *event);
    Event start(Tag tag, bool hasAttributes, bool hasContent);
    Event end();
    Event text(const QByteArray &bytes, bool opaque);
    Event tableText(quint32 offset);
    Event entity(quint32 character);
    Event needData();
    Event fail(const QString &error);
    bool takeByte(quint8 *byte);
    bool takeNumber(quint32 *number);
    bool skipString();

    QByteArray m_buffer;
    int m_pos = 0;
    /** Where the token that is being read began: what is incomplete is read again from here. */
    int m_mark = 0;
    bool m_finished = false;
    bool m_malformed = false;
    State m_state = Header;
    /** Where an inline or opaque text, or a list of attributes, goes back to. */
    State m_outer = Content;
    QByteArray m_table;
    QVector<Tag> m_open;
    /** Depth of the outermost element that is passed over, 0 for none. */
    int m_skipFrom = 0;
    int m_page = 0;
    quint32 m_opaqueLeft = 0;
    /** An element without content has begun; its end comes next. */
    bool m_endDue = false;
    bool m_ended = false;
    Tag m_tag = NoTag;
    QByteArray m_data;
    bool m_opaque = false;
    QString m_error;
};

} // namespace Eas

#endif
