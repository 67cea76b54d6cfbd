// SPDX-License-Identifier: LGPL-2.1-or-later
#include "asclient/searchquery.h"

#include <QDBusArgument>

#include <limits>

namespace Activesync {

namespace {

constexpr qint64 OpenBound = std::numeric_limits<qint64>::min();

qint64 toBound(const QDateTime &time)
{
    return time.isValid() ? time.toMSecsSinceEpoch() : OpenBound;
}

QDateTime fromBound(qint64 bound)
{
    return bound == OpenBound ? QDateTime() : QDateTime::fromMSecsSinceEpoch(bound, Qt::UTC);
}

} // namespace

QDBusArgument &operator<<(QDBusArgument &argument, const SearchQuery &query)
{
    argument.beginStructure();
    argument << query.text << query.selector << query.folders << toBound(query.receivedAfter)
             << toBound(query.receivedBefore) << query.reserved;
    argument.endStructure();
    return argument;
}

const QDBusArgument &operator>>(const QDBusArgument &argument, SearchQuery &query)
{
    qint64 after = OpenBound;
    qint64 before = OpenBound;
    argument.beginStructure();
    argument >> query.text >> query.selector >> query.folders >> after >> before >> query.reserved;
    argument.endStructure();
    query.receivedAfter = fromBound(after);
    query.receivedBefore = fromBound(before);
    return argument;
}

} // namespace Activesync
