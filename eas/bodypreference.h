// SPDX-License-Identifier: LGPL-2.1-or-later
#ifndef EAS_BODYPREFERENCE_H
#define EAS_BODYPREFERENCE_H

#include "eas/mailitem.h"

#include <QtGlobal>

namespace Eas {

class WbxmlWriter;

/** In which form, and how much, of a body is wanted, [MS-ASAIRS] 2.2.2.12. */
struct BodyPreference
{
    /** Html: HTML for what was written in HTML, plain text for the rest. */
    BodyType type = PlainText;
    /** Bytes of the body at most; -1: all of it, 0: none. */
    qint64 truncation = -1;
    /** Characters of the preview, 0 to 255; servers before 14.0 know none. */
    int preview = 0;

    /** Writes what belongs into an Options element, for a version as Session::version() has it. */
    void write(WbxmlWriter *writer, int version) const;
    /** The same for Sync, where alone MIMETruncation may stand: some servers cut by nothing else.
     */
    void writeForSync(WbxmlWriter *writer, int version) const;

private:
    void writeSupport(WbxmlWriter *writer) const;
    void writeBodies(WbxmlWriter *writer, int version) const;
    void writeOne(WbxmlWriter *writer, BodyType form, int version) const;
};

} // namespace Eas

#endif
