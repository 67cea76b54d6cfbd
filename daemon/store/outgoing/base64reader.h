// SPDX-License-Identifier: LGPL-2.1-or-later
#ifndef DAEMON_STORE_OUTGOING_BASE64READER_H
#define DAEMON_STORE_OUTGOING_BASE64READER_H

#include "daemon/store/outgoing/partfile.h"

#include <QByteArray>

namespace Store {

/** Reads a part's file in base64, from its beginning, and encodes no more than is asked for soon.
 */
class Base64Reader
{
public:
    explicit Base64Reader(std::shared_ptr<const PartFile> file);

    /** As many characters as can be had at once; -1 where the file has got shorter. */
    qint64 read(char *data, qint64 size);

private:
    bool readPiece();

    const std::shared_ptr<const PartFile> m_file;
    qint64 m_at = 0; ///< in the file
    QByteArray m_bytes;
    QByteArray m_lines;
    qint64 m_given = 0; ///< of the lines
};

} // namespace Store

#endif
