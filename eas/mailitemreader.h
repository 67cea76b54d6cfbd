// SPDX-License-Identifier: LGPL-2.1-or-later
#ifndef EAS_MAILITEMREADER_H
#define EAS_MAILITEMREADER_H

#include "eas/mailitem.h"
#include "eas/tags.h"

namespace Eas {

/**
 * Makes a MailItem of the properties that an answer has for one message; several commands' answers
 * have them alike.
 *
 * Its parser tells it the end of each element that is somewhere inside the properties.
 */
class MailItemReader
{
public:
    void begin();
    /** `parent`: the element around; `cut`: the text is only the beginning. */
    void startElement(Tag tag);
    void endElement(Tag tag, Tag parent, const QByteArray &text, bool cut);

    MailItem &item() { return m_item; }
    /** Why the item cannot be used, empty where it can. */
    QString problem() const { return m_problem; }

    /** Bytes of an element's text that are of use, where no more than `body` bytes of the body are
     * wanted (-1: all). */
    static qint64 textLimit(Tag tag, qint64 body);
    /** Whether an element is one whose children are a message's properties. */
    static bool isProperties(Tag tag);

private:
    void readProperty(Tag tag, const QByteArray &text);
    void readEmail(Tag tag, const QByteArray &text);
    void readBody(Tag tag, const QByteArray &text, bool cut);
    void readAttachment(Tag tag, const QByteArray &text);
    void readFlag(const QByteArray &text);

    MailItem m_item;
    Body m_body;
    QList<Attachment> m_attachments;
    Attachment m_attachment;
    FlagStatus m_flag = FlagStatus::Clear;
    bool m_hasFlagDates = false;
    QString m_problem;
};

} // namespace Eas

#endif
