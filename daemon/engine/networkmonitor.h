// SPDX-License-Identifier: LGPL-2.1-or-later
#ifndef DAEMON_ENGINE_NETWORKMONITOR_H
#define DAEMON_ENGINE_NETWORKMONITOR_H

#include <QObject>
#include <QTimer>

namespace Daemon {

/**
 * Tells when the machine's network has changed: a link or an address came or went.
 *
 * Listens to the kernel (rtnetlink(7)); costs nothing while nothing changes.
 */
class NetworkMonitor : public QObject
{
    Q_OBJECT

public:
    explicit NetworkMonitor(QObject *parent);
    ~NetworkMonitor() override;

signals:
    /** Once for a burst of changes. */
    void changed();

private:
    void onReadable();

    int m_socket = -1;
    QTimer m_settling;
};

} // namespace Daemon

#endif
