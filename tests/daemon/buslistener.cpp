// SPDX-License-Identifier: LGPL-2.1-or-later
#include "tests/daemon/buslistener.h"

#include "asclient/asdbusinterface.h"

BusListener::BusListener(const QDBusConnection &bus)
{
    QDBusConnection connection = bus;
    for (const char *name :
         {"requestCompleted", "searchMailboxCompleted", "syncStarted", "syncCompleted"})
        connection.connect(QString(), QLatin1String(Activesync::ObjectPath),
                           QLatin1String(Activesync::InterfaceName), QLatin1String(name), this,
                           SLOT(onBroadcast(QDBusMessage)));
}

int BusListener::count(const QString &beginning) const
{
    int found = 0;
    for (const QString &entry : m_broadcasts)
        found += entry == beginning || entry.startsWith(beginning + QLatin1Char(' ')) ? 1 : 0;
    return found;
}

int BusListener::codeOf(int requestId) const
{
    for (const QString &entry : m_broadcasts) {
        const QStringList words = entry.split(QLatin1Char(' '));
        if (words.first() == QLatin1String("requestCompleted") && words.last().toInt() == requestId)
            return words.at(1).toInt();
    }
    return 0;
}

int BusListener::completionsOf(int requestId) const
{
    int found = 0;
    for (const QString &entry : m_broadcasts) {
        const QStringList words = entry.split(QLatin1Char(' '));
        found +=
            words.first() == QLatin1String("requestCompleted") && words.last().toInt() == requestId
            ? 1
            : 0;
    }
    return found;
}

void BusListener::onBroadcast(const QDBusMessage &message)
{
    QStringList words = {message.member()};
    const QVariantList arguments = message.arguments();
    for (const QVariant &argument : arguments) {
        if (argument.canConvert<QString>())
            words.append(argument.toString());
    }
    m_broadcasts.append(words.join(QLatin1Char(' ')));
}
