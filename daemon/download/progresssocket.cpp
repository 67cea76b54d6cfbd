// SPDX-License-Identifier: LGPL-2.1-or-later
#include "daemon/download/progresssocket.h"

#include "asclient/attachmentnotifier.h"

namespace Daemon {

namespace {
/** Bytes that wait for a listener which does not read; more are not kept for it. */
constexpr int Backlog = 64;
} // namespace

ProgressSocket::ProgressSocket(quint64 messageId, const QString &location, QObject *parent)
    : QObject(parent)
    , m_path(Activesync::attachmentDowloadNotifierPath(QString::number(messageId), location))
{
}

void ProgressSocket::open()
{
    if (m_path.isEmpty() || m_socket.state() != QLocalSocket::UnconnectedState)
        return;
    m_last = -2;
    m_socket.connectToServer(m_path, QIODevice::WriteOnly);
}

void ProgressSocket::report(int percent)
{
    if (percent == m_last || (m_sinceLast.isValid() && m_sinceLast.elapsed() < MinimumIntervalMs))
        return;
    write(percent);
}

void ProgressSocket::complete()
{
    if (m_last != 100)
        write(100);
    m_socket.disconnectFromServer();
}

void ProgressSocket::write(int percent)
{
    if (m_socket.state() != QLocalSocket::ConnectedState || m_socket.bytesToWrite() > Backlog)
        return;
    const qint32 record = percent;
    m_socket.write(reinterpret_cast<const char *>(&record), sizeof record);
    m_socket.flush();
    m_last = percent;
    m_sinceLast.start();
}

} // namespace Daemon
