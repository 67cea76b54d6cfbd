// SPDX-License-Identifier: LGPL-2.1-or-later
#ifndef DAEMON_STORE_INCOMING_CONTENTCHECK_H
#define DAEMON_STORE_INCOMING_CONTENTCHECK_H

#include <qmailmessage.h>

namespace Store {

/**
 * Whether the content of a message is not in the store's files as it should be: missing, or less
 * than `least` bytes.
 *
 * So it is after a power cut, or on a full disk: the store's database is durable before the files
 * of the messages are.
 */
bool isContentDamaged(const QMailMessageMetaData &message, qint64 least);

} // namespace Store

#endif
