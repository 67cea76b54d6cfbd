// SPDX-License-Identifier: LGPL-2.1-or-later
#include "accounts/partstarter.h"

#include "asclient/asdbusinterface.h"

#include <QCoreApplication>
#include <QDBusConnection>
#include <QDBusConnectionInterface>
#include <QDBusMessage>
#include <QDBusPendingCallWatcher>
#include <QDBusPendingReply>
#include <QFile>
#include <QTimer>

namespace Accounts {

namespace {

const QString MessageServer = QStringLiteral("org.qt.messageserver");

/** Milliseconds; the bus itself gives up a little earlier. */
constexpr int StartTime = 30 * 1000;
/** A message server that has just started, or just heard of its first account, loads the plugin. */
constexpr int PluginTime = 10 * 1000;
constexpr int LookAgain = 100;

/** What an account needs here besides this program, in the order in which it is started. */
struct Part
{
    QString busName;
    /** What to say where the bus knows no way to start it. */
    QString missing;
    /** What to say where it does not start, and what to do then. */
    QString title;
    QString advice;
};

const QList<Part> &parts()
{
    static const QList<Part> all {
        {MessageServer,
         QStringLiteral("no message server runs in this session, and the session bus knows none; "
                        "install QMF's message server, or start it with \"messageserver5\""),
         QStringLiteral("the message server"),
         QStringLiteral("\"messageserver5\" started by hand tells more")},
        {QLatin1String(Activesync::ServiceName),
         QStringLiteral("the session bus does not know the ActiveSync daemon (\"asdaemon\"); "
                        "install orvmail completely and log in again"),
         QStringLiteral("the ActiveSync daemon"),
         QStringLiteral("\"asdaemon\" started by hand tells more")},
    };
    return all;
}

Outcome failureOf(const Part &part, const QDBusError &error)
{
    if (error.type() == QDBusError::ServiceUnknown)
        return Outcome::refused(part.missing);
    return Outcome::refused(
        QStringLiteral("%1 does not start (%2); %3").arg(part.title, error.message(), part.advice));
}

/** The libraries of a process, one a line; empty where they cannot be seen. */
QByteArray librariesOf(uint process)
{
    QFile maps(QStringLiteral("/proc/%1/maps").arg(process));
    return maps.open(QIODevice::ReadOnly) ? maps.readAll() : QByteArray();
}

bool isPluginInstalled()
{
    const QStringList folders = QCoreApplication::libraryPaths();
    for (const QString &folder : folders) {
        if (QFile::exists(folder + QLatin1String("/messageservices/liborvmail.so")))
            return true;
    }
    return false;
}

/** Done, or that the message server that runs has not loaded the plugin. What another process has
 * loaded cannot always be seen; it then counts as loaded. */
Outcome checkPlugin()
{
    QDBusConnectionInterface *bus = QDBusConnection::sessionBus().interface();
    const QDBusReply<uint> process =
        bus ? bus->servicePid(MessageServer) : QDBusReply<uint>(QDBusError());
    const QByteArray libraries = process.isValid() ? librariesOf(process) : QByteArray();
    if (!libraries.contains("libQmfMessageServer") || libraries.contains("/liborvmail.so"))
        return {};
    if (!isPluginInstalled())
        return Outcome::refused(
            QStringLiteral("the message server does not find the plugin (\"liborvmail.so\"); "
                           "install orvmail completely and log in again"));
    return Outcome::refused(
        QStringLiteral("the message server that runs (process %1) has not loaded the plugin; log "
                       "out and in again, so that it starts anew")
            .arg(process.value()));
}

} // namespace

void PartStarter::start()
{
    QMetaObject::invokeMethod(this, &PartStarter::startNext, Qt::QueuedConnection);
}

void PartStarter::cancel()
{
    const auto leave = [this] { end(Outcome::refused(QStringLiteral("cancelled"))); };
    QMetaObject::invokeMethod(this, leave, Qt::QueuedConnection);
}

void PartStarter::startNext()
{
    if (m_next == parts().size()) {
        m_pluginDeadline.setRemainingTime(PluginTime);
        lookForPlugin();
        return;
    }
    QDBusConnection bus = QDBusConnection::sessionBus();
    if (!bus.isConnected()) {
        end(Outcome::refused(
            QStringLiteral("there is no session bus here, by which the message "
                           "server is reached; log in to a session that has one")));
        return;
    }
    // The bus does not start what it has no file for, nor tell then that it runs already.
    if (bus.interface()->isServiceRegistered(parts().at(m_next).busName)) {
        ++m_next;
        startNext();
        return;
    }
    QDBusMessage call = QDBusMessage::createMethodCall(
        QStringLiteral("org.freedesktop.DBus"), QStringLiteral("/org/freedesktop/DBus"),
        QStringLiteral("org.freedesktop.DBus"), QStringLiteral("StartServiceByName"));
    call.setArguments({parts().at(m_next).busName, 0u});
    auto *answer = new QDBusPendingCallWatcher(bus.asyncCall(call, StartTime), this);
    connect(answer, &QDBusPendingCallWatcher::finished, this, &PartStarter::answered);
}

void PartStarter::answered(QDBusPendingCallWatcher *answer)
{
    answer->deleteLater();
    if (m_over)
        return;
    const QDBusPendingReply<uint> reply = *answer;
    if (reply.isError()) {
        end(failureOf(parts().at(m_next), reply.error()));
        return;
    }
    ++m_next;
    startNext();
}

void PartStarter::lookForPlugin()
{
    const Outcome plugin = checkPlugin();
    if (plugin.ok() || m_over || m_pluginDeadline.hasExpired())
        end(plugin);
    else
        QTimer::singleShot(LookAgain, this, &PartStarter::lookForPlugin);
}

void PartStarter::end(const Outcome &outcome)
{
    if (m_over)
        return;
    m_over = true;
    m_outcome = outcome;
    emit finished();
}

} // namespace Accounts
