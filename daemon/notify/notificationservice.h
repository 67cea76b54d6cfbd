// SPDX-License-Identifier: LGPL-2.1-or-later
#ifndef DAEMON_NOTIFY_NOTIFICATIONSERVICE_H
#define DAEMON_NOTIFY_NOTIFICATIONSERVICE_H

#include "daemon/notify/notification.h"

#include <QDBusConnection>
#include <QDBusMessage>
#include <QObject>

#include <functional>
#include <memory>

class QDBusServiceWatcher;

namespace Daemon {

/**
 * The desktop's notification service (org.freedesktop.Notifications), where there is one.
 *
 * Nothing here waits for it, and it is started only where the bus has it to start. The bus is asked
 * nothing, and hears of no interest in the service, before there is something to show.
 */
class NotificationService : public QObject
{
    Q_OBJECT

public:
    /** Gets the name of what is shown, by which it can be closed, also by a later daemon; empty
     * where it could not be shown. */
    using Done = std::function<void(const QString &shown)>;

    explicit NotificationService(const QDBusConnection &bus, QObject *parent = nullptr);
    ~NotificationService() override;

    /** Whether the last one could not be shown, and no service has appeared since. */
    bool isMissing() const { return m_isMissing; }
    /** Shows it, in the place of `replaced` if that is still there. `done` is called later, once,
     * unless this object is destroyed before. */
    void show(const Notification &notification, const QString &replaced, const Done &done);
    /** Takes away what is shown; nothing where it is gone already, or its service. */
    void close(const QString &shown);

signals:
    /** There is a service that was not there before. */
    void appeared();

private:
    void watch();
    void onAppeared();
    void findBus(const std::function<void()> &then);
    void findService(const std::function<void(const QString &destination)> &then);
    void notify(const Notification &notification, const QString &replaced, const Done &done);
    void call(const QDBusMessage &message, const std::function<void(const QDBusMessage &)> &then);

    QDBusConnection m_bus;
    QString m_busId; ///< empty: not asked for yet
    std::unique_ptr<QDBusServiceWatcher> m_watcher;
    int m_appearances = 0;
    bool m_isMissing = false;
};

} // namespace Daemon

#endif
