// SPDX-License-Identifier: LGPL-2.1-or-later
#include "daemon/store/syncstatedb.h"

#include "daemon/store/storefailure.h"

#include <QCryptographicHash>
#include <QDir>
#include <QFile>
#include <qmailnamespace.h>
#include <qmailstore.h>
#include <QRandomGenerator>
#include <QSqlError>
#include <QSqlQuery>
#include <QUuid>
#include <QVariant>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace Store {

namespace {

constexpr int deviceIdLength = 32;
/** How long another process's transaction is waited for; the event loop stands still meanwhile. */
const QString busyTimeout = QStringLiteral("QSQLITE_BUSY_TIMEOUT=150");

const char *const tables[] = {
    "CREATE TABLE IF NOT EXISTS device (machine TEXT NOT NULL, id TEXT NOT NULL)",
    "CREATE TABLE IF NOT EXISTS account (id INTEGER PRIMARY KEY, identity TEXT NOT NULL,"
    " folder_sync_key TEXT NOT NULL DEFAULT '0', policy_key TEXT NOT NULL DEFAULT '',"
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
    "CREATE TABLE IF NOT EXISTS moved (account INTEGER NOT NULL, server_id TEXT NOT NULL,"
    " message INTEGER NOT NULL, PRIMARY KEY (account, server_id, message),"
    " FOREIGN KEY (account, server_id) REFERENCES folder(account, server_id)"
    " ON DELETE CASCADE ON UPDATE CASCADE) WITHOUT ROWID",
    "CREATE TABLE IF NOT EXISTS outgoing (account INTEGER NOT NULL REFERENCES account(id)"
    " ON DELETE CASCADE, client_id TEXT NOT NULL, message INTEGER NOT NULL, rfc_id BLOB NOT NULL,"
    " created INTEGER NOT NULL, state INTEGER NOT NULL, left_at INTEGER NOT NULL,"
    " PRIMARY KEY (account, client_id))",
};

const QString outgoingColumns =
    QStringLiteral("SELECT client_id, message, rfc_id, created, state, left_at FROM outgoing ");

Outgoing outgoingFrom(const QSqlQuery &query)
{
    Outgoing outgoing;
    outgoing.clientId = query.value(0).toString();
    outgoing.messageId = QMailMessageId(query.value(1).toULongLong());
    outgoing.rfcId = query.value(2).toByteArray();
    outgoing.created = query.value(3).toLongLong();
    outgoing.state = Outgoing::State(query.value(4).toInt());
    outgoing.leftAt = query.value(5).toLongLong();
    return outgoing;
}

const QString folderColumns = QStringLiteral(
    "SELECT server_id, folder, parent_id, type, sync_key, filter, reconciling FROM folder ");

FolderState folderFrom(const QSqlQuery &query)
{
    FolderState state;
    state.serverId = query.value(0).toString();
    state.folderId = QMailFolderId(query.value(1).toULongLong());
    state.parentId = query.value(2).toString();
    state.type = query.value(3).toInt();
    state.syncKey = query.value(4).toString();
    state.filter = query.value(5).toInt();
    state.reconciling = query.value(6).toBool();
    return state;
}

qint64 number(const QMailAccountId &id)
{
    return qint64(id.toULongLong());
}

QString digest(const QByteArray &text)
{
    return QString::fromLatin1(QCryptographicHash::hash(text, QCryptographicHash::Sha256).toHex());
}

/** Whose mailbox an account's settings name. */
QString identityOf(const AccountRecord &account)
{
    const QString user = account.userName.isEmpty() ? account.email : account.userName;
    const QStringList parts {account.server.toLower(), account.domain.toLower(), user.toLower()};
    return digest(parts.join(QLatin1Char('\n')).toUtf8());
}

QString randomDeviceId()
{
    static const QLatin1String signs("ABCDEFGHIJKLMNOPQRSTUVWXYZ0123456789");
    QString id;
    while (id.size() < deviceIdLength)
        id += signs.at(int(QRandomGenerator::system()->bounded(signs.size())));
    return id;
}

bool isSqliteCode(const QSqlError &error, int code)
{
    // The lower byte is the primary code, whatever extension it has.
    return (error.nativeErrorCode().toInt() & 0xff) == code;
}

} // namespace

/** A transaction that is rolled back unless it was committed. */
class SyncStateDb::Transaction
{
public:
    explicit Transaction(QSqlDatabase &database)
        : m_database(database)
        , m_open(database.transaction())
    {
    }
    ~Transaction()
    {
        if (m_open)
            m_database.rollback();
    }
    Transaction(const Transaction &) = delete;
    Transaction &operator=(const Transaction &) = delete;

    Eas::Result commit()
    {
        if (!m_open)
            return failure(m_database.lastError());
        if (!m_database.commit())
            return failure(m_database.lastError());
        m_open = false;
        return {};
    }

    static Eas::Result failure(const QSqlError &error)
    {
        const int sqliteFull = 13;
        const QString text = QStringLiteral("sync state: ") + error.text();
        if (isSqliteCode(error, sqliteFull))
            return Eas::failure(Eas::NoRoom, Eas::Cause::Here, text);
        return storeFailure(text);
    }

private:
    QSqlDatabase &m_database;
    bool m_open;
};

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
        return storeFailure(QStringLiteral("cannot open ") + m_path);
    const bool restricted = ::fchmod(file, S_IRUSR | S_IWUSR) == 0;
    ::close(file);
    if (!restricted)
        return storeFailure(QStringLiteral("cannot protect ") + m_path);
    if (!QSqlDatabase::contains(m_connection))
        m_database = QSqlDatabase::addDatabase(QStringLiteral("QSQLITE"), m_connection);
    m_database.setDatabaseName(m_path);
    m_database.setConnectOptions(busyTimeout);
    if (!m_database.open())
        return Transaction::failure(m_database.lastError());
    return {};
}

/** A damaged file is kept for who wants to look at it; all keys are lost, no message is. */
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
    Transaction transaction(m_database);
    for (const char *table : tables) {
        const Eas::Result result = execute(QLatin1String(table));
        if (!result.ok())
            return result;
    }
    return transaction.commit();
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
    Transaction transaction(m_database);
    // What a server told another device is of no use to this one.
    for (const char *sql :
         {"DELETE FROM device", "UPDATE account SET folder_sync_key = '0', policy_key = ''",
          "UPDATE folder SET sync_key = '0', reconciling = 0", "DELETE FROM unconfirmed",
          "DELETE FROM moved"}) {
        result = execute(QLatin1String(sql));
        if (!result.ok())
            return result;
    }
    query.prepare(QStringLiteral("INSERT INTO device (machine, id) VALUES (?, ?)"));
    query.addBindValue(machine);
    query.addBindValue(id);
    result = run(query);
    if (result.ok())
        result = transaction.commit();
    if (result.ok())
        m_deviceId = id;
    return result;
}

Eas::Result SyncStateDb::run(QSqlQuery &query) const
{
    // A failed preparation left its error, which exec() would replace by a worse one.
    if (!query.lastError().isValid() && query.exec())
        return {};
    const int sqliteCorrupt = 11;
    const int sqliteNotADatabase = 26;
    const QSqlError error = query.lastError();
    m_damaged = isSqliteCode(error, sqliteCorrupt) || isSqliteCode(error, sqliteNotADatabase);
    return Transaction::failure(error);
}

Eas::Result SyncStateDb::execute(const QString &sql)
{
    QSqlQuery query(m_database);
    query.prepare(sql);
    return run(query);
}

Eas::Result SyncStateDb::openAccount(const AccountRecord &account)
{
    const QString identity = identityOf(account);
    Transaction transaction(m_database);
    QSqlQuery query(m_database);
    query.prepare(QStringLiteral("SELECT identity FROM account WHERE id = ?"));
    query.addBindValue(number(account.id));
    Eas::Result result = run(query);
    if (!result.ok())
        return result;
    const bool known = query.next();
    const bool same = known && query.value(0).toString() == identity;
    query.finish();
    if (!known)
        query.prepare(QStringLiteral("INSERT INTO account (identity, id) VALUES (?, ?)"));
    else
        query.prepare(QStringLiteral("UPDATE account SET identity = ? WHERE id = ?"));
    query.addBindValue(identity);
    query.addBindValue(number(account.id));
    result = run(query);
    if (result.ok() && known && !same)
        result = resetAccount(account.id);
    if (result.ok())
        result = forgetVanishedFolders(account.id);
    return result.ok() ? transaction.commit() : result;
}

/** Another mailbox may be behind it now: what is here must be compared with what is there. */
Eas::Result SyncStateDb::resetAccount(const QMailAccountId &account)
{
    for (const char *sql :
         {"UPDATE account SET folder_sync_key = '0', policy_key = '', protocol_version = '',"
          " server_url = '' WHERE id = ?",
          "DELETE FROM unconfirmed WHERE account = ?", "DELETE FROM moved WHERE account = ?",
          "UPDATE folder SET sync_key = '0', reconciling = 0 WHERE account = ?"}) {
        QSqlQuery query(m_database);
        query.prepare(QLatin1String(sql));
        query.addBindValue(number(account));
        const Eas::Result result = run(query);
        if (!result.ok())
            return result;
    }
    return {};
}

/** What the mail store does not have any more must come from the server again. */
Eas::Result SyncStateDb::forgetVanishedFolders(const QMailAccountId &account)
{
    const QMailFolderIdList present =
        QMailStore::instance()->queryFolders(QMailFolderKey::parentAccountId(account));
    bool vanished = false;
    for (const FolderState &state : folders(account)) {
        if (present.contains(state.folderId))
            continue;
        vanished = true;
        const Eas::Result result = removeFolder(account, state.serverId);
        if (!result.ok())
            return result;
    }
    if (!vanished)
        return {};
    AccountState state = this->account(account);
    state.folderSyncKey = QStringLiteral("0");
    return saveAccount(account, state);
}

Eas::Result SyncStateDb::removeAccount(const QMailAccountId &account)
{
    QSqlQuery query(m_database);
    query.prepare(QStringLiteral("DELETE FROM account WHERE id = ?"));
    query.addBindValue(number(account));
    return run(query);
}

Eas::Result SyncStateDb::removeVanishedAccounts()
{
    const QMailAccountIdList present = QMailStore::instance()->queryAccounts();
    // Nothing is known of what a store has lost that cannot be read.
    if (QMailStore::instance()->lastError() != QMailStore::NoError)
        return storeFailure(QStringLiteral("cannot read the accounts"));
    QSqlQuery query(m_database);
    query.prepare(QStringLiteral("SELECT id FROM account"));
    Eas::Result result = run(query);
    QMailAccountIdList vanished;
    while (result.ok() && query.next()) {
        const QMailAccountId id(query.value(0).toULongLong());
        if (!present.contains(id))
            vanished.append(id);
    }
    query.finish();
    for (const QMailAccountId &id : qAsConst(vanished)) {
        if (result.ok())
            result = removeAccount(id);
    }
    return result;
}

AccountState SyncStateDb::account(const QMailAccountId &account) const
{
    AccountState state;
    QSqlQuery query(m_database);
    query.prepare(QStringLiteral("SELECT folder_sync_key, policy_key, protocol_version, server_url"
                                 " FROM account WHERE id = ?"));
    query.addBindValue(number(account));
    if (run(query).ok() && query.next()) {
        state.folderSyncKey = query.value(0).toString();
        state.policyKey = query.value(1).toString();
        state.protocolVersion = query.value(2).toString();
        state.serverUrl = query.value(3).toString();
    }
    return state;
}

Eas::Result SyncStateDb::saveAccount(const QMailAccountId &account, const AccountState &state)
{
    QSqlQuery query(m_database);
    query.prepare(QStringLiteral("UPDATE account SET folder_sync_key = ?, policy_key = ?,"
                                 " protocol_version = ?, server_url = ? WHERE id = ?"));
    // A null text would be stored as NULL.
    for (const QString &text :
         {state.folderSyncKey, state.policyKey, state.protocolVersion, state.serverUrl})
        query.addBindValue(text.isNull() ? QStringLiteral("") : text);
    query.addBindValue(number(account));
    const Eas::Result result = run(query);
    if (result.ok() && query.numRowsAffected() == 0)
        return {Eas::Cancelled, QStringLiteral("the account was removed")};
    return result;
}

Eas::Result SyncStateDb::awaitTree(const QMailAccountId &account, bool isAwaited)
{
    QSqlQuery query(m_database);
    query.prepare(isAwaited
                      ? QStringLiteral("INSERT OR REPLACE INTO awaited_tree"
                                       " SELECT id, folder_sync_key FROM account WHERE id = ?")
                      : QStringLiteral("DELETE FROM awaited_tree WHERE account = ?"));
    query.addBindValue(number(account));
    return run(query);
}

bool SyncStateDb::isTreeAwaited(const QMailAccountId &account) const
{
    QSqlQuery query(m_database);
    query.prepare(QStringLiteral("SELECT 1 FROM awaited_tree JOIN account ON id = account"
                                 " AND account.folder_sync_key = awaited_tree.folder_sync_key"
                                 " WHERE id = ?"));
    query.addBindValue(number(account));
    return run(query).ok() && query.next();
}

Eas::Result SyncStateDb::saveTree(const QMailAccountId &account, const QString &folderSyncKey)
{
    Transaction transaction(m_database);
    AccountState state = this->account(account);
    state.folderSyncKey = folderSyncKey;
    Eas::Result result = saveAccount(account, state);
    if (result.ok())
        result = awaitTree(account, false);
    return result.ok() ? transaction.commit() : result;
}

QList<FolderState> SyncStateDb::folders(const QMailAccountId &account) const
{
    QList<FolderState> found;
    QSqlQuery query(m_database);
    query.prepare(folderColumns + QStringLiteral("WHERE account = ? ORDER BY server_id"));
    query.addBindValue(number(account));
    if (run(query).ok()) {
        while (query.next())
            found.append(folderFrom(query));
    }
    return found;
}

std::optional<FolderState> SyncStateDb::folder(const QMailAccountId &account,
                                               const QString &serverId) const
{
    QSqlQuery query(m_database);
    query.prepare(folderColumns + QStringLiteral("WHERE account = ? AND server_id = ?"));
    query.addBindValue(number(account));
    query.addBindValue(serverId);
    if (run(query).ok() && query.next())
        return folderFrom(query);
    return std::nullopt;
}

std::optional<FolderState> SyncStateDb::folder(const QMailFolderId &folderId) const
{
    QSqlQuery query(m_database);
    query.prepare(folderColumns + QStringLiteral("WHERE folder = ?"));
    query.addBindValue(qint64(folderId.toULongLong()));
    if (run(query).ok() && query.next())
        return folderFrom(query);
    return std::nullopt;
}

Eas::Result SyncStateDb::saveFolder(const QMailAccountId &account, const FolderState &state)
{
    QSqlQuery query(m_database);
    // Not INSERT OR REPLACE: that would delete the row, and the unconfirmed messages with it.
    query.prepare(QStringLiteral(
        "INSERT INTO folder (folder, parent_id, type, sync_key, filter, reconciling, account,"
        " server_id) SELECT ?, ?, ?, ?, ?, ?, id, ? FROM account WHERE id = ?"
        " ON CONFLICT (account, server_id) DO UPDATE SET folder = excluded.folder,"
        " parent_id = excluded.parent_id, type = excluded.type, sync_key = excluded.sync_key,"
        " filter = excluded.filter, reconciling = excluded.reconciling"));
    query.addBindValue(qint64(state.folderId.toULongLong()));
    query.addBindValue(state.parentId.isNull() ? QStringLiteral("") : state.parentId);
    query.addBindValue(state.type);
    query.addBindValue(state.syncKey.isEmpty() ? QStringLiteral("0") : state.syncKey);
    query.addBindValue(state.filter);
    query.addBindValue(int(state.reconciling));
    query.addBindValue(state.serverId);
    query.addBindValue(number(account));
    const Eas::Result result = run(query);
    if (result.ok() && query.numRowsAffected() == 0)
        return {Eas::Cancelled, QStringLiteral("the account was removed")};
    return result;
}

Eas::Result SyncStateDb::removeFolder(const QMailAccountId &account, const QString &serverId)
{
    QSqlQuery query(m_database);
    query.prepare(QStringLiteral("DELETE FROM folder WHERE account = ? AND server_id = ?"));
    query.addBindValue(number(account));
    query.addBindValue(serverId);
    return run(query);
}

Eas::Result SyncStateDb::renameFolder(const QMailAccountId &account, const QString &serverId,
                                      const QString &newId)
{
    Transaction transaction(m_database);
    // What is left of a folder that had the id before is gone from the mail store.
    Eas::Result result = removeFolder(account, newId);
    for (const char *sql : {"DELETE FROM unconfirmed WHERE account = ? AND server_id = ?",
                            "DELETE FROM moved WHERE account = ? AND server_id = ?"}) {
        QSqlQuery query(m_database);
        query.prepare(QLatin1String(sql));
        query.addBindValue(number(account));
        query.addBindValue(serverId);
        if (result.ok())
            result = run(query);
    }
    QSqlQuery query(m_database);
    query.prepare(QStringLiteral("UPDATE folder SET sync_key = '0', reconciling = 0, server_id = ?"
                                 " WHERE account = ? AND server_id = ?"));
    query.addBindValue(newId);
    query.addBindValue(number(account));
    query.addBindValue(serverId);
    if (result.ok())
        result = run(query);
    if (result.ok() && query.numRowsAffected() == 0)
        return {Eas::Cancelled, QStringLiteral("the account was removed")};
    return result.ok() ? transaction.commit() : result;
}

Eas::Result SyncStateDb::startReconciling(const QMailAccountId &account, const FolderState &state,
                                          const QList<Unconfirmed> &messages)
{
    Transaction transaction(m_database);
    Eas::Result result = saveFolder(account, state);
    QSqlQuery query(m_database);
    query.prepare(QStringLiteral("DELETE FROM unconfirmed WHERE account = ? AND server_id = ?"));
    query.addBindValue(number(account));
    query.addBindValue(state.serverId);
    if (result.ok())
        result = run(query);
    query.prepare(QStringLiteral("DELETE FROM moved WHERE account = ? AND server_id = ?"));
    query.addBindValue(number(account));
    query.addBindValue(state.serverId);
    if (result.ok())
        result = run(query);
    query.prepare(
        QStringLiteral("INSERT INTO unconfirmed (account, server_id, message, fingerprint)"
                       " VALUES (?, ?, ?, ?)"));
    for (const Unconfirmed &message : messages) {
        if (!result.ok())
            break;
        query.addBindValue(number(account));
        query.addBindValue(state.serverId);
        query.addBindValue(qint64(message.messageId.toULongLong()));
        query.addBindValue(message.fingerprint);
        result = run(query);
    }
    return result.ok() ? transaction.commit() : result;
}

Eas::Result SyncStateDb::addUnconfirmed(const QMailAccountId &account, const QString &serverId,
                                        const Unconfirmed &message)
{
    QSqlQuery query(m_database);
    query.prepare(QStringLiteral(
        "INSERT OR REPLACE INTO unconfirmed (account, server_id, message, fingerprint)"
        " VALUES (?, ?, ?, ?)"));
    query.addBindValue(number(account));
    query.addBindValue(serverId);
    query.addBindValue(qint64(message.messageId.toULongLong()));
    query.addBindValue(message.fingerprint);
    return run(query);
}

Eas::Result SyncStateDb::confirm(const QMailAccountId &account, const FolderState &state,
                                 const QMailMessageIdList &messages)
{
    Transaction transaction(m_database);
    Eas::Result result = saveFolder(account, state);
    QSqlQuery query(m_database);
    query.prepare(QStringLiteral(
        "DELETE FROM unconfirmed WHERE account = ? AND server_id = ? AND message = ?"));
    for (const QMailMessageId &message : messages) {
        if (!result.ok())
            break;
        query.addBindValue(number(account));
        query.addBindValue(state.serverId);
        query.addBindValue(qint64(message.toULongLong()));
        result = run(query);
    }
    for (const QMailMessageId &message : moved(account, state.serverId)) {
        if (result.ok() && messages.contains(message))
            result = removeMoved(account, state.serverId, message);
    }
    return result.ok() ? transaction.commit() : result;
}

QList<Unconfirmed> SyncStateDb::unconfirmed(const QMailAccountId &account,
                                            const QString &serverId) const
{
    QList<Unconfirmed> found;
    QSqlQuery query(m_database);
    query.prepare(QStringLiteral(
        "SELECT message, fingerprint FROM unconfirmed WHERE account = ? AND server_id = ?"));
    query.addBindValue(number(account));
    query.addBindValue(serverId);
    if (run(query).ok()) {
        while (query.next())
            found.append(
                {QMailMessageId(query.value(0).toULongLong()), query.value(1).toByteArray()});
    }
    return found;
}

Eas::Result SyncStateDb::addMoved(const QMailAccountId &account, const QString &serverId,
                                  const QMailMessageId &message)
{
    QSqlQuery query(m_database);
    query.prepare(QStringLiteral(
        "INSERT OR REPLACE INTO moved (account, server_id, message) VALUES (?, ?, ?)"));
    query.addBindValue(number(account));
    query.addBindValue(serverId);
    query.addBindValue(qint64(message.toULongLong()));
    return run(query);
}

Eas::Result SyncStateDb::removeMoved(const QMailAccountId &account, const QString &serverId,
                                     const QMailMessageId &message)
{
    QSqlQuery query(m_database);
    query.prepare(
        QStringLiteral("DELETE FROM moved WHERE account = ? AND server_id = ? AND message = ?"));
    query.addBindValue(number(account));
    query.addBindValue(serverId);
    query.addBindValue(qint64(message.toULongLong()));
    return run(query);
}

QMailMessageIdList SyncStateDb::moved(const QMailAccountId &account, const QString &serverId) const
{
    QMailMessageIdList found;
    QSqlQuery query(m_database);
    query.prepare(QStringLiteral("SELECT message FROM moved WHERE account = ? AND server_id = ?"));
    query.addBindValue(number(account));
    query.addBindValue(serverId);
    if (run(query).ok()) {
        while (query.next())
            found.append(QMailMessageId(query.value(0).toULongLong()));
    }
    return found;
}

std::optional<Outgoing> SyncStateDb::outgoing(const QMailAccountId &account,
                                              const QString &clientId) const
{
    QSqlQuery query(m_database);
    query.prepare(outgoingColumns + QStringLiteral("WHERE account = ? AND client_id = ?"));
    query.addBindValue(number(account));
    query.addBindValue(clientId);
    if (run(query).ok() && query.next())
        return outgoingFrom(query);
    return std::nullopt;
}

std::optional<Outgoing> SyncStateDb::outgoing(const QMailAccountId &account,
                                              const QMailMessageId &messageId) const
{
    QSqlQuery query(m_database);
    query.prepare(outgoingColumns + QStringLiteral("WHERE account = ? AND message = ?"));
    query.addBindValue(number(account));
    query.addBindValue(qint64(messageId.toULongLong()));
    if (run(query).ok() && query.next())
        return outgoingFrom(query);
    return std::nullopt;
}

QList<Outgoing> SyncStateDb::outgoing(const QMailAccountId &account) const
{
    QList<Outgoing> found;
    QSqlQuery query(m_database);
    query.prepare(outgoingColumns + QStringLiteral("WHERE account = ?"));
    query.addBindValue(number(account));
    if (run(query).ok()) {
        while (query.next())
            found.append(outgoingFrom(query));
    }
    return found;
}

Eas::Result SyncStateDb::saveOutgoing(const QMailAccountId &account, const Outgoing &outgoing)
{
    QSqlQuery query(m_database);
    query.prepare(QStringLiteral(
        "INSERT INTO outgoing (message, rfc_id, created, state, left_at, client_id, account)"
        " SELECT ?, ?, ?, ?, ?, ?, id FROM account WHERE id = ?"
        " ON CONFLICT (account, client_id) DO UPDATE SET message = excluded.message,"
        " rfc_id = excluded.rfc_id, created = excluded.created, state = excluded.state,"
        " left_at = excluded.left_at"));
    query.addBindValue(qint64(outgoing.messageId.toULongLong()));
    query.addBindValue(outgoing.rfcId);
    query.addBindValue(outgoing.created);
    query.addBindValue(int(outgoing.state));
    query.addBindValue(outgoing.leftAt);
    query.addBindValue(outgoing.clientId);
    query.addBindValue(number(account));
    const Eas::Result result = run(query);
    if (result.ok() && query.numRowsAffected() == 0)
        return {Eas::Cancelled, QStringLiteral("the account was removed")};
    return result;
}

Eas::Result SyncStateDb::removeOutgoing(const QMailAccountId &account, const QString &clientId)
{
    QSqlQuery query(m_database);
    query.prepare(QStringLiteral("DELETE FROM outgoing WHERE account = ? AND client_id = ?"));
    query.addBindValue(number(account));
    query.addBindValue(clientId);
    return run(query);
}

} // namespace Store
