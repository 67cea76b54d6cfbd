// SPDX-License-Identifier: LGPL-2.1-or-later
#include "daemon/store/storefailure.h"

#include "translations/text.h"

#include <QFile>
#include <qmailnamespace.h>
#include <qmailstore.h>

#include <sys/statvfs.h>

namespace Store {

namespace {

/** Less than this is "full": the databases and the content files need it for their next write. */
constexpr qint64 MinimumRoom = 2 * 1024 * 1024;

bool hasRoom(qint64 bytes)
{
    struct statvfs info = {};
    if (::statvfs(QFile::encodeName(QMail::dataPath()).constData(), &info) != 0)
        return true;
    // Some file systems count no files (f_files 0).
    return qint64(info.f_bavail) * qint64(info.f_frsize) >= MinimumRoom + bytes
        && (info.f_files == 0 || info.f_favail > 0);
}

} // namespace

Eas::Result storeFailure(const QString &what)
{
    const int error = QMailStore::instance()->lastError();
    const QString text = FailureText::english("%1 (mail store error %2)").arg(what).arg(error);
    if (!hasRoom(0))
        return Eas::failure(Eas::NoRoom, Eas::Cause::Here,
                            FailureText::english("disk full: %1").arg(text));
    return Eas::failure(Eas::ServerFailed, Eas::Cause::Here, text);
}

Eas::Result checkRoom(qint64 bytes)
{
    if (hasRoom(bytes))
        return {};
    return Eas::failure(Eas::NoRoom, Eas::Cause::Here,
                        FailureText::english("disk full: no room for %1 bytes").arg(bytes));
}

} // namespace Store
