// SPDX-License-Identifier: LGPL-2.1-or-later
#include "daemon/notify/notificationservice.h"

#include "daemon/log/logging.h"

#include <QDBusPendingCallWatcher>
#include <QDBusServiceWatcher>
#include <QVariantMap>

namespace Daemon {

namespace {

const QString Service = QStringLiteral("org.freedesktop.Notifications");
const QString ObjectPath = QStringLiteral("/org/freedesktop/Notifications");
const QString Sender = QStringLiteral("orvmail");
const QString Icon = QStringLiteral("dialog-warning");
/** It stays until the person or we close it: nothing tells it again. */
constexpr int NeverExpires = 0;
/** Longer than the bus takes to start a service: what is shown late would be shown twice. */
constexpr int AnswerTimeMs = 3 * 60 * 1000;

/**
 * Which notification, of which service, on which bus: a service that starts anew counts anew, and a
 * bus that starts anew gives its names anew.
 */
struct Place
{
    QString bus;
    QString owner;
    uint number = 0;

    static Place fromText(const QString &text)
    {
        const QStringList words = text.split(QLatin1Char(' '));
        return words.size() == 3 ? Place {words[0], words[1], words[2].toUInt()} : Place();
    }
    QString toText() const { return QStringLiteral("%1 %2 %3").arg(bus, owner).arg(number); }
    bool isShownBy(const QString &someBus, const QString &someOwner) const
    {
        return number > 0 && bus == someBus && owner == someOwner;
    }
};

QDBusMessage busCall(const char *method)
{
    return QDBusMessage::createMethodCall(
        QStringLiteral("org.freedesktop.DBus"), QStringLiteral("/org/freedesktop/DBus"),
        QStringLiteral("org.freedesktop.DBus"), QLatin1String(method));
}

/** The first thing that was answered; invalid for an error. */
QVariant answerOf(const QDBusMessage &reply)
{
    return reply.type() == QDBusMessage::ReplyMessage ? reply.arguments().value(0) : QVariant();
}

} // namespace

NotificationService::NotificationService(const QDBusConnection &bus, QObject *parent)
    : QObject(parent)
    , m_bus(bus)
{
}

NotificationService::~NotificationService() = default;

void NotificationService::show(const Notification &notification, const QString &replaced,
                               const Done &done)
{
    watch();
    findBus([=] { notify(notification, replaced, done); });
}

void NotificationService::notify(const Notification &notification, const QString &replaced,
                                 const Done &done)
{
    const int appearances = m_appearances;
    const auto send = [=](const QString &destination) {
        const Place before = Place::fromText(replaced);
        auto message = QDBusMessage::createMethodCall(destination, ObjectPath, Service,
                                                      QStringLiteral("Notify"));
        message << Sender << (before.isShownBy(m_busId, destination) ? before.number : 0U) << Icon
                << notification.summary << notification.body << QStringList() << QVariantMap()
                << NeverExpires;
        call(message, [=](const QDBusMessage &reply) {
            const Place place {m_busId, reply.service(), answerOf(reply).toUInt()};
            if (place.number > 0) {
                done(place.toText());
            } else if (destination != Service && m_appearances != appearances) {
                // The one that was asked has gone, and another has come meanwhile. One that the
                // bus has started for this is not asked again: it may end each time.
                notify(notification, replaced, done);
            } else {
                qCDebug(lcDaemon) << "a notification was not shown:" << reply.errorName();
                m_isMissing = true;
                done(QString());
            }
        });
    };
    findService([=](const QString &destination) {
        if (!destination.isEmpty()) {
            send(destination);
            return;
        }
        qCDebug(lcDaemon) << "there is no notification service here";
        m_isMissing = true;
        done(QString());
    });
}

void NotificationService::close(const QString &shown)
{
    const Place place = Place::fromText(shown);
    if (place.number == 0)
        return;
    findBus([=] {
        if (!place.isShownBy(m_busId, place.owner))
            return;
        // To that very service, so that no other is started or meant.
        auto message = QDBusMessage::createMethodCall(place.owner, ObjectPath, Service,
                                                      QStringLiteral("CloseNotification"));
        m_bus.send(message << place.number);
    });
}

/** The bus tells of this name alone, and only when it changes hands. */
void NotificationService::watch()
{
    if (m_watcher)
        return;
    m_watcher = std::make_unique<QDBusServiceWatcher>(Service, m_bus,
                                                      QDBusServiceWatcher::WatchForRegistration);
    connect(m_watcher.get(), &QDBusServiceWatcher::serviceRegistered, this,
            &NotificationService::onAppeared);
}

void NotificationService::onAppeared()
{
    ++m_appearances;
    m_isMissing = false;
    emit appeared();
}

void NotificationService::findBus(const std::function<void()> &then)
{
    if (!m_busId.isEmpty()) {
        then();
        return;
    }
    call(busCall("GetId"), [=](const QDBusMessage &reply) {
        m_busId = answerOf(reply).toString();
        then();
    });
}

/** Its connection, its name where the bus is to start it, or nothing. */
void NotificationService::findService(const std::function<void(const QString &)> &then)
{
    call(busCall("GetNameOwner") << Service, [=](const QDBusMessage &reply) {
        const QString owner = answerOf(reply).toString();
        if (!owner.isEmpty()) {
            then(owner);
            return;
        }
        call(busCall("ListActivatableNames"), [=](const QDBusMessage &names) {
            then(answerOf(names).toStringList().contains(Service) ? Service : QString());
        });
    });
}

void NotificationService::call(const QDBusMessage &message,
                               const std::function<void(const QDBusMessage &)> &then)
{
    auto *watcher = new QDBusPendingCallWatcher(m_bus.asyncCall(message, AnswerTimeMs), this);
    connect(watcher, &QDBusPendingCallWatcher::finished, this, [then, watcher] {
        watcher->deleteLater();
        then(watcher->reply());
    });
}

} // namespace Daemon
