// SPDX-License-Identifier: LGPL-2.1-or-later
#ifndef PLUGIN_SERVICE_CLOCK_H
#define PLUGIN_SERVICE_CLOCK_H

#include <QtGlobal>

/** The time of day, in one place, so that a test can set it. */
namespace Clock {

using Source = qint64 (*)();

/** Milliseconds since the epoch, UTC. */
qint64 now();

/** Lets now() answer what `source` returns; null puts the system's clock back. */
void setSource(Source source);

} // namespace Clock

#endif
