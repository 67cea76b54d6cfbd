// SPDX-License-Identifier: LGPL-2.1-or-later
#include "tests/daemon/send/cuttingproxy.h"

CuttingProxy::CuttingProxy(quint16 target)
    : m_target(target)
{
    if (!m_server.listen(QHostAddress::LocalHost))
        qFatal("cannot listen");
    connect(&m_server, &QTcpServer::newConnection, this, &CuttingProxy::onConnection);
}

void CuttingProxy::cutAfter(qint64 bytes, const std::function<void()> &then)
{
    callAfter(bytes, then);
    m_cuts = true;
}

void CuttingProxy::callAfter(qint64 bytes, const std::function<void()> &then)
{
    heal();
    m_left = bytes;
    m_then = then;
}

void CuttingProxy::heal()
{
    m_cuts = false;
    m_left = -1;
    m_passed = 0;
    m_cut = false;
    m_then = nullptr;
}

void CuttingProxy::onConnection()
{
    QTcpSocket *client = m_server.nextPendingConnection();
    auto *server = new QTcpSocket(this);
    m_sockets << client << server;
    if (m_cut) {
        cut();
        return;
    }
    server->connectToHost(QHostAddress::LocalHost, m_target);
    connect(client, &QTcpSocket::readyRead, this, [=] { pass(client, server); });
    connect(server, &QTcpSocket::readyRead, this, [=] { pass(server, client); });
    connect(client, &QTcpSocket::disconnected, server, &QTcpSocket::disconnectFromHost);
    connect(server, &QTcpSocket::disconnected, client, &QTcpSocket::disconnectFromHost);
}

void CuttingProxy::pass(QTcpSocket *from, QTcpSocket *to)
{
    QByteArray bytes = from->readAll();
    if (m_cuts && m_left >= 0 && bytes.size() >= m_left)
        bytes.truncate(int(m_left));
    to->write(bytes);
    m_passed += bytes.size();
    if (m_left < 0)
        return;
    m_left -= bytes.size();
    if (m_left > 0)
        return;
    m_left = -1;
    if (m_cuts) {
        to->flush();
        cut();
    } else if (m_then) {
        m_then();
    }
}

void CuttingProxy::cut()
{
    m_cut = true;
    for (QTcpSocket *socket : qAsConst(m_sockets)) {
        socket->disconnect();
        // What was passed on still arrives; nothing more does.
        socket->disconnectFromHost();
        socket->deleteLater();
    }
    m_sockets.clear();
    if (m_then)
        m_then();
}
