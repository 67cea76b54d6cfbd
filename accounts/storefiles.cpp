// SPDX-License-Identifier: LGPL-2.1-or-later
#include "accounts/storefiles.h"

#include "translations/text.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <qmailnamespace.h>
#include <QSqlDatabase>
#include <QSqlQuery>

#include <sys/stat.h>
#include <unistd.h>

namespace Accounts {

Outcome prepareStoreFolder(const QString &folder)
{
    umask(077);
    if (!QDir().mkpath(folder))
        return Outcome::refused(
            Text::tr("the mail store's folder %1 cannot be made; check that what lies above "
                     "it is writable")
                .arg(folder));
    struct stat status;
    const QByteArray path = QFile::encodeName(folder);
    if (stat(path.constData(), &status) != 0 || status.st_uid != geteuid())
        return Outcome::refused(Text::tr("the mail store's folder %1 belongs to somebody "
                                         "else; set QMF_DATA to a folder of yours")
                                    .arg(folder));
    if ((status.st_mode & 077) != 0 && chmod(path.constData(), 0700) != 0)
        return Outcome::refused(
            Text::tr("the mail store's folder %1 cannot be closed to others").arg(folder));
    if (access(path.constData(), R_OK | W_OK | X_OK) != 0)
        return Outcome::refused(
            Text::tr("the mail store's folder %1 cannot be opened; it is not writable")
                .arg(folder));
    return {};
}

void eraseDeletedRows()
{
    const QString connection = QStringLiteral("orvmail-erase");
    {
        QSqlDatabase database = QSqlDatabase::addDatabase(QStringLiteral("QSQLITE"), connection);
        database.setConnectOptions(QStringLiteral("QSQLITE_BUSY_TIMEOUT=1000"));
        database.setDatabaseName(QMail::dataPath() + QLatin1String("/database/qmailstore.db"));
        if (database.open())
            QSqlQuery(database).exec(QStringLiteral("PRAGMA wal_checkpoint(TRUNCATE)"));
    }
    QSqlDatabase::removeDatabase(connection);
}

} // namespace Accounts
