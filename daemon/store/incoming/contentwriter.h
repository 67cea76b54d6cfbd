// SPDX-License-Identifier: LGPL-2.1-or-later
#ifndef DAEMON_STORE_INCOMING_CONTENTWRITER_H
#define DAEMON_STORE_INCOMING_CONTENTWRITER_H

#include "eas/mailitem.h"
#include "eas/result.h"

#include <qmailmessage.h>

namespace Store {

/** What is needed to ask the server for one part of a message. */
struct PartSource
{
    QString fileReference; ///< empty: the part is no attachment of its own
    qint64 estimatedSize = 0;
    bool available = false; ///< its content is here already
};

/** Puts downloaded content into messages of the mail store; ids and flags stay. */
namespace ContentWriter {

/** Replaces the message's content by the RFC 5322 message in the file; not what its author has
 * edited here. */
Eas::Result replaceMessage(const QMailMessageId &id, const QString &path);

/** The same by the item's text, which is whole, and by its attachments. */
Eas::Result replaceText(const QMailMessageId &id, const Eas::MailItem &item);

/**
 * Of the part at the location ("1.2", as QMF writes it); code NotFound where there is none.
 *
 * A message without parts is its own part "1".
 */
Eas::Result partSource(const QMailMessageId &id, const QString &location, PartSource *source);

/**
 * Where the server keeps the part's content by the list of attachments that it has now; empty where
 * the list has no such part, or several that may be it. Servers change the references of messages
 * that move.
 */
QString matchingReference(const QMailMessageId &id, const QString &location,
                          const QList<Eas::Attachment> &attachments);

/**
 * Gives the part the file's bytes as its content, and takes the file over.
 *
 * `reference`: of the part when its content was asked for, as partSource() told it. Code NotFound
 * where another part lies at the location now: the message may have been edited meanwhile.
 *
 * Memory does not grow with the file if it lies on the mail store's file system, which
 * downloadFolder() does.
 */
Eas::Result writePart(const QMailMessageId &id, const QString &location, const QString &reference,
                      const QString &path);

/** Where downloads are best put; made if it is not there. Empty if that fails. */
QString downloadFolder();

} // namespace ContentWriter

} // namespace Store

#endif
