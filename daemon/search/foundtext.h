// SPDX-License-Identifier: LGPL-2.1-or-later
#ifndef DAEMON_SEARCH_FOUNDTEXT_H
#define DAEMON_SEARCH_FOUNDTEXT_H

#include "eas/mailitem.h"

namespace Daemon {

/** Looks again at what a server found, where servers are known to find too much. */
namespace FoundText {

/**
 * Whether a message can be one that was looked for.
 *
 * Some servers take an apostrophe for the end of the text, and find everything. Every word of such
 * a text has to be somewhere in the message; for a message of which only a part is known, and for
 * any other text, the server's word is taken.
 */
bool mayHold(const Eas::MailItem &item, const QString &text);

} // namespace FoundText

} // namespace Daemon

#endif
