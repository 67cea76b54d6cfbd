// SPDX-License-Identifier: LGPL-2.1-or-later
#include "accounts/sessionbus.h"

#include <QByteArray>

#include <sys/stat.h>
#include <unistd.h>

namespace Accounts {

namespace {

/** It is there while the user is logged in, or lingers. */
bool isBusOfOurs(const QByteArray &path)
{
    struct stat status;
    return lstat(path.constData(), &status) == 0 && S_ISSOCK(status.st_mode)
        && status.st_uid == geteuid();
}

} // namespace

void findSessionBus()
{
    if (!qEnvironmentVariableIsEmpty("DBUS_SESSION_BUS_ADDRESS")
        || !qEnvironmentVariableIsEmpty("XDG_RUNTIME_DIR"))
        return;
    const QByteArray runtime = "/run/user/" + QByteArray::number(geteuid());
    // The client library looks for the bus in this folder, and we for what else is the session's.
    if (isBusOfOurs(runtime + "/bus"))
        qputenv("XDG_RUNTIME_DIR", runtime);
}

} // namespace Accounts
