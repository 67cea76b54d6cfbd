// SPDX-License-Identifier: LGPL-2.1-or-later
#include "accounts/status/partversions.h"

#include "accounts/programoutput.h"
#include "accounts/status/daemonstatus.h"
#include "accounts/status/partplaces.h"
#include "accounts/status/partstate.h"

#include <QCoreApplication>
#include <QSslSocket>
#include <QSysInfo>

namespace Accounts {

namespace {

QString orNothing(const QString &version)
{
    return version.isEmpty() ? QStringLiteral("not found") : version;
}

/** What a program of ours says of itself. */
QString versionOf(const QString &path, const char *name)
{
    const QString beginning = QLatin1String(name) + QLatin1Char(' ');
    const QString told = path.isEmpty()
        ? QString()
        : ProgramOutput::of(path, {QStringLiteral("--version")}).out.trimmed();
    return told.startsWith(beginning) ? told.mid(beginning.size()) : QString();
}

QString daemonVersion()
{
    const QString installed =
        orNothing(versionOf(daemonProgram().section(QLatin1Char(' '), 0, 0), "asdaemon"));
    const DaemonInfo running = daemonInfo();
    return running.version.isEmpty()
        ? installed
        : QStringLiteral("%1, the one that runs is %2").arg(installed, running.version);
}

/** Debian's packages of what others have made; elsewhere nothing. */
QStringList packages()
{
    const QString told =
        ProgramOutput::of(
            QStringLiteral("dpkg-query"),
            {QStringLiteral("--show"),
             QStringLiteral("--showformat=${db:Status-Status} ${Package} ${Version}\\n"),
             QStringLiteral("orvmail*"), QStringLiteral("qmfmessageserver"),
             QStringLiteral("libqmf*"), QStringLiteral("libqt5core5*"),
             QStringLiteral("libqt5network5*"), QStringLiteral("libqt5sql5-sqlite")})
            .out;
    QStringList lines;
    const QString installed = QStringLiteral("installed ");
    for (const QString &line : told.split(QLatin1Char('\n'))) {
        if (line.startsWith(installed))
            lines.append(QStringLiteral("package: ") + line.mid(installed.size()));
    }
    return lines;
}

} // namespace

QStringList partVersions()
{
    const QString window =
        QCoreApplication::applicationDirPath() + QLatin1String("/orvmail-account-window");
    return QStringList {
               QStringLiteral("orvmail-account: " ORVMAIL_VERSION),
               QStringLiteral("orvmail-account-window: ")
                   + orNothing(versionOf(window, "orvmail-account-window")),
               QStringLiteral("asdaemon: ") + daemonVersion(),
               QStringLiteral("liborvmail.so: ") + orNothing(pluginVersion(pluginFile())),
               QStringLiteral("Qt: %1 (built with " QT_VERSION_STR ")")
                   .arg(QLatin1String(qVersion())),
               QStringLiteral("QMF: built with " QMF_VERSION),
               QStringLiteral("TLS: ") + orNothing(QSslSocket::sslLibraryVersionString()),
               QStringLiteral("system: %1, %2 %3, %4")
                   .arg(QSysInfo::prettyProductName(), QSysInfo::kernelType(),
                        QSysInfo::kernelVersion(), QSysInfo::currentCpuArchitecture()),
           }
    + packages();
}

} // namespace Accounts
