// SPDX-License-Identifier: LGPL-2.1-or-later
#ifndef DAEMON_STORE_OUTGOING_OUTGOINGPRINT_H
#define DAEMON_STORE_OUTGOING_OUTGOINGPRINT_H

#include <QByteArray>
#include <qmailmessage.h>

namespace Store {

/**
 * A digest that shows whether a message was edited since it left.
 *
 * Made of what a person writes: recipients, subject, text and attachments. Status, custom fields
 * and all other headers change without its author.
 */
namespace OutgoingPrint {

/** Never empty. Memory does not grow with the message. */
QByteArray of(const QMailMessage &message);

/**
 * Whether nothing tells the message from the one that the print was made of: an attachment that one
 * of them lacks may be the other's. A print that was made in an unknown way tells nothing.
 */
bool isSame(const QByteArray &print, const QMailMessage &message);

} // namespace OutgoingPrint

} // namespace Store

#endif
