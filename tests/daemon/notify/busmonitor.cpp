// SPDX-License-Identifier: LGPL-2.1-or-later
#include "tests/daemon/notify/busmonitor.h"

#include <QDBusConnection>
#include <QDBusMessage>
#include <QTest>

BusMonitor::BusMonitor(const QString &service)
    : m_service(service)
{
    m_process.start(QStringLiteral("dbus-monitor"),
                    {QStringLiteral("--session"),
                     QStringLiteral("type='method_call',destination='%1'").arg(service)});
}

BusMonitor::~BusMonitor()
{
    m_process.kill();
    m_process.waitForFinished();
}

bool BusMonitor::isWatching()
{
    // With its name it loses all of a connection but what it watches.
    return QTest::qWaitFor([this] {
        read();
        return m_text.contains("member=NameLost");
    });
}

int BusMonitor::calls()
{
    const QByteArray mark = "member=Mark" + QByteArray::number(++m_own);
    auto call = QDBusMessage::createMethodCall(m_service, QStringLiteral("/"), QString(),
                                               QString::fromLatin1(mark.mid(7)));
    call.setAutoStartService(false);
    QDBusConnection::sessionBus().send(call);
    if (!QTest::qWaitFor([&] {
            read();
            return m_text.contains(mark + '\n');
        }))
        qFatal("the bus is not watched");
    return told() - m_own;
}
