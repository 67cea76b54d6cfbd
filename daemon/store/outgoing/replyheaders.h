// SPDX-License-Identifier: LGPL-2.1-or-later
#ifndef DAEMON_STORE_OUTGOING_REPLYHEADERS_H
#define DAEMON_STORE_OUTGOING_REPLYHEADERS_H

#include <qmailmessage.h>

namespace Store {

/** In-Reply-To and References, by which a reply is known as one: RFC 5322, 3.6.4. */
namespace ReplyHeaders {

/** Whether the reply lacks one of them. */
bool isIncomplete(const QMailMessage &reply);

/** Gives the reply those that it lacks; the original needs its headers alone. */
void complete(QMailMessage *reply, const QMailMessage &original);

} // namespace ReplyHeaders

} // namespace Store

#endif
