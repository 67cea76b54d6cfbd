// SPDX-License-Identifier: LGPL-2.1-or-later
#include "accounts/status/partstate.h"

#include <QCoreApplication>
#include <QDBusConnection>
#include <QDBusConnectionInterface>
#include <QFile>
#include <QJsonObject>
#include <QPluginLoader>

namespace Accounts {

namespace {

/** The libraries of a process, one a line; empty where they cannot be seen. */
QByteArray librariesOf(uint process)
{
    QFile maps(QStringLiteral("/proc/%1/maps").arg(process));
    return maps.open(QIODevice::ReadOnly) ? maps.readAll() : QByteArray();
}

/** Its file, by the libraries of the message server; empty where that has not loaded it. */
QString loadedPlugin(const QByteArray &libraries)
{
    const int name = libraries.indexOf("/liborvmail.so");
    if (name < 0)
        return {};
    const int start = libraries.indexOf('/', libraries.lastIndexOf('\n', name) + 1);
    return QFile::decodeName(libraries.mid(start, libraries.indexOf('\n', name) - start));
}

QString installedPlugin()
{
    const QStringList folders = QCoreApplication::libraryPaths();
    for (const QString &folder : folders) {
        const QString file = folder + QLatin1String("/messageservices/liborvmail.so");
        if (QFile::exists(file))
            return file;
    }
    return {};
}

} // namespace

const QString MessageServerName = QStringLiteral("org.qt.messageserver");

PartState partState(const QString &busName)
{
    const QDBusConnection connection = QDBusConnection::sessionBus();
    if (!connection.isConnected())
        return PartState::NoBus;
    QDBusConnectionInterface *bus = connection.interface();
    if (bus->isServiceRegistered(busName))
        return PartState::Running;
    return bus->activatableServiceNames().value().contains(busName) ? PartState::Activatable
                                                                    : PartState::Absent;
}

PluginState pluginState()
{
    const uint process = processOf(MessageServerName);
    const QByteArray libraries = process ? librariesOf(process) : QByteArray();
    if (!libraries.contains("libQmfMessageServer"))
        return PluginState::Unknown;
    if (!loadedPlugin(libraries).isEmpty())
        return PluginState::Loaded;
    return installedPlugin().isEmpty() ? PluginState::NotInstalled : PluginState::NotLoaded;
}

QString pluginFile()
{
    const uint process = processOf(MessageServerName);
    const QString loaded = process ? loadedPlugin(librariesOf(process)) : QString();
    return loaded.isEmpty() ? installedPlugin() : loaded;
}

QString pluginVersion(const QString &file)
{
    return QPluginLoader(file)
        .metaData()
        .value(QLatin1String("MetaData"))
        .toObject()
        .value(QLatin1String("version"))
        .toString();
}

uint processOf(const QString &busName)
{
    QDBusConnectionInterface *bus = QDBusConnection::sessionBus().interface();
    const QDBusReply<uint> process =
        bus ? bus->servicePid(busName) : QDBusReply<uint>(QDBusError());
    return process.isValid() ? process.value() : 0;
}

QString wordFor(PartState state)
{
    switch (state) {
    case PartState::Running:
        return QStringLiteral("running");
    case PartState::Activatable:
        return QStringLiteral("activatable");
    default:
        return QStringLiteral("absent");
    }
}

QString wordFor(PluginState state)
{
    switch (state) {
    case PluginState::Loaded:
        return QStringLiteral("loaded");
    case PluginState::NotLoaded:
        return QStringLiteral("not-loaded");
    case PluginState::NotInstalled:
        return QStringLiteral("not-installed");
    default:
        return QStringLiteral("unknown");
    }
}

} // namespace Accounts
