// SPDX-License-Identifier: LGPL-2.1-or-later
#ifndef STORE_FLAGMARK_H
#define STORE_FLAGMARK_H

#include <qmailmessage.h>

namespace Store {

/**
 * Marks messages whose follow-up flag has dates or a reminder at the server.
 *
 * The mail store keeps none of these: a flag of theirs that was said again from here would lose
 * them.
 */
namespace FlagMark {

bool isSet(const QMailMessageMetaData &message);
void set(QMailMessageMetaData *message, bool hasDates);

} // namespace FlagMark

} // namespace Store

#endif
