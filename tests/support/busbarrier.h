// SPDX-License-Identifier: LGPL-2.1-or-later
#ifndef TESTS_SUPPORT_BUSBARRIER_H
#define TESTS_SUPPORT_BUSBARRIER_H

#include <QDBusConnection>

/**
 * Returns when the calling thread has handled every message that `sender` sent before to this
 * process's session bus connection; false when that does not happen in time.
 *
 * Runs the event loop. Deferred deletions are left for later.
 */
bool waitForDelivery(QDBusConnection sender);

#endif
