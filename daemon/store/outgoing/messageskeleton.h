// SPDX-License-Identifier: LGPL-2.1-or-later
#ifndef DAEMON_STORE_OUTGOING_MESSAGESKELETON_H
#define DAEMON_STORE_OUTGOING_MESSAGESKELETON_H

#include "daemon/store/outgoing/storedparts.h"

#include <QByteArray>
#include <QList>
#include <qmailmessage.h>

class QIODevice;

namespace Store {

/** A file that belongs, in base64, into what was written without it. */
struct Insertion
{
    qint64 at; ///< bytes written before it
    std::shared_ptr<PartFile> file;
};

/**
 * A message of the mail store from which the attachments in base64 are taken out, and which is
 * written with them put back in, but for those of which the store has files.
 *
 * The mail store keeps attachments decoded, and its own encoder takes long for a large one.
 */
class MessageSkeleton
{
public:
    /** Leaves in the message what is signed or encrypted. */
    MessageSkeleton(const QMailMessage &message, const StoredParts &stored);

    /**
     * As for a transmission: without "Bcc" and without what is the store's own. What is to be
     * inserted is told in the order of its places; `target` knows its position.
     */
    bool write(QIODevice *target, QList<Insertion> *insertions) const;

private:
    void takeOut(QMailMessagePartContainer *container);
    void takeOutBody(QMailMessagePart *part);
    bool putBack(const QMailMessageBody &body, QIODevice *target,
                 QList<Insertion> *insertions) const;

    QMailMessage m_message;
    const StoredParts m_stored;
    const QByteArray m_token; ///< that no message has in it by chance
    QList<QMailMessageBody> m_bodies;
};

} // namespace Store

#endif
