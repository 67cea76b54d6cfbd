// SPDX-License-Identifier: LGPL-2.1-or-later
#include "plugin/source/orvprogresslistener.h"

#include "plugin/service/orvservice.h"

#include <QLocalServer>
#include <QLocalSocket>
#include <qmaillog.h>

#include <new>

OrvProgressListener::OrvProgressListener(OrvService *service, const QString &path, QObject *parent)
    : QObject(parent)
    , m_service(service)
    , m_path(path)
{
    m_server = new (std::nothrow) QLocalServer(this);
    if (!m_server) {
        qWarning() << "NULL local server object";
        return;
    }
    connect(m_server, SIGNAL(newConnection()), this, SLOT(onNewConnection()));
    // Without socket options, which would take over a name that is in use.
    if (!m_server->listen(m_path)) {
        qWarning() << "server is already listening path" << m_path;
        delete m_server;
        m_server = nullptr;
    }
}

void OrvProgressListener::onNewConnection()
{
    QLocalSocket *socket = m_server->nextPendingConnection();
    if (!socket) {
        qWarning() << "no pending socket on path" << m_path;
        return;
    }
    if (m_socket) {
        qWarning() << "already connected to path" << m_path;
        socket->close();
        return;
    }
    qMailLog(Messaging) << "received incoming connection to path" << m_path;
    m_socket = socket;
    m_server->close();
    connect(m_socket, SIGNAL(readyRead()), this, SLOT(onReadyRead()));
    connect(m_socket, SIGNAL(disconnected()), this, SLOT(onDisconnected()));
    onReadyRead();
}

void OrvProgressListener::onReadyRead()
{
    qMailLog(Messaging) << m_socket->bytesAvailable() << "bytes available to read from path"
                        << m_path;
    constexpr qint64 RecordSize = sizeof(qint32);
    qint32 value = -1;
    while (m_socket->bytesAvailable() >= RecordSize) {
        if (m_socket->read(reinterpret_cast<char *>(&value), RecordSize) != RecordSize) {
            qCritical() << "error reading" << RecordSize << "bytes from" << m_path;
            onDisconnected();
            return;
        }
    }
    qMailLog(Messaging) << "progress" << value << "on path" << m_path;
    if (value < 0)
        return;
    m_service->allowProgressCounter(false);
    m_service->setProgress(value, 100);
}

void OrvProgressListener::onDisconnected()
{
    qMailLog(Messaging) << "disconnected from path" << m_path;
    if (m_socket)
        m_socket->close();
    emit finished(m_path);
}
