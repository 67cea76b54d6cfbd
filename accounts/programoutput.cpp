// SPDX-License-Identifier: LGPL-2.1-or-later
#include "accounts/programoutput.h"

#include <QProcess>
#include <QProcessEnvironment>

namespace Accounts {

namespace {

/** Milliseconds. */
constexpr int MaximumTime = 5000;

} // namespace

ProgramOutput ProgramOutput::of(const QString &program, const QStringList &arguments)
{
    QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
    environment.insert(QStringLiteral("LC_ALL"), QStringLiteral("C.UTF-8"));
    QProcess process;
    process.setProcessEnvironment(environment);
    process.setStandardInputFile(QProcess::nullDevice());
    process.start(program, arguments, QIODevice::ReadOnly);
    if (!process.waitForFinished(MaximumTime)) {
        process.kill();
        process.waitForFinished();
        return {};
    }
    return {process.exitStatus() == QProcess::NormalExit,
            QString::fromUtf8(process.readAllStandardOutput()),
            QString::fromUtf8(process.readAllStandardError()).section(QLatin1Char('\n'), 0, 0)};
}

} // namespace Accounts
