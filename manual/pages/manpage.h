// SPDX-License-Identifier: LGPL-2.1-or-later
#ifndef MANUAL_PAGES_MANPAGE_H
#define MANUAL_PAGES_MANPAGE_H

#include "manual/manual.h"

namespace Manual {

/** The program's page for man(1). `date`: as it stands in its foot, may be empty. */
QString manPage(const Program &program, const QString &version, const QString &date);

} // namespace Manual

#endif
