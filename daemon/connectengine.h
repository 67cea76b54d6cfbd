// SPDX-License-Identifier: LGPL-2.1-or-later
#ifndef DAEMON_CONNECTENGINE_H
#define DAEMON_CONNECTENGINE_H

namespace Daemon {

class Engine;
class Front;
class Notifier;

/** Lets the two talk to each other, whatever threads they live in. */
void connectEngine(Engine *engine, Front *front);
/** Lets the notifier hear of the accounts. */
void connectNotifier(Engine *engine, Notifier *notifier);

} // namespace Daemon

#endif
