// SPDX-License-Identifier: LGPL-2.1-or-later
#include "tests/eas/scriptedserver.h"

#include "tests/eas/wbxmlxml.h"

#include <QHostAddress>
#include <QSslSocket>

QString SeenRequest::query(const char *name) const
{
    const QUrlQuery items(QString::fromLatin1(target.mid(target.indexOf('?') + 1)));
    return items.queryItemValue(QLatin1String(name), QUrl::FullyDecoded);
}

QByteArray SeenRequest::xml() const
{
    return WbxmlXml::decode(body);
}

ScriptedServer::ScriptedServer(const QSslCertificate &certificate, const QSslKey &key)
    : m_certificate(certificate)
    , m_key(key)
{
    if (!listen(QHostAddress::LocalHost))
        qFatal("cannot listen on the loopback: %s", qUtf8Printable(errorString()));
}

QByteArray ScriptedServer::http(int status, const QByteArray &body, const QList<Header> &headers)
{
    QByteArray bytes = "HTTP/1.1 " + QByteArray::number(status)
        + " Scripted\r\nContent-Length: " + QByteArray::number(body.size()) + "\r\n";
    for (const Header &header : headers)
        bytes += header.first + ": " + header.second + "\r\n";
    return bytes + "\r\n" + body;
}

QByteArray ScriptedServer::options(const QByteArray &versions)
{
    return http(
        200, {},
        {{"MS-ASProtocolVersions", versions}, {"MS-ASProtocolCommands", "Sync,FolderSync,Ping"}});
}

QByteArray ScriptedServer::document(const QByteArray &xml)
{
    return http(200, WbxmlXml::encode(xml), {{"Content-Type", "application/vnd.ms-sync.wbxml"}});
}

void ScriptedServer::sayToAll(const QByteArray &bytes)
{
    const QList<QTcpSocket *> sockets = m_open.keys();
    for (QTcpSocket *socket : sockets) {
        socket->write(bytes);
        socket->disconnectFromHost();
    }
}

void ScriptedServer::hangUp()
{
    const QList<QTcpSocket *> sockets = m_open.keys();
    for (QTcpSocket *socket : sockets)
        socket->abort();
}

void ScriptedServer::incomingConnection(qintptr descriptor)
{
    auto *socket = new QSslSocket(this);
    socket->setSocketDescriptor(descriptor);
    if (!m_key.isNull()) {
        socket->setLocalCertificate(m_certificate);
        socket->setPrivateKey(m_key);
        socket->startServerEncryption();
    }
    m_open[socket].number = ++m_connections;
    connect(socket, &QTcpSocket::readyRead, this, [this, socket] { read(socket); });
    connect(socket, &QTcpSocket::disconnected, this, [this, socket] {
        m_open.remove(socket);
        socket->deleteLater();
    });
}

void ScriptedServer::read(QTcpSocket *socket)
{
    Connection &connection = m_open[socket];
    const QByteArray bytes = socket->readAll();
    m_bytesSeen += bytes.size();
    connection.buffer += bytes;
    const int end = connection.buffer.indexOf("\r\n\r\n");
    if (end < 0)
        return;
    SeenRequest request;
    QList<QByteArray> lines = connection.buffer.left(end).split('\n');
    const QList<QByteArray> words = lines.takeFirst().trimmed().split(' ');
    request.method = words.value(0);
    request.target = words.value(1);
    request.connection = connection.number;
    for (const QByteArray &line : qAsConst(lines)) {
        const int colon = line.indexOf(':');
        request.headers.insert(line.left(colon).toLower(), line.mid(colon + 1).trimmed());
    }
    const int length = request.headers.value("content-length").toInt();
    if (connection.buffer.size() - end - 4 < length)
        return;
    request.body = connection.buffer.mid(end + 4, length);
    connection.buffer.remove(0, end + 4 + length);
    m_requests.append(request);
    answer(socket, request);
}

void ScriptedServer::answer(QTcpSocket *socket, const SeenRequest &request)
{
    const ScriptedAnswer answer = !m_answers.isEmpty() ? m_answers.takeFirst()
        : m_answer                                     ? m_answer(request)
                                                       : ScriptedAnswer {};
    socket->write(answer.bytes);
    if (answer.close)
        socket->disconnectFromHost();
}
