// SPDX-License-Identifier: LGPL-2.1-or-later
#ifndef DAEMON_STORE_OUTGOING_TEXTENCODER_H
#define DAEMON_STORE_OUTGOING_TEXTENCODER_H

#include <qmailmessage.h>
#include <QString>

namespace Store {

/**
 * Encodes texts byte by byte, whatever their charset is.
 *
 * The mail store keeps a part's text decoded. QMF, which encodes it when it writes the message,
 * takes it for UTF-8 where its charset has all of Unicode. Such is GB 18030, for which QMF takes GB
 * 2312 and GBK as well: nothing would be left of a Chinese text.
 */
class TextEncoder
{
public:
    /** The texts are then read from files in the folder `scratch`. */
    explicit TextEncoder(const QString &scratch);

    /** Whether its body is a text; in UTF-16 and UTF-32 not even the line ends are bytes. */
    static bool isText(const QMailMessagePartContainer &container);

    /** False where the file cannot be written. */
    bool encode(QMailMessagePartContainer *text, QMailMessageBody::TransferEncoding encoding);
    /** All texts among the parts, each in the encoding that it has. */
    bool encodeParts(QMailMessagePartContainer *container);

private:
    bool encodePart(QMailMessagePart *part);

    const QString m_scratch;
    int m_files = 0;
};

} // namespace Store

#endif
