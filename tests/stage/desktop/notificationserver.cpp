// SPDX-License-Identifier: LGPL-2.1-or-later
#include "tests/stage/desktop/notificationserver.h"

#include <QDBusMessage>
#include <QUuid>

namespace {

const QString Service = QStringLiteral("org.freedesktop.Notifications");
const QString ObjectPath = QStringLiteral("/org/freedesktop/Notifications");

} // namespace

NotificationServer::NotificationServer()
    : m_name(QUuid::createUuid().toString())
    , m_bus(QDBusConnection::connectToBus(QDBusConnection::SessionBus, m_name))
{
    if (!m_bus.registerVirtualObject(ObjectPath, this) || !m_bus.registerService(Service))
        qFatal("there is a notification service already");
}

NotificationServer::~NotificationServer()
{
    m_bus = QDBusConnection(QString());
    QDBusConnection::disconnectFromBus(m_name);
}

bool NotificationServer::handleMessage(const QDBusMessage &message,
                                       const QDBusConnection &connection)
{
    const QVariantList arguments = message.arguments();
    QVariantList answer;
    if (message.member() == QLatin1String("Notify"))
        answer.append(show(arguments));
    else if (message.member() == QLatin1String("CloseNotification"))
        note(QStringLiteral("Close %1").arg(arguments.value(0).toUInt()));
    else
        note(message.member());
    if (!m_isSilent)
        connection.send(message.createReply(answer));
    return true;
}

uint NotificationServer::show(const QVariantList &arguments)
{
    const uint replaced = arguments.value(1).toUInt();
    const uint number = replaced > 0 ? replaced : ++m_last;
    const QString place =
        replaced > 0 ? QStringLiteral("%1>%2").arg(replaced).arg(number) : QString::number(number);
    m_texts += QStringList {arguments.value(3).toString(), arguments.value(4).toString()};
    m_lastExpiry = arguments.value(7).toInt();
    note(QStringLiteral("Notify %1 %2").arg(place, arguments.value(3).toString()));
    return number;
}

void NotificationServer::note(const QString &call)
{
    m_calls.append(call);
    emit called(call);
}

QString NotificationServer::introspect(const QString &) const
{
    return {};
}
