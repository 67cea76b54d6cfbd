// SPDX-License-Identifier: LGPL-2.1-or-later
#ifndef DAEMON_BUS_ACCOUNTERROR_H
#define DAEMON_BUS_ACCOUNTERROR_H

#include <QString>

namespace Daemon {

/** Why an account's last work failed; code 0 and no words where it did not. */
struct AccountError
{
    int code = 0;
    QString words;
};

} // namespace Daemon

#endif
