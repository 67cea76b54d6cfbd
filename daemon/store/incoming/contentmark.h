// SPDX-License-Identifier: LGPL-2.1-or-later
#ifndef DAEMON_STORE_INCOMING_CONTENTMARK_H
#define DAEMON_STORE_INCOMING_CONTENTMARK_H

#include "eas/mailitem.h"

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

    static ContentMark of(const Eas::MailItem &item);
    static ContentMark read(const QMailMessageMetaData &message);
    void store(QMailMessageMetaData *message) const;

    /** Whether a message with this mark must be rebuilt to show what `item` shows. */
    bool isOutdatedBy(const ContentMark &item) const;
};

} // namespace Store

#endif
