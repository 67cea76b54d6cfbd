// SPDX-License-Identifier: LGPL-2.1-or-later
#ifndef DAEMON_WIPE_REMOTEWIPE_H
#define DAEMON_WIPE_REMOTEWIPE_H

#include "daemon/tasks/accountcontext.h"
#include "eas/result.h"

#include <QObject>

namespace Daemon {

/**
 * Carries out a server's wish to have the account's data removed from here: [MS-ASPROV] 3.1.5.1.2.
 *
 * Removes the account's mail, tells the server whether that is done, and removes the password and
 * disables the account. Where the mail cannot be removed, the server is told so, and the account
 * stays as it is: the server's next wish is another attempt. Nothing outside the account is
 * touched.
 */
class RemoteWipe : public QObject
{
    Q_OBJECT

public:
    RemoteWipe(const AccountContext &context, QObject *parent);

    void start();

signals:
    /** It is over; after a success the account is disabled. */
    void finished(const Eas::Result &result);

private:
    void acknowledge(const Eas::Result &removed);
    void forget();

    const AccountContext m_context;
};

} // namespace Daemon

#endif
