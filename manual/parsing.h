// SPDX-License-Identifier: LGPL-2.1-or-later
#ifndef MANUAL_PARSING_H
#define MANUAL_PARSING_H

#include "manual/manual.h"

class QCommandLineParser;

namespace Manual {

/** Has the parser know these options. */
void addOptions(QCommandLineParser &parser, const QList<Option> &options);

} // namespace Manual

#endif
