// SPDX-License-Identifier: LGPL-2.1-or-later
#ifndef DAEMON_STORE_INCOMING_MESSAGEBUILDER_H
#define DAEMON_STORE_INCOMING_MESSAGEBUILDER_H

#include "eas/mailitem.h"

#include <qmailmessage.h>

namespace Store {

/** Makes messages of the mail store from the server's items. */
namespace MessageBuilder {

/** Whether the item brings enough to make a message that is not here yet. */
bool isComplete(const Eas::MailItem &item);

/** A new message without account, folder and server id. */
QMailMessage build(const Eas::MailItem &item);

/** Whether the item brings content that the message does not have already. */
bool isNews(const Eas::MailItem &item, const QMailMessageMetaData &message);

/** A message that is here, rebuilt from an item that is complete. */
QMailMessage rebuilt(const QMailMessageMetaData &before, const Eas::MailItem &item);

/**
 * The message as it is after a change: what the item does not bring stays, and so does what its
 * author has edited here, until the item brings another text.
 *
 * A flag that the user changed and that is not uploaded yet stays as the user wants it.
 */
QMailMessage updated(const QMailMessage &before, const Eas::MailItem &item);

/** The flags of a change alone; the rest of the message is not looked at. */
void updateFlags(QMailMessageMetaData *message, const Eas::MailItem &item);

/** The conversation that an item names, if it does; the rest of the message is not looked at. */
bool updateConversation(QMailMessageMetaData *message, const Eas::MailItem &item);

/** Takes over from a message all by which the store and its users know it: ids, folder, flags. */
void keepIdentity(QMailMessage *after, const QMailMessageMetaData &before);

/** A part that knows where the attachment's content is, and has none yet. */
QMailMessagePart attachmentPart(const Eas::Attachment &attachment);

/** Empty where the part has none; displayName() makes one of its place in the message then. */
QString fileName(const QMailMessagePart &part);

/** Where the server keeps an attachment's content; empty for any other part. */
QString fileReference(const QMailMessagePart &part);

/** The protocol's conversation id of a message; of one that is very long, a digest. */
QByteArray conversationId(const QMailMessageMetaData &message);

} // namespace MessageBuilder

} // namespace Store

#endif
