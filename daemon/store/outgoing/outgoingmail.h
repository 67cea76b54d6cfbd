// SPDX-License-Identifier: LGPL-2.1-or-later
#ifndef DAEMON_STORE_OUTGOING_OUTGOINGMAIL_H
#define DAEMON_STORE_OUTGOING_OUTGOINGMAIL_H

#include "daemon/store/outgoing/messageskeleton.h"
#include "daemon/store/outgoing/responseplan.h"
#include "daemon/store/outgoing/storedparts.h"
#include "daemon/store/state/outgoingtable.h"

#include <qmailmessage.h>

class QIODevice;

namespace Store {

/**
 * Writes messages of the mail store as they go to the server (RFC 5322).
 *
 * What is written is plain ASCII in lines of at most 998 characters, ended by CR LF, and has all
 * recipients, those of "Bcc", too. Memory does not grow with the message.
 */
namespace OutgoingMail {

/** Success if the message names a recipient to whom it can be sent; else NotFound. */
Eas::Result checkRecipients(const QMailMessageMetaData &message);

/** Leaves out what the server is to put in itself. */
void leaveToServer(QMailMessage *message, const ResponsePlan &plan);

/** Brings in what parts of the message only name or never had, but for what the server puts in. */
Eas::Result completeParts(QMailMessage *message, const ResponsePlan &plan);

/**
 * The message, with the Message-ID and Date of `outgoing` where it has none of its own, or only the
 * Message-ID of an earlier version.
 *
 * The parts that were taken out of it are not written: `insertions` tells where each belongs.
 */
Eas::Result write(QMailMessage message, const Outgoing &outgoing, const StoredParts &stored,
                  QIODevice *target, QList<Insertion> *insertions);

/** The Message-ID that write() gives it, with the brackets. */
QByteArray rfcId(const QMailMessage &message, const Outgoing &outgoing);

/** The Date that write() gives it, UTC seconds since 1970. */
qint64 date(const QMailMessage &message, const Outgoing &outgoing);

} // namespace OutgoingMail

} // namespace Store

#endif
