// SPDX-License-Identifier: LGPL-2.1-or-later
#include "tests/support/messageserver.h"

#include <QDBusConnection>
#include <QDBusConnectionInterface>
#include <QDBusMessage>
#include <QDir>
#include <QFile>
#include <qmailmessageserver.h>
#include <QStandardPaths>
#include <QTest>
#include <QUuid>

namespace {

const QString ServerName = QStringLiteral("org.qt.messageserver");

QString program()
{
    return QStandardPaths::findExecutable(QStringLiteral("messageserver5"));
}

/** Makes the server print what the category "Messaging" logs. */
void enableLogging()
{
    const QString folder = QStandardPaths::writableLocation(QStandardPaths::GenericConfigLocation)
        + QStringLiteral("/QtProject");
    QDir().mkpath(folder);
    QFile file(folder + QStringLiteral("/Messageserver.conf"));
    if (!file.open(QIODevice::WriteOnly))
        qFatal("cannot write %s", qPrintable(file.fileName()));
    file.write("[StdStreamLog]\nEnabled=1\n[LogCategories]\nMessaging=1\n");
}

bool isOnBus()
{
    return QDBusConnection::sessionBus().interface()->isServiceRegistered(ServerName);
}

} // namespace

MessageServer::MessageServer()
    : m_environment(QProcessEnvironment::systemEnvironment())
    , m_logFile(QDir::tempPath() + QStringLiteral("/messageserver-")
                + QUuid::createUuid().toString(QUuid::WithoutBraces) + QStringLiteral(".log"))
{
    const QString runtime = qEnvironmentVariable("ORVMAIL_SANITIZER_RUNTIME");
    if (!runtime.isEmpty()) {
        preload(runtime);
        // The leaks of the whole platform at the server's end are not looked for.
        setEnvironment(QStringLiteral("ASAN_OPTIONS"),
                       qEnvironmentVariable("ASAN_OPTIONS") + QStringLiteral(":detect_leaks=0"));
    }
}

MessageServer::~MessageServer()
{
    kill();
    if (QTest::currentTestFailed())
        qInfo().noquote() << "the message server said:\n" << log();
}

bool MessageServer::isInstalled()
{
    return !program().isEmpty();
}

bool MessageServer::hasPlugin()
{
    const QDir folder(qEnvironmentVariable("QT_PLUGIN_PATH") + QStringLiteral("/messageservices"));
    return folder.exists(QStringLiteral("liborvmail.so"));
}

void MessageServer::require()
{
    if (!isInstalled())
        QSKIP("messageserver5 is not installed");
    QVERIFY(hasPlugin());
}

void MessageServer::setEnvironment(const QString &name, const QString &value)
{
    m_environment.insert(name, value);
}

void MessageServer::preload(const QString &library)
{
    const QString variable = QStringLiteral("LD_PRELOAD");
    QStringList libraries =
        m_environment.value(variable).split(QLatin1Char(':'), Qt::SkipEmptyParts);
    libraries.append(library);
    setEnvironment(variable, libraries.join(QLatin1Char(':')));
}

bool MessageServer::start(int timeoutMs)
{
    enableLogging();
    QMailMessageServer::registerTypes();
    m_process.setProcessEnvironment(m_environment);
    m_process.setProcessChannelMode(QProcess::MergedChannels);
    m_process.setStandardOutputFile(m_logFile, QIODevice::Append);
    m_process.start(program(), QStringList());
    return QTest::qWaitFor([this] { return isOnBus() || hasExited(); }, timeoutMs) && isAlive();
}

bool MessageServer::terminate(int timeoutMs)
{
    requestTermination();
    return QTest::qWaitFor([this] { return hasExited(); }, timeoutMs);
}

void MessageServer::requestTermination()
{
    m_process.terminate();
}

void MessageServer::kill()
{
    if (hasExited())
        return;
    m_process.kill();
    m_process.waitForFinished();
    // Or its name would pass for that of the next one.
    [[maybe_unused]] const bool gone = QTest::qWaitFor([] { return !isOnBus(); }, PatienceMs);
}

bool MessageServer::settle()
{
    // Its own object answers in the thread in which all else is done.
    const QDBusMessage question = QDBusMessage::createMethodCall(
        ServerName, QStringLiteral("/messageserver"), ServerName, QStringLiteral("listActions"));
    return QDBusConnection::sessionBus().call(question, QDBus::BlockWithGui, PatienceMs).type()
        == QDBusMessage::ReplyMessage;
}

bool MessageServer::isAlive() const
{
    if (hasExited())
        return false;
    const QDBusMessage ping = QDBusMessage::createMethodCall(
        ServerName, QStringLiteral("/"), QStringLiteral("org.freedesktop.DBus.Peer"),
        QStringLiteral("Ping"));
    return QDBusConnection::sessionBus().call(ping, QDBus::Block, 10000).type()
        == QDBusMessage::ReplyMessage;
}

bool MessageServer::hasExited() const
{
    return m_process.state() == QProcess::NotRunning;
}

bool MessageServer::exitedNormally() const
{
    return m_process.exitStatus() == QProcess::NormalExit;
}

int MessageServer::exitCode() const
{
    return m_process.exitCode();
}

QString MessageServer::log() const
{
    QFile file(m_logFile);
    return file.open(QIODevice::ReadOnly) ? QString::fromLocal8Bit(file.readAll()) : QString();
}
