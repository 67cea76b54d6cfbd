// SPDX-License-Identifier: LGPL-2.1-or-later
#ifndef MANUAL_PAGES_COMPLETION_H
#define MANUAL_PAGES_COMPLETION_H

#include "manual/manual.h"

namespace Manual {

/** What a shell reads to complete the program's commands, options and accounts. */
QString bashCompletion(const Program &program);
QString zshCompletion(const Program &program);

} // namespace Manual

#endif
