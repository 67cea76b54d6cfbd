// SPDX-License-Identifier: LGPL-2.1-or-later
#ifndef DAEMON_STORE_STATE_SYNCSTATEDB_H
#define DAEMON_STORE_STATE_SYNCSTATEDB_H

#include "daemon/store/state/statementcache.h"
#include "eas/result.h"

#include <QSqlDatabase>
#include <QString>
#include <QStringList>
#include <QSysInfo>

#include <functional>

class QSqlError;
class QSqlQuery;

namespace Store {

/**
 * The daemon's own durable memory: the device id, the accounts' and the folders' keys.
 *
 * An SQLite file of the user's own (mode 0600). Every save is durable when it returns. Where the
 * mail store lacks what the memory speaks of (a folder that vanished, a wiped store), the keys
 * concerned read as "0".
 */
class SyncStateDb
{
public:
    /** asdaemon.db in QMF's data folder. */
    static QString defaultPath();

    /** `machine` names the computer: a file that was copied to another one gets a new device id. */
    explicit SyncStateDb(const QString &path = defaultPath(),
                         const QByteArray &machine = QSysInfo::machineUniqueId());
    ~SyncStateDb();
    SyncStateDb(const SyncStateDb &) = delete;
    SyncStateDb &operator=(const SyncStateDb &) = delete;

    /** Opens or makes the file; a damaged one is put aside for a new one. */
    Eas::Result open();

    /** Opens the file to look into it, and changes nothing about it: another machine's stays that,
     * a damaged one is refused. Where there is none, nothing is remembered. */
    Eas::Result openToRead();

    /** 32 letters and digits, made once for this user on this machine; never empty once open. */
    QString deviceId() const { return m_deviceId; }
    /** Those that other machines have left in the file, too. */
    QStringList allDeviceIds() const;

private:
    friend class StateTable;

    Eas::Result openFile();
    Eas::Result openDatabase(const QString &name, const QString &options);
    void putAside();
    Eas::Result createTables();
    Eas::Result addColumns();
    Eas::Result loadDeviceId();
    Eas::Result run(QSqlQuery &query) const;
    Eas::Result together(const std::function<Eas::Result()> &work);
    /** The result that an error of SQLite becomes. */
    Eas::Result failure(const QSqlError &error) const;
    Eas::Result execute(const QString &sql);

    const QString m_path;
    const QByteArray m_machine;
    const QString m_connection;
    QSqlDatabase m_database;
    StatementCache m_statements;
    QString m_deviceId;
    mutable bool m_damaged = false; ///< what SQLite said of the file last
};

} // namespace Store

#endif
