// SPDX-License-Identifier: LGPL-2.1-or-later
#ifndef DAEMON_ENGINE_INDEXMAKER_H
#define DAEMON_ENGINE_INDEXMAKER_H

#include "daemon/pacing/alarm.h"

#include <QObject>

#include <functional>

namespace Daemon {

/**
 * Puts our indexes into the mail store's database, where they are missing.
 *
 * Never in the way: while somebody waits for the daemon's work, or another process has the store
 * locked, it tries again later, after pauses that grow. Where it fails otherwise, on a full disk
 * for one, the daemon does without them until its next start.
 */
class IndexMaker : public QObject
{
    Q_OBJECT

public:
    /** `isAwaited`: whether somebody waits for the daemon's work just now. */
    explicit IndexMaker(std::function<bool()> isAwaited, QObject *parent = nullptr);

    /** Makes what can be made soon before it returns, and the rest from the event loop. */
    void start();

private:
    bool makeNext();
    void postpone();

    const std::function<bool()> m_isAwaited;
    Alarm m_alarm;
    int m_attempts = 0;
};

} // namespace Daemon

#endif
