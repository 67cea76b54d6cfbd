// SPDX-License-Identifier: LGPL-2.1-or-later
#include "accounts/commands/passwordprogram.h"

#include "translations/text.h"

#include <QProcess>
#include <QTextStream>

namespace Accounts {

Outcome runPasswordProgram(const QString &command, QString *password)
{
    QProcess process;
    process.setProcessChannelMode(QProcess::ForwardedErrorChannel);
    process.setInputChannelMode(QProcess::ForwardedInputChannel);
    process.start(QStringLiteral("/bin/sh"), {QStringLiteral("-c"), command});
    if (!process.waitForFinished(-1))
        return Outcome::refused(
            Text::tr("the password command could not be started; nothing was changed"));
    if (process.exitStatus() != QProcess::NormalExit)
        return Outcome::refused(
            Text::tr("the password command was ended by a signal; nothing was changed"));
    if (process.exitCode() != 0)
        return Outcome::refused(
            Text::tr("the password command failed with exit status %1; nothing was changed")
                .arg(process.exitCode()));
    QTextStream output(process.readAllStandardOutput());
    output.setCodec("UTF-8");
    *password = output.readLine();
    return password->isEmpty()
        ? Outcome::refused(
              Text::tr("the password command printed no password; nothing was changed"))
        : Outcome();
}

} // namespace Accounts
