// SPDX-License-Identifier: LGPL-2.1-or-later
#ifndef DAEMON_WIPE_REMOTEWIPE_H
#define DAEMON_WIPE_REMOTEWIPE_H

#include "daemon/tasks/task.h"

namespace Daemon {

/**
 * Carries out a server's directive to have the account's data removed from here:
 * [MS-ASPROV] 3.1.5.1.2.
 *
 * Removes the account's mail, tells the server whether that is done, and removes the password and
 * disables the account. Where the mail cannot be removed, the server is told so, and the account
 * stays as it is: the server's next directive is another attempt. Nothing outside the account is
 * touched.
 */
class RemoteWipe : public Task
{
    Q_OBJECT

public:
    using Task::Task;

private:
    void perform() override;
    void acknowledge(const Eas::Result &removed);
    void forget();
};

} // namespace Daemon

#endif
