// SPDX-License-Identifier: LGPL-2.1-or-later
#include "asclient/searchmailboxresult.h"

#include <QDBusArgument>

namespace Activesync {

QDBusArgument &operator<<(QDBusArgument &argument, const SearchMailboxResult &result)
{
    argument.beginStructure();
    argument << result.total << result.messageIds;
    argument.endStructure();
    return argument;
}

const QDBusArgument &operator>>(const QDBusArgument &argument, SearchMailboxResult &result)
{
    argument.beginStructure();
    argument >> result.total >> result.messageIds;
    argument.endStructure();
    return argument;
}

} // namespace Activesync
