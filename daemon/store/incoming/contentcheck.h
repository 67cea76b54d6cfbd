// SPDX-License-Identifier: LGPL-2.1-or-later
#ifndef DAEMON_STORE_INCOMING_CONTENTCHECK_H
#define DAEMON_STORE_INCOMING_CONTENTCHECK_H

#include <qmailmessage.h>

namespace Store {

/**
 * Whether the content of a message is not in the store's files as it should be: missing, or less
 * than `least` bytes.
 *
 * So it is after a power cut, or on a full disk: the store takes it for a success where a small
 * file could not be written, and does not make the entries of new files durable.
 */
bool isContentDamaged(const QMailMessageMetaData &message, qint64 least);

/**
 * Whether a file of the content is empty, or it or the folder of the parts is missing.
 *
 * The store makes no file for a part that has nothing in it. So there is no telling such a part
 * from one whose file is missing.
 */
bool isContentLost(const QMailMessageMetaData &message, bool hasParts);

} // namespace Store

#endif
