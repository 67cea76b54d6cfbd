// SPDX-License-Identifier: LGPL-2.1-or-later
#include "accounts/status/partplaces.h"

#include "accounts/status/partstate.h"
#include "asclient/asdbusinterface.h"

#include <QDir>
#include <QFile>
#include <QStandardPaths>

namespace Accounts {

namespace {

QStringList serviceFolders()
{
    return QStandardPaths::locateAll(QStandardPaths::RuntimeLocation,
                                     QStringLiteral("dbus-1/services"),
                                     QStandardPaths::LocateDirectory)
        + QStandardPaths::locateAll(QStandardPaths::GenericDataLocation,
                                    QStringLiteral("dbus-1/services"),
                                    QStandardPaths::LocateDirectory);
}

QStringList filesIn(const QString &folder, const QString &pattern)
{
    QStringList paths;
    const QStringList names = QDir(folder).entryList({pattern}, QDir::Files | QDir::System);
    for (const QString &name : names)
        paths.append(folder + QLatin1Char('/') + name);
    return paths;
}

/** What stands behind that beginning of a line. */
QString valueIn(const QString &path, const char *beginning)
{
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly))
        return {};
    const QList<QByteArray> lines = file.readAll().split('\n');
    for (const QByteArray &line : lines) {
        if (line.startsWith(beginning))
            return QString::fromUtf8(line.mid(int(qstrlen(beginning))).trimmed());
    }
    return {};
}

/** systemd.unit(5) */
QStringList unitFolders()
{
    const auto of = [](QStandardPaths::StandardLocation location) {
        return QStandardPaths::writableLocation(location) + QLatin1String("/systemd/user");
    };
    return {of(QStandardPaths::GenericConfigLocation),     QStringLiteral("/etc/systemd/user"),
            of(QStandardPaths::RuntimeLocation),           of(QStandardPaths::GenericDataLocation),
            QStringLiteral("/usr/local/lib/systemd/user"), QStringLiteral("/usr/lib/systemd/user")};
}

} // namespace

QList<BusFile> busFiles(const QString &busName)
{
    QList<BusFile> found;
    const QStringList folders = serviceFolders();
    for (const QString &folder : folders) {
        const QStringList paths = filesIn(folder, QStringLiteral("*.service"));
        for (const QString &path : paths) {
            if (valueIn(path, "Name=") == busName)
                found.append({path, valueIn(path, "Exec=")});
        }
    }
    return found;
}

QStringList unitFiles()
{
    QStringList found;
    const QStringList folders = unitFolders();
    for (const QString &folder : folders)
        found += filesIn(folder, QStringLiteral("asdaemon.service"))
            + filesIn(folder + QLatin1String("/asdaemon.service.d"), QStringLiteral("*.conf"))
            + filesIn(folder + QLatin1String("/default.target.wants"),
                      QStringLiteral("asdaemon.service"));
    return found;
}

QString programOf(const QString &busName)
{
    const uint process = processOf(busName);
    return process ? QFile::symLinkTarget(QStringLiteral("/proc/%1/exe").arg(process)) : QString();
}

QString daemonProgram()
{
    const QString name = QLatin1String(Activesync::ServiceName);
    const QString running = programOf(name);
    const QList<BusFile> files = busFiles(name);
    return !running.isEmpty() || files.isEmpty() ? running : files.first().exec;
}

} // namespace Accounts
