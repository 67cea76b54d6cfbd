// SPDX-License-Identifier: LGPL-2.1-or-later
#include "daemon/store/state/syncstatedb.h"

#include "daemon/store/storefailure.h"
#include "translations/text.h"

#include <QCryptographicHash>
#include <QDir>
#include <QFile>
#include <qmailnamespace.h>
#include <QRandomGenerator>
#include <QSqlError>
#include <QSqlQuery>
#include <QSqlRecord>
#include <QUuid>
#include <QVariant>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace Store {

namespace {

constexpr int DeviceIdLength = 32;
/** How long another process's transaction is waited for; the event loop stands still meanwhile. */
const QString BusyTimeout = QStringLiteral("QSQLITE_BUSY_TIMEOUT=150");

const char *const Tables[] = {
    "CREATE TABLE IF NOT EXISTS device (machine TEXT NOT NULL, id TEXT NOT NULL)",
    "CREATE TABLE IF NOT EXISTS account (id INTEGER PRIMARY KEY, identity TEXT NOT NULL,"
    " folder_sync_key TEXT NOT NULL DEFAULT '0', policy_key TEXT NOT NULL DEFAULT '',"
    // Earlier versions used the last two.
    " protocol_version TEXT NOT NULL DEFAULT '', server_url TEXT NOT NULL DEFAULT '')",
    "CREATE TABLE IF NOT EXISTS folder (account INTEGER NOT NULL REFERENCES account(id)"
    " ON DELETE CASCADE, server_id TEXT NOT NULL, folder INTEGER NOT NULL, parent_id TEXT NOT NULL,"
    " type INTEGER NOT NULL, sync_key TEXT NOT NULL, filter INTEGER NOT NULL,"
    " reconciling INTEGER NOT NULL, PRIMARY KEY (account, server_id))",
    "CREATE TABLE IF NOT EXISTS awaited_tree (account INTEGER PRIMARY KEY REFERENCES account(id)"
    " ON DELETE CASCADE, folder_sync_key TEXT NOT NULL)",
    "CREATE TABLE IF NOT EXISTS unconfirmed (account INTEGER NOT NULL, server_id TEXT NOT NULL,"
    " message INTEGER NOT NULL, fingerprint BLOB NOT NULL, PRIMARY KEY (account, server_id, "
    "message),"
    " FOREIGN KEY (account, server_id) REFERENCES folder(account, server_id)"
    " ON DELETE CASCADE ON UPDATE CASCADE) WITHOUT ROWID",
    // Earlier versions did without it.
    "CREATE INDEX IF NOT EXISTS unconfirmed_by_fingerprint"
    " ON unconfirmed (account, server_id, fingerprint)",
    "CREATE TABLE IF NOT EXISTS moved (account INTEGER NOT NULL, server_id TEXT NOT NULL,"
    " message INTEGER NOT NULL, PRIMARY KEY (account, server_id, message),"
    " FOREIGN KEY (account, server_id) REFERENCES folder(account, server_id)"
    " ON DELETE CASCADE ON UPDATE CASCADE) WITHOUT ROWID",
    "CREATE TABLE IF NOT EXISTS outgoing (account INTEGER NOT NULL REFERENCES account(id)"
    " ON DELETE CASCADE, client_id TEXT NOT NULL, message INTEGER NOT NULL, rfc_id BLOB NOT NULL,"
    " created INTEGER NOT NULL, state INTEGER NOT NULL, left_at INTEGER NOT NULL,"
    " PRIMARY KEY (account, client_id))",
    "CREATE TABLE IF NOT EXISTS asked_sending (account INTEGER NOT NULL REFERENCES account(id)"
    " ON DELETE CASCADE, message INTEGER NOT NULL, status INTEGER NOT NULL,"
    " PRIMARY KEY (account, message)) WITHOUT ROWID",
    "CREATE TABLE IF NOT EXISTS work_record (account INTEGER PRIMARY KEY REFERENCES account(id)"
    " ON DELETE CASCADE, synced_at INTEGER NOT NULL, sync_code INTEGER NOT NULL,"
    " sync_text TEXT NOT NULL, succeeded_at INTEGER NOT NULL, error_code INTEGER NOT NULL,"
    " error_text TEXT NOT NULL, login_refused_at INTEGER NOT NULL,"
    " policy_unmet_at INTEGER NOT NULL)",
    "CREATE TABLE IF NOT EXISTS notice (account INTEGER NOT NULL REFERENCES account(id)"
    " ON DELETE CASCADE, cause INTEGER NOT NULL, subjects TEXT NOT NULL, shown TEXT NOT NULL,"
    " PRIMARY KEY (account, cause))",
    "CREATE TABLE IF NOT EXISTS conversation (number INTEGER PRIMARY KEY, account INTEGER NOT NULL"
    " REFERENCES account(id) ON DELETE CASCADE, digest BLOB NOT NULL, thread INTEGER NOT NULL,"
    " first INTEGER NOT NULL, last INTEGER NOT NULL, messages INTEGER NOT NULL,"
    " UNIQUE (account, digest))",
};

/** What the table of outgoing messages did not have from the beginning. */
const char *const LaterColumns[] = {"print", "earlier_ids"};

QString digest(const QByteArray &text)
{
    return QString::fromLatin1(QCryptographicHash::hash(text, QCryptographicHash::Sha256).toHex());
}

QString randomDeviceId()
{
    static const QLatin1String signs("ABCDEFGHIJKLMNOPQRSTUVWXYZ0123456789");
    QString id;
    while (id.size() < DeviceIdLength)
        id += signs.at(int(QRandomGenerator::system()->bounded(signs.size())));
    return id;
}

} // namespace

QString SyncStateDb::defaultPath()
{
    return QMail::dataPath() + QStringLiteral("asdaemon.db");
}

SyncStateDb::SyncStateDb(const QString &path, const QByteArray &machine)
    : m_path(path)
    , m_machine(machine)
    , m_connection(QUuid::createUuid().toString())
{
}

SyncStateDb::~SyncStateDb()
{
    m_statements.clear();
    m_database = QSqlDatabase();
    if (QSqlDatabase::contains(m_connection))
        QSqlDatabase::removeDatabase(m_connection);
}

Eas::Result SyncStateDb::open()
{
    Eas::Result result = openFile();
    if (result.ok())
        result = createTables();
    if (!result.ok() && m_damaged) {
        m_statements.clear();
        m_database.close();
        putAside();
        result = openFile();
        if (result.ok())
            result = createTables();
    }
    return result.ok() ? loadDeviceId() : result;
}

Eas::Result SyncStateDb::openFile()
{
    // Made before SQLite does, so that it is never readable by others; its side files inherit that.
    const int file = ::open(QFile::encodeName(m_path).constData(), O_RDWR | O_CREAT | O_CLOEXEC,
                            S_IRUSR | S_IWUSR);
    if (file < 0)
        return storeFailure(FailureText::english("cannot open %1").arg(m_path));
    const bool restricted = ::fchmod(file, S_IRUSR | S_IWUSR) == 0;
    ::close(file);
    if (!restricted)
        return storeFailure(FailureText::english("cannot protect %1").arg(m_path));
    return openDatabase(m_path, BusyTimeout);
}

Eas::Result SyncStateDb::openDatabase(const QString &name, const QString &options)
{
    if (!QSqlDatabase::contains(m_connection))
        m_database = QSqlDatabase::addDatabase(QStringLiteral("QSQLITE"), m_connection);
    m_database.setDatabaseName(name);
    m_database.setConnectOptions(options);
    return m_database.open() ? Eas::Result() : failure(m_database.lastError());
}

Eas::Result SyncStateDb::openToRead()
{
    if (!QFile::exists(m_path)) {
        const Eas::Result result = openDatabase(QStringLiteral(":memory:"), BusyTimeout);
        return result.ok() ? createTables() : result;
    }
    const QString options = QStringLiteral("QSQLITE_OPEN_READONLY;") + BusyTimeout;
    const Eas::Result result = openDatabase(m_path, options);
    // SQLite looks into the file at the first question.
    return result.ok() ? execute(QStringLiteral("SELECT id FROM device")) : result;
}

/** A damaged file is kept for an inspection; all keys are lost, no message is. */
void SyncStateDb::putAside()
{
    for (const char *suffix : {"", "-wal", "-shm"}) {
        const QString name = m_path + QLatin1String(suffix);
        QFile::remove(name + QStringLiteral(".damaged"));
        QFile::rename(name, name + QStringLiteral(".damaged"));
    }
}

Eas::Result SyncStateDb::createTables()
{
    m_damaged = false;
    for (const char *pragma :
         {"PRAGMA journal_mode=WAL", "PRAGMA synchronous=FULL", "PRAGMA foreign_keys=ON"}) {
        const Eas::Result result = execute(QLatin1String(pragma));
        if (!result.ok())
            return result;
    }
    return together([this] {
        Eas::Result result;
        for (const char *table : Tables) {
            if (result.ok())
                result = execute(QLatin1String(table));
        }
        return result.ok() ? addColumns() : result;
    });
}

Eas::Result SyncStateDb::addColumns()
{
    const QSqlRecord known = m_database.record(QStringLiteral("outgoing"));
    for (const char *column : LaterColumns) {
        const QString name = QLatin1String(column);
        if (known.contains(name))
            continue;
        const Eas::Result result =
            execute(QStringLiteral("ALTER TABLE outgoing ADD COLUMN %1 BLOB NOT NULL DEFAULT x''")
                        .arg(name));
        if (!result.ok())
            return result;
    }
    return {};
}

Eas::Result SyncStateDb::loadDeviceId()
{
    // A copied home folder on another machine is another device to the server.
    const QString machine = digest("orvmail " + m_machine);
    QSqlQuery query(m_database);
    query.prepare(QStringLiteral("SELECT id FROM device WHERE machine = ?"));
    query.addBindValue(machine);
    Eas::Result result = run(query);
    if (!result.ok())
        return result;
    if (query.next()) {
        m_deviceId = query.value(0).toString();
        return {};
    }
    const QString id = randomDeviceId();
    result = together([&] {
        // What a server told another device is of no use to this one.
        Eas::Result result;
        for (const char *sql :
             {"DELETE FROM device", "UPDATE account SET folder_sync_key = '0', policy_key = ''",
              "UPDATE folder SET sync_key = '0', reconciling = 0", "DELETE FROM unconfirmed",
              "DELETE FROM moved"}) {
            if (result.ok())
                result = execute(QLatin1String(sql));
        }
        query.prepare(QStringLiteral("INSERT INTO device (machine, id) VALUES (?, ?)"));
        query.addBindValue(machine);
        query.addBindValue(id);
        return result.ok() ? run(query) : result;
    });
    if (result.ok())
        m_deviceId = id;
    return result;
}

QStringList SyncStateDb::allDeviceIds() const
{
    QStringList ids;
    QSqlQuery query(m_database);
    query.prepare(QStringLiteral("SELECT id FROM device"));
    if (run(query).ok()) {
        while (query.next())
            ids.append(query.value(0).toString());
    }
    return ids;
}

Eas::Result SyncStateDb::run(QSqlQuery &query) const
{
    // A failed preparation left its error, which exec() would replace by a worse one.
    if (!query.lastError().isValid() && query.exec())
        return {};
    return failure(query.lastError());
}

Eas::Result SyncStateDb::together(const std::function<Eas::Result()> &work)
{
    if (!m_database.transaction())
        return failure(m_database.lastError());
    Eas::Result result = work();
    if (result.ok() && !m_database.commit())
        result = failure(m_database.lastError());
    if (!result.ok())
        m_database.rollback();
    return result;
}

Eas::Result SyncStateDb::failure(const QSqlError &error) const
{
    const int sqliteFull = 13;
    const int sqliteCorrupt = 11;
    const int sqliteNotADatabase = 26;
    // The primary code, whatever extension it has.
    const int code = error.nativeErrorCode().toInt() & 0xff;
    m_damaged = code == sqliteCorrupt || code == sqliteNotADatabase;
    const QString text = FailureText::english("sync state: %1").arg(error.text());
    return code == sqliteFull ? Eas::failure(Eas::NoRoom, Eas::Cause::Here, text)
                              : storeFailure(text);
}

Eas::Result SyncStateDb::execute(const QString &sql)
{
    QSqlQuery query(m_database);
    query.prepare(sql);
    return run(query);
}

} // namespace Store
