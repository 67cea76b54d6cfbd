// SPDX-License-Identifier: LGPL-2.1-or-later
#ifndef DAEMON_CONNECTENGINE_H
#define DAEMON_CONNECTENGINE_H

namespace Daemon {

class Engine;
class Front;

/** Lets the two talk to each other, whatever threads they live in. */
void connectEngine(Engine *engine, Front *front);

} // namespace Daemon

#endif
