// SPDX-License-Identifier: LGPL-2.1-or-later
#include "plugin/service/matchrule.h"

#include "asclient/asdbusinterface.h"

#include <QDBusConnection>
#include <QDBusMessage>

MatchRule::MatchRule(const QString &broadcast)
    : m_rule(QStringLiteral("type='signal',path='%1',interface='%2',member='%3'")
                 .arg(QLatin1String(Activesync::ObjectPath),
                      QLatin1String(Activesync::InterfaceName), broadcast))
{
    tellBus(QStringLiteral("AddMatch"));
}

MatchRule::~MatchRule()
{
    tellBus(QStringLiteral("RemoveMatch"));
}

void MatchRule::tellBus(const QString &method) const
{
    const QString bus = QStringLiteral("org.freedesktop.DBus");
    QDBusMessage call =
        QDBusMessage::createMethodCall(bus, QStringLiteral("/org/freedesktop/DBus"), bus, method);
    call << m_rule;
    QDBusConnection::sessionBus().send(call);
}
