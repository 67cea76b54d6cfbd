// SPDX-License-Identifier: LGPL-2.1-or-later
#include "tests/daemon/daemonprocess.h"

#include "asclient/asdbusinterface.h"
#include "tests/daemon/hurry.h"

#include <QDBusConnection>
#include <QDBusConnectionInterface>
#include <QFile>
#include <QTest>

#include <cstdio>

DaemonProcess::DaemonProcess()
{
    static int number = 0;
    m_logFile = qEnvironmentVariable("ORVMAIL_TEST_PLACE")
        + QStringLiteral("/asdaemon%1.log").arg(++number);
    m_process.setProcessChannelMode(QProcess::MergedChannels);
    m_process.setStandardOutputFile(m_logFile, QIODevice::Append);
}

DaemonProcess::~DaemonProcess()
{
    if (isRunning())
        kill();
    if (QTest::currentTestFailed())
        std::fprintf(stderr, "--- asdaemon said:\n%s---\n", qPrintable(log()));
}

QString DaemonProcess::program()
{
    return qEnvironmentVariable("ORVMAIL_BUILD_DIR") + QStringLiteral("/bin/asdaemon");
}

void DaemonProcess::hurry(bool on)
{
    m_program = on ? program() + QStringLiteral("-hurried") : program();
    m_hurries = on;
}

bool DaemonProcess::isOnBus()
{
    return QDBusConnection::sessionBus().interface()->isServiceRegistered(
        QLatin1String(Activesync::ServiceName));
}

bool DaemonProcess::start(QStringList arguments)
{
    if (m_patience > 0)
        arguments << QStringLiteral("--patience") << QString::number(m_patience);
    if (m_undoTime > 0)
        arguments << QStringLiteral("--undo-time")
                  << QString::number(m_undoTime * (m_hurries ? HurriedParts : 1));
    m_process.start(m_program, arguments);
    return QTest::qWaitFor([this] { return isOnBus() || !isRunning(); }, 20000) && isRunning();
}

void DaemonProcess::requestEnd()
{
    m_process.terminate();
}

int DaemonProcess::end(int timeoutMs)
{
    requestEnd();
    if (!QTest::qWaitFor([this] { return !isRunning(); }, timeoutMs))
        return -1;
    return m_process.exitStatus() == QProcess::NormalExit ? m_process.exitCode() : -1;
}

void DaemonProcess::kill()
{
    m_process.kill();
    m_process.waitForFinished();
    [[maybe_unused]] const bool gone = QTest::qWaitFor([] { return !isOnBus(); });
}

qint64 DaemonProcess::ownMemory() const
{
    QFile file(QStringLiteral("/proc/%1/status").arg(processId()));
    file.open(QIODevice::ReadOnly);
    const QByteArray status = file.readAll();
    const int at = status.indexOf("RssAnon:");
    return status.mid(at + 8, status.indexOf("kB", at) - at - 8).trimmed().toLongLong();
}

QString DaemonProcess::log() const
{
    QFile file(m_logFile);
    file.open(QIODevice::ReadOnly);
    return QString::fromUtf8(file.readAll());
}
