// SPDX-License-Identifier: LGPL-2.1-or-later
#ifndef DAEMON_STORE_FLAGMARK_H
#define DAEMON_STORE_FLAGMARK_H

#include <qmailmessage.h>

namespace Store {

/**
 * Marks messages whose follow-up flag is known to have neither dates nor a reminder at the server.
 *
 * The mail store keeps none of these: a flag that has some, or of which it is not known, would lose
 * them if it was said again from here.
 */
namespace FlagMark {

bool isSet(const QMailMessageMetaData &message);
void set(QMailMessageMetaData *message, bool isBare);

} // namespace FlagMark

} // namespace Store

#endif
