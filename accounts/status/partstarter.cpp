// SPDX-License-Identifier: LGPL-2.1-or-later
#include "accounts/status/partstarter.h"

#include "accounts/status/partstate.h"
#include "asclient/asdbusinterface.h"
#include "translations/text.h"

#include <QDBusConnection>
#include <QDBusConnectionInterface>
#include <QDBusMessage>
#include <QDBusPendingCallWatcher>
#include <QDBusPendingReply>
#include <QTimer>

namespace Accounts {

namespace {

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
        {MessageServerName,
         Text::tr("no message server runs in this session, and the session bus knows none; "
                  "install QMF's message server, or start it with \"messageserver5\""),
         Text::tr("the message server"), Text::tr("\"messageserver5\" started by hand tells more")},
        {QLatin1String(Activesync::ServiceName),
         Text::tr("the session bus does not know the ActiveSync daemon (\"asdaemon\"); "
                  "install orvmail completely and log in again"),
         Text::tr("the ActiveSync daemon"), Text::tr("\"asdaemon\" started by hand tells more")},
    };
    return all;
}

Outcome failureOf(const Part &part, const QDBusError &error)
{
    if (error.type() == QDBusError::ServiceUnknown)
        return Outcome::refused(part.missing);
    return Outcome::refused(
        Text::tr("%1 does not start (%2); %3").arg(part.title, error.message(), part.advice));
}

/** Done, or that the message server that runs has not loaded the plugin. What another process has
 * loaded cannot always be seen; it then counts as loaded. */
Outcome checkPlugin()
{
    switch (pluginState()) {
    case PluginState::NotInstalled:
        return Outcome::refused(
            Text::tr("the message server does not find the plugin (\"liborvmail.so\"); "
                     "install orvmail completely and log in again"));
    case PluginState::NotLoaded:
        return Outcome::refused(
            Text::tr("the message server that runs (process %1) has not loaded the plugin; "
                     "log out and in again, so that it starts anew")
                .arg(processOf(MessageServerName)));
    default:
        return {};
    }
}

} // namespace

void PartStarter::start()
{
    QMetaObject::invokeMethod(this, &PartStarter::startNext, Qt::QueuedConnection);
}

void PartStarter::cancel()
{
    end(Outcome::refused(Text::tr("cancelled")));
}

void PartStarter::startNext()
{
    if (isOver())
        return;
    if (m_next == parts().size()) {
        m_pluginDeadline.setRemainingTime(PluginTime);
        lookForPlugin();
        return;
    }
    QDBusConnection bus = QDBusConnection::sessionBus();
    if (!bus.isConnected()) {
        end(Outcome::refused(Text::tr("there is no session bus here, by which the message "
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
    if (isOver())
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
    if (plugin.ok() || isOver() || m_pluginDeadline.hasExpired())
        end(plugin);
    else
        QTimer::singleShot(LookAgain, this, &PartStarter::lookForPlugin);
}

} // namespace Accounts
