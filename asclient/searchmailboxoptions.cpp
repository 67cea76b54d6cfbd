// SPDX-License-Identifier: LGPL-2.1-or-later
#include "asclient/searchmailboxoptions.h"

#include <QDBusArgument>

namespace Activesync {

QDBusArgument &operator<<(QDBusArgument &argument, const SearchMailboxOptions &options)
{
    argument.beginStructure();
    argument << options.rangeStart << options.rangeEnd << options.userName << options.password
             << options.rebuildResults << options.deepTraversal << options.mimeSupport
             << options.bodyType << options.truncationSize << options.allOrNone;
    argument.endStructure();
    return argument;
}

const QDBusArgument &operator>>(const QDBusArgument &argument, SearchMailboxOptions &options)
{
    argument.beginStructure();
    argument >> options.rangeStart >> options.rangeEnd >> options.userName >> options.password
        >> options.rebuildResults >> options.deepTraversal >> options.mimeSupport
        >> options.bodyType >> options.truncationSize >> options.allOrNone;
    argument.endStructure();
    return argument;
}

} // namespace Activesync
