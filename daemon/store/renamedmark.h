// SPDX-License-Identifier: LGPL-2.1-or-later
#ifndef DAEMON_STORE_RENAMEDMARK_H
#define DAEMON_STORE_RENAMEDMARK_H

#include <qmailmessage.h>

namespace Store {

/**
 * Marks messages that the server calls otherwise than when their content came: what it called their
 * attachments then may be another message's now.
 */
namespace RenamedMark {

bool isSet(const QMailMessageMetaData &message);
void set(QMailMessageMetaData *message);
void clear(QMailMessageMetaData *message);

} // namespace RenamedMark

} // namespace Store

#endif
