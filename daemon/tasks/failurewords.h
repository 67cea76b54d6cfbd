// SPDX-License-Identifier: LGPL-2.1-or-later
#ifndef DAEMON_TASKS_FAILUREWORDS_H
#define DAEMON_TASKS_FAILUREWORDS_H

#include "eas/result.h"

#include <QString>

namespace Daemon {

/**
 * A failure as one sentence for the person whose account it is: which host, and what is wrong.
 *
 * Empty for a success. Made of our own words alone, so that neither a password nor a mail address
 * can be in it, whatever a server or a setting says.
 */
QString failureWords(const Eas::Result &result, const QString &host);

} // namespace Daemon

#endif
