// SPDX-License-Identifier: LGPL-2.1-or-later
#include "tests/accounts/busservice.h"

#include <QDBusConnection>
#include <QDBusConnectionInterface>
#include <QDBusMessage>
#include <QFile>
#include <QFileInfo>
#include <QTest>

#include <csignal>

namespace {

void reloadBus()
{
    QDBusConnection::sessionBus().call(QDBusMessage::createMethodCall(
        QStringLiteral("org.freedesktop.DBus"), QStringLiteral("/org/freedesktop/DBus"),
        QStringLiteral("org.freedesktop.DBus"), QStringLiteral("ReloadConfig")));
}

QString sanitized()
{
    const QString runtime = qEnvironmentVariable("ORVMAIL_SANITIZER_RUNTIME");
    // The leaks of the whole platform at the server's end are not looked for.
    return runtime.isEmpty() ? QString()
                             : QStringLiteral("LD_PRELOAD=%1 ASAN_OPTIONS=%2:detect_leaks=0 ")
                                   .arg(runtime, qEnvironmentVariable("ASAN_OPTIONS"));
}

QByteArray read(const QString &path)
{
    QFile file(path);
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
}

} // namespace

BusService BusService::messageServer(const QString &environment)
{
    return {QStringLiteral("org.qt.messageserver"),
            QStringLiteral("/usr/bin/env %1%2 messageserver5").arg(sanitized(), environment)};
}

BusService BusService::daemon()
{
    return {QStringLiteral("com.tarvo.asdbus"),
            qEnvironmentVariable("ORVMAIL_BUILD_DIR") + QStringLiteral("/bin/asdaemon")};
}

BusService BusService::fromFile(const QString &busName, const QString &file)
{
    return {busName, QFileInfo(file).fileName(), read(file)};
}

BusService::BusService(const QString &busName, const QString &exec)
    : BusService(busName, busName + QStringLiteral(".service"),
                 QStringLiteral("[D-BUS Service]\nName=%1\nExec=%2\n").arg(busName, exec).toUtf8())
{
}

BusService::BusService(const QString &busName, const QString &fileName, const QByteArray &content)
    : m_busName(busName)
    , m_file(qEnvironmentVariable("XDG_DATA_HOME") + QStringLiteral("/dbus-1/services/") + fileName)
{
    QFile file(m_file);
    if (content.isEmpty() || !file.open(QIODevice::WriteOnly) || file.write(content) < 0)
        qFatal("cannot write %s", qPrintable(m_file));
    file.close();
    reloadBus();
}

BusService::~BusService()
{
    QFile::remove(m_file);
    reloadBus();
    if (!isRunning())
        return;
    const uint process = QDBusConnection::sessionBus().interface()->servicePid(m_busName).value();
    ::kill(pid_t(process), SIGTERM);
    // A message server that carries something out takes its time; nothing of it is wanted here.
    if (!QTest::qWaitFor([this] { return !isRunning(); }, 5000))
        ::kill(pid_t(process), SIGKILL);
    if (!QTest::qWaitFor([this] { return !isRunning(); }, 5000))
        qFatal("%s does not end", qPrintable(m_busName));
}

bool BusService::isRunning() const
{
    return QDBusConnection::sessionBus().interface()->isServiceRegistered(m_busName);
}
