// SPDX-License-Identifier: LGPL-2.1-or-later
#include "tests/plugin/fakemessageserver.h"

#include "tests/support/busbarrier.h"

#include <QDBusMessage>
#include <qmailmessageserver.h>
#include <QTest>

namespace {

const QString Name = QStringLiteral("org.qt.messageserver");
const QString Path = QStringLiteral("/messageserver");
const QString Connection = QStringLiteral("fake-message-server");

} // namespace

FakeMessageServer::FakeMessageServer()
    : m_bus(QDBusConnection::connectToBus(QDBusConnection::SessionBus, Connection))
{
    QMailMessageServer::registerTypes();
    if (!m_bus.registerVirtualObject(Path, this) || !m_bus.registerService(Name))
        qFatal("cannot be %s", qPrintable(Name));
}

FakeMessageServer::~FakeMessageServer()
{
    m_bus.unregisterService(Name);
    // Qt closes the connection in a thread of its own, and must not find an object that is gone.
    m_bus.unregisterObject(Path);
    QDBusConnection::disconnectFromBus(Connection);
}

QList<FakeMessageServer::Request> FakeMessageServer::requests(const char *method) const
{
    QList<Request> found;
    for (const Request &request : m_requests) {
        if (request.method == QLatin1String(method))
            found += request;
    }
    return found;
}

FakeMessageServer::Request FakeMessageServer::waitForRequest(const char *method)
{
    int &count = m_waitedFor[QLatin1String(method)];
    if (!QTest::qWaitFor([&] { return requests(method).count() > count; }))
        return {};
    return requests(method).at(count++);
}

void FakeMessageServer::setActivity(qulonglong action, QMailServiceAction::Activity activity)
{
    QDBusMessage signal = QDBusMessage::createSignal(Path, Name, QStringLiteral("activityChanged"));
    signal.setArguments({action, QVariant::fromValue(activity)});
    m_bus.send(signal);
    if (!waitForDelivery(m_bus))
        qWarning("the clients did not hear of the activity");
}

bool FakeMessageServer::handleMessage(const QDBusMessage &message, const QDBusConnection &)
{
    if (message.interface() != Name)
        return false;
    m_requests +=
        {message.member(), message.arguments().value(0).toULongLong(), message.arguments().mid(1)};
    return true;
}

QString FakeMessageServer::introspect(const QString &) const
{
    return {};
}
