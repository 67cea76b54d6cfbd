// SPDX-License-Identifier: LGPL-2.1-or-later
#ifndef ASCLIENT_SEARCHMAILBOXRESULT_H
#define ASCLIENT_SEARCHMAILBOXRESULT_H

#include <QList>
#include <QMetaType>

class QDBusArgument;

namespace Activesync {

/** What a search found. On the bus: (iat), members in this order. */
struct SearchMailboxResult
{
    /** How many messages match at the server. */
    int total = 0;
    /** QMailMessageIds of those found that are in the mail store. */
    QList<qulonglong> messageIds;
};

QDBusArgument &operator<<(QDBusArgument &argument, const SearchMailboxResult &result);
const QDBusArgument &operator>>(const QDBusArgument &argument, SearchMailboxResult &result);

} // namespace Activesync

Q_DECLARE_METATYPE(Activesync::SearchMailboxResult)

#endif
