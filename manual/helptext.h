// SPDX-License-Identifier: LGPL-2.1-or-later
#ifndef MANUAL_HELPTEXT_H
#define MANUAL_HELPTEXT_H

#include "manual/manual.h"

namespace Manual {

/** What --help prints: of the program, and of one of its commands. */
QString helpText(const Program &program);
QString helpText(const Program &program, const Command &command);

} // namespace Manual

#endif
