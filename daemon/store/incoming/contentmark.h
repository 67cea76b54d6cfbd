// SPDX-License-Identifier: LGPL-2.1-or-later
#ifndef DAEMON_STORE_INCOMING_CONTENTMARK_H
#define DAEMON_STORE_INCOMING_CONTENTMARK_H

#include "eas/mailitem.h"
#include "eas/result.h"

#include <QByteArray>
#include <qmailmessage.h>

namespace Store {

/**
 * Remembers with a message what of the server's item it was made of.
 *
 * Servers send the whole item again when a flag changes; by this mark it is seen that the content
 * is the same, and neither rewritten nor, if more of it was fetched since, lost.
 */
struct ContentMark
{
    QByteArray envelope; ///< digest of the headers and the list of attachments
    QByteArray body;     ///< digest of the text; empty: none came
    bool truncated = false;
    bool downloaded = false; ///< the content was replaced by the message as the server has it
    /** Digest of the content's identifier, of which each writing makes a new one; empty: not noted.
     */
    QByteArray written;
    QByteArray headers; ///< digest of subject and recipients, noted with `written`

    static ContentMark of(const Eas::MailItem &item);
    static ContentMark read(const QMailMessageMetaData &message);
    /** Digest of a message's subject and recipients. */
    static QByteArray headersOf(const QMailMessage &message);
    void store(QMailMessageMetaData *message) const;

    /** Whether a message with this mark must be rebuilt to show what `item` shows. */
    bool isOutdatedBy(const ContentMark &item) const;
    /** Whether the item surely has another text. Where one of the two is cut, that is not known. */
    bool isOtherText(const ContentMark &item) const;
};

/**
 * Notes the content of a draft that was just written as the server's; not where the mark says that
 * it is its author's. Other messages are not edited in their place, and cost no writing.
 */
Eas::Result noteContent(const QMailMessage &message);

/** The same with a message that lies in the store, and leaves the writing to the caller. */
void markContent(QMailMessageMetaData *message);

/** Whether the content of a message is not the one that was noted, and is not lost: its author has
 * edited it here. */
bool isEdited(const QMailMessageMetaData &message);

/** Whether the content of a message is its author's, and stays where the server sends the item. */
bool keepsContent(const QMailMessageMetaData &message, const Eas::MailItem &item);

/** Whether its author has edited subject or recipients here. */
bool areHeadersEdited(const QMailMessage &message);

} // namespace Store

#endif
