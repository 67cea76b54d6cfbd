// SPDX-License-Identifier: LGPL-2.1-or-later
#ifndef DAEMON_STORE_OUTGOING_REFERENCES_H
#define DAEMON_STORE_OUTGOING_REFERENCES_H

#include "eas/result.h"

#include <qmailmessage.h>

namespace Store {

/** Where the content of a part is: a message of the mail store, or a part of one. */
struct ContentOrigin
{
    QMailMessageId message;
    QString location; ///< of the part, as QMF writes it ("1.2"); empty: all of the message

    bool operator==(const ContentOrigin &other) const
    {
        return message == other.message && location == other.location;
    }
};

/**
 * A message's parts that do not have their content themselves.
 *
 * Some only name another message of the mail store, or a part of one. Others are copies of what
 * was not all here when they were made: attachments, and whole messages, that were never fetched.
 */
namespace References {

/** Whether a part names the message as a whole. */
bool names(const QMailMessage &message, const QMailMessageId &named);
/** Leaves out those that do. */
void drop(QMailMessage *message, const QMailMessageId &named);

/**
 * What has to be fetched before resolve() can do its work.
 *
 * NotFound where the content of a part is neither here nor at the server of the message's account.
 */
Eas::Result missing(const QMailMessage &message, QList<ContentOrigin> *origins);

/** Puts the content in its place; NotFound where it is not here. */
Eas::Result resolve(QMailMessage *message);

} // namespace References

} // namespace Store

#endif
