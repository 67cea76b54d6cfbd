// SPDX-License-Identifier: LGPL-2.1-or-later
#ifndef ASCLIENT_SEARCHQUERY_H
#define ASCLIENT_SEARCHQUERY_H

#include <QDateTime>
#include <QMetaType>
#include <QStringList>

class QDBusArgument;

namespace Activesync {

/** What to search for at the server. On the bus: (siasxxs), members in this order. */
struct SearchQuery
{
    /** The text to find. */
    QString text;
    /** The kind of query; 1 is a search for free text. */
    int selector = 0;
    /** The folders to search, as decimal QMailFolderIds. */
    QStringList folders;
    /** Only what was received after this; an invalid time is open. */
    QDateTime receivedAfter;
    /** Only what was received before this; an invalid time is open. */
    QDateTime receivedBefore;
    /** Reserved, empty. */
    QString reserved;
};

/** Times travel as milliseconds since the epoch, UTC; the least 64-bit number is open. */
QDBusArgument &operator<<(QDBusArgument &argument, const SearchQuery &query);
const QDBusArgument &operator>>(const QDBusArgument &argument, SearchQuery &query);

} // namespace Activesync

Q_DECLARE_METATYPE(Activesync::SearchQuery)

#endif
