// SPDX-License-Identifier: LGPL-2.1-or-later
#ifndef DAEMON_STORE_OUTGOING_MESSAGESKELETON_H
#define DAEMON_STORE_OUTGOING_MESSAGESKELETON_H

#include <QByteArray>
#include <QList>
#include <qmailmessage.h>

class QIODevice;

namespace Store {

/**
 * A message of the mail store from which the attachments in base64 are taken out, and which is
 * written with them put back in.
 *
 * The mail store keeps attachments decoded, and its own encoder takes long for a large one.
 */
class MessageSkeleton
{
public:
    /** Leaves in the message what is signed or encrypted. */
    explicit MessageSkeleton(const QMailMessage &message);

    /** As for a transmission: without "Bcc" and without what is the store's own. */
    bool write(QIODevice *target) const;

private:
    void takeOut(QMailMessagePartContainer *container);
    void takeOutBody(QMailMessagePart *part);

    QMailMessage m_message;
    const QByteArray m_token; ///< that no message has in it by chance
    QList<QMailMessageBody> m_bodies;
};

} // namespace Store

#endif
