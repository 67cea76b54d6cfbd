// SPDX-License-Identifier: LGPL-2.1-or-later
#include "daemon/engine/networkmonitor.h"

#include "daemon/log/logging.h"
#include "daemon/pacing/pauses.h"

#include <QSocketNotifier>

#include <linux/rtnetlink.h>
#include <sys/socket.h>
#include <unistd.h>

namespace Daemon {

NetworkMonitor::NetworkMonitor(QObject *parent)
    : QObject(parent)
{
    m_settling.setSingleShot(true);
    m_settling.setInterval(Pauses::NetworkSettling);
    connect(&m_settling, &QTimer::timeout, this, &NetworkMonitor::changed);

    m_socket = ::socket(AF_NETLINK, SOCK_RAW | SOCK_CLOEXEC | SOCK_NONBLOCK, NETLINK_ROUTE);
    sockaddr_nl address {};
    address.nl_family = AF_NETLINK;
    address.nl_groups = RTMGRP_LINK | RTMGRP_IPV4_IFADDR | RTMGRP_IPV6_IFADDR | RTMGRP_IPV4_ROUTE;
    if (m_socket < 0
        || ::bind(m_socket, reinterpret_cast<sockaddr *>(&address), sizeof address) != 0) {
        qCWarning(lcDaemon) << "changes of the network are not seen here";
        return;
    }
    auto *notifier = new QSocketNotifier(m_socket, QSocketNotifier::Read, this);
    connect(notifier, &QSocketNotifier::activated, this, &NetworkMonitor::onReadable);
}

NetworkMonitor::~NetworkMonitor()
{
    if (m_socket >= 0)
        ::close(m_socket);
}

void NetworkMonitor::onReadable()
{
    char buffer[8192];
    while (::recv(m_socket, buffer, sizeof buffer, 0) > 0) { }
    m_settling.start();
}

} // namespace Daemon
