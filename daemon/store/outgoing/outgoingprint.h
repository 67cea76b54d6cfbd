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

/** What the mail store has of a message. */
enum class Content {
    Whole,
    Lost ///< a file of it is gone or empty: a text that is empty now may have been lost
};

/** Never empty. Memory does not grow with the message. */
QByteArray of(const QMailMessage &message);

/**
 * Whether nothing tells the message from the one that the print was made of: an attachment that one
 * of them lacks may be the other's, and so may be what was lost here. A print that was made in an
 * unknown way tells nothing.
 */
bool isSame(const QByteArray &print, const QMailMessage &message, Content content = Content::Whole);

} // namespace OutgoingPrint

} // namespace Store

#endif
