// SPDX-License-Identifier: LGPL-2.1-or-later
#ifndef ASCLIENT_SERVICEKEY_H
#define ASCLIENT_SERVICEKEY_H

#include <QString>

namespace Activesync {

/** The key of the message service, which is the name of the accounts' service configuration, too.
 */
inline QString mailServiceKey()
{
    return QStringLiteral("orvmail");
}

} // namespace Activesync

#endif
