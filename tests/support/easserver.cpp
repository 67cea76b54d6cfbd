// SPDX-License-Identifier: LGPL-2.1-or-later
#include "tests/support/easserver.h"

#include "tests/support/servernursery.h"

#include <QDir>
#include <QElapsedTimer>
#include <QJsonDocument>
#include <QProcess>
#include <QStandardPaths>
#include <QTcpSocket>
#include <QTemporaryDir>
#include <QTest>

#include <csignal>
#include <sys/socket.h>

namespace {

const int ControlTimeoutMs = 60000;

/** Reads until the other side closes or the body is complete. Returns the body. */
QByteArray readAnswer(QTcpSocket *socket, int *status)
{
    QByteArray answer;
    QElapsedTimer clock;
    clock.start();
    while (socket->state() == QAbstractSocket::ConnectedState || socket->bytesAvailable() > 0) {
        if (socket->bytesAvailable() == 0 && !socket->waitForReadyRead(ControlTimeoutMs))
            break;
        answer += socket->readAll();
        if (clock.elapsed() > ControlTimeoutMs)
            break;
    }
    *status = answer.mid(9, 3).toInt();
    const int head = answer.indexOf("\r\n\r\n");
    return head < 0 ? QByteArray() : answer.mid(head + 4);
}

} // namespace

EasServer::EasServer(const QString &mailDirectory)
    : m_mailDirectory(mailDirectory)
{
    if (m_mailDirectory.isEmpty()) {
        QTemporaryDir directory;
        // In the test's own place, which goes when the test ends.
        directory.setAutoRemove(false);
        m_mailDirectory = directory.path();
    }
}

EasServer::~EasServer()
{
    stop();
}

bool EasServer::isAvailable()
{
    return !QStandardPaths::findExecutable(QStringLiteral("python3")).isEmpty();
}

void EasServer::require()
{
    if (!isAvailable())
        QSKIP("the test server needs Python 3.11");
}

QJsonObject EasServer::faultOf(const char *kind, const char *command, Details details)
{
    QJsonObject fault {{QStringLiteral("kind"), QLatin1String(kind)},
                       {QStringLiteral("command"), QLatin1String(command)}};
    for (const auto &[name, value] : details)
        fault.insert(QLatin1String(name), value);
    return fault;
}

bool EasServer::start(int timeoutMs)
{
    QStringList arguments {m_mailDirectory};
    if (m_url.isValid())
        arguments << QStringLiteral("--port") << QString::number(m_url.port());
    QByteArray process;
    QByteArray urls;
    if (!ServerNursery::connect(&m_connection, arguments + m_arguments)
        || !waitForLine(&process, timeoutMs))
        return false;
    m_process = process.toLongLong();
    m_violations = QStringLiteral("%1/%2").arg(ServerNursery::violations()).arg(m_process);
    if (!waitForLine(&urls, timeoutMs))
        return false;
    m_url = QUrl(QString::fromUtf8(urls.split(' ').value(0)));
    m_controlUrl = QUrl(QString::fromUtf8(urls.split(' ').value(1)));
    return m_controlUrl.isValid();
}

bool EasServer::waitForLine(QByteArray *line, int timeoutMs)
{
    QElapsedTimer clock;
    clock.start();
    while (!m_connection.canReadLine()) {
        if (m_connection.state() != QLocalSocket::ConnectedState || clock.elapsed() > timeoutMs)
            return false;
        m_connection.waitForReadyRead(100);
    }
    *line = m_connection.readLine().trimmed();
    return true;
}

bool EasServer::stop(int timeoutMs)
{
    if (m_connection.state() == QLocalSocket::UnconnectedState)
        return true;
    ::shutdown(int(m_connection.socketDescriptor()), SHUT_WR);
    if (!m_connection.waitForDisconnected(timeoutMs)) {
        kill();
        return false;
    }
    failUponViolations();
    return true;
}

void EasServer::kill()
{
    if (m_connection.state() == QLocalSocket::UnconnectedState)
        return;
    ::kill(pid_t(m_process), SIGKILL);
    m_connection.waitForDisconnected(-1);
    failUponViolations();
}

/** Outside a test function nothing can fail: then the file stays for tests/stage/isolated. */
void EasServer::failUponViolations()
{
    QFile file(m_violations);
    if (!QTest::currentTestFunction() || !file.open(QIODevice::ReadOnly))
        return;
    QTest::qFail("a request that the protocol does not allow: " + file.readAll().trimmed(),
                 __FILE__, __LINE__);
    file.remove();
}

QJsonObject EasServer::control(const char *name, const QJsonObject &request)
{
    QTcpSocket socket;
    socket.connectToHost(m_controlUrl.host(), quint16(m_controlUrl.port()));
    if (!socket.waitForConnected(ControlTimeoutMs))
        qFatal("easserver: no connection for %s", name);
    const QByteArray body = QJsonDocument(request).toJson(QJsonDocument::Compact);
    socket.write("POST " + m_controlUrl.path().toLatin1() + '/' + name
                 + " HTTP/1.1\r\nHost: localhost\r\nConnection: close\r\nContent-Length: "
                 + QByteArray::number(body.size()) + "\r\n\r\n" + body);
    int status = 0;
    const QByteArray answer = readAnswer(&socket, &status);
    if (status != 200)
        qFatal("easserver: %s answered %d %s", name, status, answer.constData());
    return QJsonDocument::fromJson(answer).object();
}

QString EasServer::deliver(const QString &user, const QString &folder, const QByteArray &message,
                           const QJsonObject &more)
{
    QJsonObject request = more;
    request[QStringLiteral("user")] = user;
    request[QStringLiteral("folder")] = folder;
    request[QStringLiteral("base64")] = QString::fromLatin1(message.toBase64());
    return control("deliver", request)[QStringLiteral("id")].toString();
}

QString EasServer::deliverText(const QString &user, const QString &subject, const QString &folder)
{
    return deliver(user, folder,
                   "From: Carol Sender <carol@elsewhere.test>\r\nTo: " + user.toUtf8()
                       + "@example.test\r\nSubject: " + subject.toUtf8() + "\r\nMessage-ID: <"
                       + subject.toUtf8().toHex()
                       + "@elsewhere.test>\r\nContent-Type: text/plain; charset=utf-8\r\n\r\nHello "
                       + user.toUtf8() + "\r\n");
}

QStringList EasServer::takeViolations()
{
    return control("violations")[QStringLiteral("violations")].toVariant().toStringList();
}

QJsonArray EasServer::log()
{
    return control("log")[QStringLiteral("log")].toArray();
}

QList<QJsonObject> EasServer::requests(const char *command)
{
    QList<QJsonObject> found;
    const QJsonArray entries = log();
    for (const QJsonValue &entry : entries) {
        if (entry[QStringLiteral("command")].toString() == QLatin1String(command))
            found << entry.toObject();
    }
    return found;
}

QList<QJsonObject> EasServer::messages(const QString &user, const QString &folder)
{
    QList<QJsonObject> found;
    const QJsonArray folders =
        control("state", {{QStringLiteral("user"), user}})[QStringLiteral("folders")].toArray();
    for (const QJsonValue &one : folders) {
        if (one[QStringLiteral("path")].toString() != folder)
            continue;
        const QJsonArray messages = one[QStringLiteral("messages")].toArray();
        for (const QJsonValue &message : messages)
            found << message.toObject();
    }
    return found;
}

QString EasServer::folderId(const QString &user, const QString &folder)
{
    const QJsonArray folders =
        control("state", {{QStringLiteral("user"), user}})[QStringLiteral("folders")].toArray();
    for (const QJsonValue &one : folders) {
        if (one[QStringLiteral("path")].toString() == folder)
            return one[QStringLiteral("id")].toString();
    }
    return QString();
}

QStringList EasServer::makeCertificate(const QString &directory, const QString &names, int days)
{
    const QStringList files {directory + QStringLiteral("/tls.crt"),
                             directory + QStringLiteral("/tls.key")};
    const bool made =
        runScript("make_certificate.py", {files[0], files[1], names, QString::number(days)});
    return made ? files : QStringList();
}

bool EasServer::makeMail(const QString &mailDirectory, int count, qint64 attachmentSize)
{
    return runScript("make_mail.py",
                     {QString::number(count), mailDirectory, QStringLiteral("--attachment-size"),
                      QString::number(attachmentSize)});
}

bool EasServer::runScript(const char *name, const QStringList &arguments)
{
    QProcess script;
    script.setProcessChannelMode(QProcess::ForwardedErrorChannel);
    const QString path = QStringLiteral(EASSERVER_DIRECTORY "/") + QLatin1String(name);
    script.start(QStringLiteral("python3"), QStringList {QStringLiteral("-B"), path} + arguments);
    script.waitForFinished(-1);
    return script.exitStatus() == QProcess::NormalExit && script.exitCode() == 0;
}

QString EasServer::samples()
{
    return QDir::cleanPath(QStringLiteral(EASSERVER_DIRECTORY "/../data/mail"));
}

QString EasServer::pythonSamples()
{
    const QStringList versions =
        QDir(QStringLiteral("/usr/lib")).entryList({QStringLiteral("python3.*")}, QDir::Dirs);
    for (const QString &version : versions) {
        const QDir data(QStringLiteral("/usr/lib/%1/test/test_email/data").arg(version));
        if (!data.entryList({QStringLiteral("msg_*.txt")}).isEmpty())
            return data.path();
    }
    return QString();
}

QHash<QString, QString> EasServer::load(const QString &user, const QString &folder,
                                        const QString &directory, const QString &pattern,
                                        qint64 received)
{
    QJsonObject request {{QStringLiteral("user"), user},
                         {QStringLiteral("folder"), folder},
                         {QStringLiteral("directory"), directory},
                         {QStringLiteral("pattern"), pattern}};
    if (received)
        request[QStringLiteral("received")] = received;
    const QJsonObject ids = control("load", request)[QStringLiteral("ids")].toObject();
    QHash<QString, QString> found;
    for (auto one = ids.begin(); one != ids.end(); ++one)
        found[one.key()] = one.value().toString();
    return found;
}
