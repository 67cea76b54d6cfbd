// SPDX-License-Identifier: LGPL-2.1-or-later
#ifndef ACCOUNTS_STATUS_PARTSTARTER_H
#define ACCOUNTS_STATUS_PARTSTARTER_H

#include "accounts/actions/task.h"

#include <QDeadlineTimer>

class QDBusPendingCallWatcher;

namespace Accounts {

/**
 * Has the session bus start what brings an account's mail here, the message server and the daemon,
 * and looks whether the message server loads the plugin.
 *
 * For an account that is enabled: without one the message server loads nothing. What runs already
 * is left alone. Asks no mail server. Ends as done, or with the first part that is missing.
 */
class PartStarter : public Task
{
    Q_OBJECT

public:
    using Task::Task;

    void start() override;
    /** Ends it without waiting for what is being started. */
    void cancel() override;

private:
    void startNext();
    void answered(QDBusPendingCallWatcher *answer);
    void lookForPlugin();

    int m_next = 0;
    QDeadlineTimer m_pluginDeadline;
};

} // namespace Accounts

#endif
