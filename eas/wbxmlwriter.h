// SPDX-License-Identifier: LGPL-2.1-or-later
#ifndef EAS_WBXMLWRITER_H
#define EAS_WBXMLWRITER_H

#include "eas/tags.h"

#include <QByteArray>
#include <QString>
#include <QVector>

namespace Eas {

/**
 * Writes a WBXML document in ActiveSync's form, [MS-ASWBXML] 2: version 1.3, public id unknown,
 * UTF-8, no string table, texts in line.
 *
 * It appends to a byte array of the caller's, which must outlive it. Content too long for memory is
 * announced by beginOpaque() and put there by the caller: see RequestBody.
 */
class WbxmlWriter
{
public:
    explicit WbxmlWriter(QByteArray *target);

    void startDocument();
    void startElement(Tag tag);
    void endElement();
    /** Ends every element that is still open. */
    void endDocument();

    /** An element without content. */
    void emptyElement(Tag tag);
    /** An element with a text; an empty text makes it an empty element. */
    void element(Tag tag, const QString &content);
    void element(Tag tag, int number);

    /** Text in the open element. A NUL, which a text cannot hold on the wire, is left out. */
    void text(const QString &text);
    /** Bytes in the open element, as they are. */
    void opaque(const QByteArray &bytes);
    /** Begins opaque data of `size` bytes in the open element; the caller sends them right
     * behind. */
    void beginOpaque(quint32 size);

private:
    void openPending();
    void putTag(Tag tag, bool hasContent);
    void putNumber(quint32 number);

    QByteArray *m_target;
    QVector<Tag> m_open;
    /** Started, but not yet known whether it has content. */
    Tag m_pending = NoTag;
    int m_page = 0;
};

} // namespace Eas

#endif
