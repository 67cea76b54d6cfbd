// SPDX-License-Identifier: LGPL-2.1-or-later
#include "daemon/store/storefailure.h"

#include <QFile>
#include <qmailnamespace.h>
#include <qmailstore.h>

#include <sys/statvfs.h>

namespace Store {

namespace {

/** Less than this is "full": SQLite and the content files need it for their next write. */
constexpr quint64 minimumRoom = 256 * 1024;

bool isDiskFull()
{
    struct statvfs info = {};
    if (::statvfs(QFile::encodeName(QMail::dataPath()).constData(), &info) != 0)
        return false;
    // Some file systems count no files (f_files 0).
    return quint64(info.f_bavail) * info.f_frsize < minimumRoom
        || (info.f_files > 0 && info.f_favail == 0);
}

} // namespace

Eas::Result storeFailure(const QString &what)
{
    const int error = QMailStore::instance()->lastError();
    const QString text = QStringLiteral("%1 (mail store error %2)").arg(what).arg(error);
    if (isDiskFull())
        return {Eas::NoRoom, QStringLiteral("disk full: ") + text};
    return {Eas::ServerFailed, text};
}

} // namespace Store
