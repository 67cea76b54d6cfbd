// SPDX-License-Identifier: LGPL-2.1-or-later
#include "daemon/store/storeindexes.h"

#include "daemon/store/narrowing.h"
#include "daemon/store/storefailure.h"

#include <QFileInfo>
#include <qmailnamespace.h>
#include <qmailstore.h>
#include <QSqlError>
#include <QSqlQuery>
#include <QUuid>

namespace Store {

namespace {

constexpr int SqliteBusy = 5;
constexpr int SqliteLocked = 6;

/**
 * Keeps the mail store's writers waiting, of this process and of all others.
 *
 * A lock of the database alone would not do: a writer that finds it locked in the middle of its
 * transaction may give up, and report success.
 */
class WriterLock
{
public:
    WriterLock() { QMailStore::instance()->lock(); }
    ~WriterLock() { QMailStore::instance()->unlock(); }
    WriterLock(const WriterLock &) = delete;
    WriterLock &operator=(const WriterLock &) = delete;
};

QString databasePath()
{
    return QMail::dataPath() + QStringLiteral("database/qmailstore.db");
}

} // namespace

struct StoreIndexes::Index
{
    QString name;
    QString rows; ///< table, columns, and a condition where it has one

    /** As SQLite keeps it. */
    QString statement() const { return QStringLiteral("CREATE INDEX %1 ON %2").arg(name, rows); }

    static Index of(const Narrowing::Index &index)
    {
        return {index.name,
                QStringLiteral("%1 (%2) WHERE %3").arg(index.table, index.column, index.condition)};
    }
};

/** What asks for each is told in docs/architecture.md. */
const QList<StoreIndexes::Index> &StoreIndexes::all()
{
    static const QList<Index> indexes = {
        {QStringLiteral("orvmail_message_by_server_uid"),
         QStringLiteral("mailmessages (parentaccountid, serveruid)")},
        {QStringLiteral("orvmail_thread_by_subject"),
         QStringLiteral("mailthreadsubjects (subjectid, threadid)")},
        {QStringLiteral("orvmail_message_by_thread"),
         QStringLiteral("mailmessages (parentthreadid, parentaccountid, stamp)")},
        {QStringLiteral("orvmail_message_by_answered"),
         QStringLiteral("mailmessages (responseid)")},
        {QStringLiteral("orvmail_missing_ancestor"),
         QStringLiteral("missingancestors (subjectid)")},
        Index::of(Narrowing::unsettledIndex()),
        Index::of(Narrowing::foundIndex()),
    };
    return indexes;
}

StoreIndexes::StoreIndexes(int patienceMs)
    : m_connection(QUuid::createUuid().toString())
    , m_database(QSqlDatabase::addDatabase(QStringLiteral("QSQLITE"), m_connection))
{
    m_database.setDatabaseName(databasePath());
    m_database.setConnectOptions(QStringLiteral("QSQLITE_BUSY_TIMEOUT=%1").arg(patienceMs));
    if (!m_database.open())
        fail(m_database.lastError());
}

StoreIndexes::~StoreIndexes()
{
    m_database = QSqlDatabase();
    QSqlDatabase::removeDatabase(m_connection);
}

QStringList StoreIndexes::names()
{
    QStringList names;
    for (const Index &index : all())
        names.append(index.name);
    return names;
}

QStringList StoreIndexes::present()
{
    return find().value_or(QStringList());
}

std::optional<QStringList> StoreIndexes::find()
{
    QStringList found;
    for (const Index &index : all()) {
        QSqlQuery query(m_database);
        query.prepare(QStringLiteral(
            "SELECT 1 FROM sqlite_master WHERE type = 'index' AND name = ? AND sql = ?"));
        query.addBindValue(index.name);
        query.addBindValue(index.statement());
        if (!query.exec()) {
            fail(query.lastError());
            return std::nullopt;
        }
        if (query.next())
            found.append(index.name);
    }
    return found;
}

StoreIndexes::Outcome StoreIndexes::makeNext()
{
    const std::optional<QStringList> found = find();
    if (!found)
        return m_code == SqliteBusy ? Outcome::Locked : Outcome::Failed;
    for (const Index &index : all()) {
        if (found->contains(index.name))
            continue;
        // A disk that this fills would be full for the mail as well. An index is a small part of
        // the database, and for a while it is in the write-ahead log, too.
        const Eas::Result room = checkRoom(QFileInfo(databasePath()).size());
        if (!room.ok()) {
            m_failure = room.text;
            return Outcome::Failed;
        }
        return change([this, &index] { return make(index); });
    }
    return Outcome::Unchanged;
}

bool StoreIndexes::make(const Index &index)
{
    // One of that name that is not the same is of a table that was renamed, or of another version.
    const std::optional<QStringList> found = find();
    if (!found || found->contains(index.name))
        return found.has_value();
    return execute(QStringLiteral("DROP INDEX IF EXISTS %1").arg(index.name))
        && execute(index.statement());
}

StoreIndexes::Outcome StoreIndexes::drop()
{
    const std::optional<QStringList> names = ours();
    if (!names)
        return m_code == SqliteBusy ? Outcome::Locked : Outcome::Failed;
    if (names->isEmpty())
        return Outcome::Unchanged;
    return change([this, &names] {
        for (const QString &name : *names) {
            if (!execute(QStringLiteral("DROP INDEX IF EXISTS %1").arg(name)))
                return false;
        }
        return true;
    });
}

/** Those of other versions as well. */
std::optional<QStringList> StoreIndexes::ours()
{
    QStringList names;
    QSqlQuery query(m_database);
    const QString sql = QStringLiteral(
        "SELECT name FROM sqlite_master WHERE type = 'index' AND name GLOB 'orvmail_*'");
    if (!query.exec(sql)) {
        fail(query.lastError());
        return std::nullopt;
    }
    while (query.next())
        names.append(query.value(0).toString());
    return names;
}

StoreIndexes::Outcome StoreIndexes::change(const std::function<bool()> &work)
{
    const WriterLock lock;
    if (execute(QStringLiteral("BEGIN IMMEDIATE")) && work() && execute(QStringLiteral("COMMIT")))
        return Outcome::Changed;
    const int code = m_code;
    const QString failure = m_failure;
    // SQLite may have done so itself.
    execute(QStringLiteral("ROLLBACK"));
    m_failure = failure;
    return code == SqliteBusy || code == SqliteLocked ? Outcome::Locked : Outcome::Failed;
}

bool StoreIndexes::execute(const QString &sql)
{
    QSqlQuery query(m_database);
    if (query.exec(sql))
        return true;
    fail(query.lastError());
    return false;
}

void StoreIndexes::fail(const QSqlError &error)
{
    // The primary code, whatever extension it has.
    m_code = error.nativeErrorCode().toInt() & 0xff;
    m_failure = error.text();
}

} // namespace Store
