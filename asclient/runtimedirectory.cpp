// SPDX-License-Identifier: LGPL-2.1-or-later
#include "asclient/runtimedirectory.h"

#include <QDir>
#include <QFile>

#include <sys/stat.h>
#include <unistd.h>

namespace Activesync {

namespace {

/** Makes the folder if it is missing; true when it belongs to this user alone. */
bool isPrivate(const QString &path)
{
    const QByteArray name = QFile::encodeName(path);
    mkdir(name.constData(), 0700);
    struct stat status;
    return lstat(name.constData(), &status) == 0 && S_ISDIR(status.st_mode)
        && status.st_uid == geteuid() && (status.st_mode & 077) == 0;
}

} // namespace

QString runtimeDirectory(int maxBytes)
{
    QStringList candidates;
    const QString runtime = qEnvironmentVariable("XDG_RUNTIME_DIR");
    if (QDir::isAbsolutePath(runtime))
        candidates.append(runtime + QStringLiteral("/orvmail"));
    // Not the folder of TMPDIR, which processes of one user need not share.
    candidates.append(QStringLiteral("/tmp/orvmail-%1").arg(geteuid()));
    for (const QString &candidate : qAsConst(candidates)) {
        if (QFile::encodeName(candidate).size() <= maxBytes && isPrivate(candidate))
            return candidate;
    }
    return QString();
}

} // namespace Activesync
