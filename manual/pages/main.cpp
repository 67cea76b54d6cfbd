// SPDX-License-Identifier: LGPL-2.1-or-later
// Writes man pages and completion into a folder, while the programs are built.
#include "accounts/program.h"
#include "accounts/window/windowmanual.h"
#include "daemon/commandline.h"
#include "manual/pages/completion.h"
#include "manual/pages/manpage.h"

#include <QDateTime>
#include <QDir>
#include <QSaveFile>

#include <cstdio>

namespace {

bool write(const QDir &folder, const QString &name, const QString &text)
{
    QSaveFile file(folder.filePath(name));
    return file.open(QIODevice::WriteOnly) && file.write(text.toUtf8()) >= 0 && file.commit();
}

/** The day of the release where a package is made of it; builds of one source are the same. */
QString date()
{
    bool isSet = false;
    const int epoch = qEnvironmentVariableIntValue("SOURCE_DATE_EPOCH", &isSet);
    return isSet
        ? QDateTime::fromSecsSinceEpoch(epoch, Qt::UTC).toString(QStringLiteral("yyyy-MM-dd"))
        : QString();
}

bool writePage(const QDir &folder, const Manual::Program &program)
{
    return write(folder, QStringLiteral("%1.%2").arg(program.name).arg(program.manSection),
                 manPage(program, QStringLiteral(ORVMAIL_VERSION), date()));
}

} // namespace

int main(int argc, char **argv)
{
    const QDir folder(argc == 2 ? QFile::decodeName(argv[1]) : QString());
    const Manual::Program accounts = Accounts::Program().manual();
    if (argc == 2 && writePage(folder, accounts) && writePage(folder, Accounts::windowManual())
        && writePage(folder, Daemon::CommandLine::manual())
        && write(folder, accounts.name + QLatin1String(".bash"), bashCompletion(accounts))
        && write(folder, QLatin1Char('_') + accounts.name, zshCompletion(accounts)))
        return 0;
    std::fputs("usage: write-manual FOLDER (one that can be written to)\n", stderr);
    return 1;
}
