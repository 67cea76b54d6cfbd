// SPDX-License-Identifier: LGPL-2.1-or-later
#ifndef MANUAL_TYPEDNAME_H
#define MANUAL_TYPEDNAME_H

#include <QString>

namespace Manual {

/** The account as one types it behind a command in a shell: its name, within quotes if need be, or
 * its number in the mail store where that is still not to be typed. */
QString typedName(const QString &name, quint64 accountId);

} // namespace Manual

#endif
