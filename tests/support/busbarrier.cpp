// SPDX-License-Identifier: LGPL-2.1-or-later
#include "tests/support/busbarrier.h"

#include <QCoreApplication>
#include <QDBusMessage>
#include <QDBusVirtualObject>
#include <QDeadlineTimer>
#include <QThread>

namespace {

/** Notes that a call has arrived: what was sent before it has arrived as well. */
class Barrier : public QDBusVirtualObject
{
public:
    bool handleMessage(const QDBusMessage &, const QDBusConnection &) override
    {
        reached = true;
        return true;
    }
    QString introspect(const QString &) const override { return {}; }

    bool reached = false;
};

} // namespace

bool waitForDelivery(QDBusConnection sender)
{
    const QString path = QStringLiteral("/test/barrier");
    QDBusConnection own = QDBusConnection::sessionBus();
    Barrier barrier;
    if (!own.registerVirtualObject(path, &barrier))
        return false;
    sender.send(QDBusMessage::createMethodCall(own.baseService(), path, QString(),
                                               QStringLiteral("reach")));
    const QDeadlineTimer deadline(10000);
    while (!barrier.reached && !deadline.hasExpired()) {
        QCoreApplication::processEvents();
        QThread::usleep(50);
    }
    own.unregisterObject(path);
    QCoreApplication::processEvents();
    return barrier.reached;
}
