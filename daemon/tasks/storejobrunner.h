// SPDX-License-Identifier: LGPL-2.1-or-later
#ifndef DAEMON_TASKS_STOREJOBRUNNER_H
#define DAEMON_TASKS_STOREJOBRUNNER_H

#include "daemon/store/storejob.h"

#include <QElapsedTimer>
#include <QObject>
#include <QTimer>

#include <memory>

namespace Daemon {

/**
 * Runs a job on the mail store from the event loop, a step at a time.
 *
 * Waits for a store that another process has locked, and fails when that takes too long. Deleting
 * it leaves the rest of the job undone.
 */
class StoreJobRunner : public QObject
{
    Q_OBJECT

public:
    /** A locked store is waited for so long, and asked again so often, in ms. */
    static constexpr int MaximumLockMs = 10000;
    static constexpr int LockPollMs = 200;

    StoreJobRunner(std::unique_ptr<Store::StoreJob> job, QObject *parent);

    void start();

signals:
    /** 0 to 1000 */
    void progressed(int progress);
    void finished(const Eas::Result &result);

private:
    void step();
    bool waitForStore();

    std::unique_ptr<Store::StoreJob> m_job;
    QTimer m_timer;
    QElapsedTimer m_locked; ///< valid while the store is locked
};

} // namespace Daemon

#endif
