// SPDX-License-Identifier: LGPL-2.1-or-later
#ifndef DAEMON_STORE_STOREINDEXES_H
#define DAEMON_STORE_STOREINDEXES_H

#include <QSqlDatabase>
#include <QString>
#include <QStringList>

#include <functional>
#include <optional>

class QSqlError;

namespace Store {

/**
 * Indexes of ours in the mail store's database, for what it asks of all messages of an account.
 *
 * The one thing that we do to tables of another, and nothing relies on it: without them, the same
 * takes longer in a large account. The names begin with "orvmail_".
 *
 * While they are made or dropped, the mail store is locked in its own way, so that who writes to
 * it waits as for any other writer. To be used in the store's thread, outside of its transactions.
 */
class StoreIndexes
{
public:
    enum class Outcome {
        Changed,   ///< an index was made, or all were dropped
        Unchanged, ///< there was nothing to do
        Locked,    ///< another process holds the database; later it may work
        Failed     ///< failure() tells why
    };

    /** `patienceMs`: for so long it waits for a database that is locked. */
    explicit StoreIndexes(int patienceMs = 0);
    ~StoreIndexes();
    StoreIndexes(const StoreIndexes &) = delete;
    StoreIndexes &operator=(const StoreIndexes &) = delete;

    /** All that there should be. */
    static QStringList names();
    /** Those that are there; none where that cannot be read, which failure() tells. */
    QStringList present();

    /** Makes one that is missing: a short step, as each is a transaction of its own. */
    Outcome makeNext();
    /** Drops all of them at once. */
    Outcome drop();
    /** Why it failed. */
    QString failure() const { return m_failure; }

private:
    struct Index;
    static const QList<Index> &all();

    // Nothing where that cannot be found out.
    std::optional<QStringList> find();
    std::optional<QStringList> ours();
    Outcome change(const std::function<bool()> &work);
    bool make(const Index &index);
    bool execute(const QString &sql);
    void fail(const QSqlError &error);

    const QString m_connection;
    QSqlDatabase m_database;
    int m_code = 0; ///< SQLite's primary code of the last error
    QString m_failure;
};

} // namespace Store

#endif
