// SPDX-License-Identifier: LGPL-2.1-or-later
#ifndef ASCLIENT_SEARCHMAILBOXOPTIONS_H
#define ASCLIENT_SEARCHMAILBOXOPTIONS_H

#include <QMetaType>
#include <QString>

class QDBusArgument;

namespace Activesync {

/**
 * How to search and what to bring of the hits. On the bus: (iissbbiiib), members in this order.
 *
 * Their defaults leave the choice to the daemon; the plugin searches with them. Our daemon reads
 * the range, `bodyType` and `truncationSize`; it passes over the rest.
 */
struct SearchMailboxOptions
{
    /** First and last hit to bring, counted from 0; -1 leaves it to the daemon. */
    int rangeStart = -1;
    int rangeEnd = -1;
    /** Credentials for a store other than the mailbox; empty for the account's own. */
    QString userName;
    QString password;
    /** Drop the results of the previous search at the server first. */
    bool rebuildResults = false;
    /** Search the folders below the named ones, too. */
    bool deepTraversal = true;
    /** How much of a hit's MIME form to bring; 0 none. */
    int mimeSupport = 0;
    /** The body's form: 1 text, 2 HTML, 4 MIME. */
    int bodyType = 2;
    /** Cut the body at so many bytes; -1 leaves it to the daemon. */
    int truncationSize = -1;
    /** Bring a body whole or not at all. */
    bool allOrNone = false;
};

QDBusArgument &operator<<(QDBusArgument &argument, const SearchMailboxOptions &options);
const QDBusArgument &operator>>(const QDBusArgument &argument, SearchMailboxOptions &options);

} // namespace Activesync

Q_DECLARE_METATYPE(Activesync::SearchMailboxOptions)

#endif
