// SPDX-License-Identifier: LGPL-2.1-or-later
#include "tests/support/easserver.h"

#include <QDir>
#include <QElapsedTimer>
#include <QJsonDocument>
#include <QStandardPaths>
#include <QTcpSocket>
#include <QTemporaryDir>
#include <QTest>

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
    m_process.setProcessChannelMode(QProcess::ForwardedErrorChannel);
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
    const QString program = QStringLiteral(EASSERVER_DIRECTORY);
    QStringList arguments {QStringLiteral("-B"), program, m_mailDirectory};
    if (m_url.isValid())
        arguments << QStringLiteral("--port") << QString::number(m_url.port());
    const QString violations = qEnvironmentVariable("EASSERVER_VIOLATIONS", QDir::tempPath());
    QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
    environment.insert(QStringLiteral("EASSERVER_VIOLATIONS"), violations);
    m_process.setProcessEnvironment(environment);
    m_process.start(QStringLiteral("python3"), arguments + m_arguments);
    m_violations = QStringLiteral("%1/%2").arg(violations).arg(m_process.processId());
    QElapsedTimer clock;
    clock.start();
    while (!m_process.canReadLine()) {
        if (m_process.state() == QProcess::NotRunning || clock.elapsed() > timeoutMs)
            return false;
        m_process.waitForReadyRead(100);
    }
    const QStringList urls =
        QString::fromUtf8(m_process.readLine()).trimmed().split(QLatin1Char(' '));
    m_url = QUrl(urls.value(0));
    m_controlUrl = QUrl(urls.value(1));
    return m_controlUrl.isValid();
}

bool EasServer::stop(int timeoutMs)
{
    if (m_process.state() == QProcess::NotRunning)
        return true;
    m_process.closeWriteChannel();
    if (!m_process.waitForFinished(timeoutMs)) {
        kill();
        return false;
    }
    failUponViolations();
    return true;
}

void EasServer::kill()
{
    m_process.kill();
    m_process.waitForFinished();
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
