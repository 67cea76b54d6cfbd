// SPDX-License-Identifier: LGPL-2.1-or-later
#ifndef DAEMON_BUS_STATUSADAPTOR_H
#define DAEMON_BUS_STATUSADAPTOR_H

#include <QDBusAbstractAdaptor>

namespace Daemon {

class Front;

/** What the daemon tells about an account's state, on an interface with a version of its own. */
class StatusAdaptor : public QDBusAbstractAdaptor
{
    Q_OBJECT
    Q_CLASSINFO("D-Bus Interface", "com.tarvo.asdbus.Status1")

public:
    /** Owned by the front. */
    explicit StatusAdaptor(Front *front);

public slots:
    /** The result code of the account's last work and a sentence for it; 0 and nothing where it
     * went well, or none ran. */
    int lastError(qulonglong accountId, QString &text);

private:
    Front *m_front;
};

} // namespace Daemon

#endif
