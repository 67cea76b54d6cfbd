// SPDX-License-Identifier: LGPL-2.1-or-later
#ifndef STORE_MESSAGEBUILDER_H
#define STORE_MESSAGEBUILDER_H

#include "daemon/eas/mailitem.h"

#include <qmailmessage.h>

namespace Store {

/** Makes messages of the mail store from the server's items. */
namespace MessageBuilder {

/** Whether the item brings enough to make a message that is not here yet. */
bool isComplete(const Eas::MailItem &item);

/** A new message without account, folder and server id. */
QMailMessage build(const Eas::MailItem &item);

/** Where the server keeps an attachment's content; empty for any other part. */
QString fileReference(const QMailMessagePart &part);

/** The protocol's conversation id of a message, as it came. */
QByteArray conversationId(const QMailMessageMetaData &message);

} // namespace MessageBuilder

} // namespace Store

#endif
