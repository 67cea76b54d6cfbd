// SPDX-License-Identifier: LGPL-2.1-or-later
#ifndef ACCOUNTS_ACTIONS_MESSAGESERVERTASK_H
#define ACCOUNTS_ACTIONS_MESSAGESERVERTASK_H

#include "accounts/actions/task.h"
#include "accounts/status/partstarter.h"

#include <QDBusServiceWatcher>
#include <qmailserviceaction.h>

namespace Accounts {

/**
 * One action of the message server, which is started where it does not run.
 *
 * What is missing here is found out before any mail server is asked.
 */
class MessageServerTask : public Task
{
    Q_OBJECT

public:
    void start() override;

protected:
    enum class End {
        Succeeded,
        Failed,
        ServerGone ///< the message server ended before it told the action's end
    };

    explicit MessageServerTask(QObject *parent = nullptr);

    /** All that is needed runs: starts the action by follow(), or ends the task. */
    virtual void begin() = 0;
    /** What the action has come to; asked once. */
    virtual Outcome outcomeOf(End way) = 0;

    /** The action is over when it says so, or when the message server has gone. Not owned. */
    void follow(QMailServiceAction &action);
    bool hasBegun() const { return m_hasBegun; }
    /** That the message server has gone, and what to do. */
    static Outcome serverGone();

private:
    void onPartsStarted();
    void onActivity(QMailServiceAction::Activity activity);
    void onServerGone();

    PartStarter m_parts;
    QDBusServiceWatcher m_server;
    bool m_hasBegun = false;
};

} // namespace Accounts

#endif
