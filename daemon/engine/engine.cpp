// SPDX-License-Identifier: LGPL-2.1-or-later
#include "daemon/engine/engine.h"

#include "daemon/bus/logging.h"

#include <qmailstore.h>

namespace Daemon {

namespace {

bool hasMessage(quint64 accountId, quint64 messageId)
{
    const auto key = QMailMessageKey::id(QMailMessageId(messageId))
        & QMailMessageKey::parentAccountId(QMailAccountId(accountId));
    const int found = QMailStore::instance()->countMessages(key);
    // Where the store cannot be read, the work itself tells of it.
    return found == 1 || QMailStore::instance()->lastError() != QMailStore::NoError;
}

} // namespace

Engine::Engine(Store::SyncStateDb &db, QObject *parent)
    : QObject(parent)
    , m_db(db)
    , m_network(nullptr)
{
    connect(&m_network, &NetworkMonitor::changed, this, [this] {
        for (AccountWorker *account : qAsConst(m_workers))
            account->networkChanged();
    });
    // Queued: the mail store tells of our own changes from within the call that makes them.
    connect(&m_directory, &Store::AccountDirectory::added, this, &Engine::onAdded,
            Qt::QueuedConnection);
    connect(&m_directory, &Store::AccountDirectory::changed, this, &Engine::onChanged,
            Qt::QueuedConnection);
    connect(&m_directory, &Store::AccountDirectory::removed, this, &Engine::onRemoved,
            Qt::QueuedConnection);
    connect(&m_directory, &Store::AccountDirectory::deleted, this, &Engine::onDeleted,
            Qt::QueuedConnection);
    watchStore();
    const auto records = m_directory.accounts();
    for (const Store::AccountRecord &record : records)
        makeWorker(record);
}

/** Whatever a user does to messages, the store names the accounts that have them. */
void Engine::watchStore()
{
    QMailStore *store = QMailStore::instance();
    connect(store, &QMailStore::accountContentsModified, this, &Engine::onStoreChanged);
    // Some notices may have been missed.
    connect(store, &QMailStore::ipcConnectionEstablished, this, [this] {
        for (AccountWorker *account : qAsConst(m_workers))
            account->storeChanged();
    });
}

void Engine::onStoreChanged(const QMailAccountIdList &accounts)
{
    for (const QMailAccountId &id : accounts) {
        if (AccountWorker *account = m_workers.value(id.toULongLong()))
            account->storeChanged();
    }
}

QSet<quint64> Engine::accounts() const
{
    const QList<quint64> ids = m_workers.keys();
    return QSet<quint64>(ids.cbegin(), ids.cend());
}

void Engine::catchUp()
{
    const QList<AccountWorker *> workers = m_workers.values();
    for (AccountWorker *account : workers)
        account->catchUp();
}

void Engine::check(quint64 ticket, quint64 accountId, quint64 messageId)
{
    const bool acceptable =
        upToDateWorker(accountId) && (messageId == 0 || hasMessage(accountId, messageId));
    emit checkResolved(ticket, acceptable);
}

void Engine::accept(const Request &request)
{
    AccountWorker *account = upToDateWorker(request.accountId);
    if (!account)
        emit requestFinished(request.id, Eas::Cancelled);
    else if (request.namesMessage() && !hasMessage(request.accountId, request.messageId))
        emit requestFinished(request.id, Eas::NotFound);
    else
        account->accept(request);
}

void Engine::drop(int requestId)
{
    for (AccountWorker *account : qAsConst(m_workers))
        account->drop(requestId);
}

void Engine::stopSync(quint64 accountId)
{
    if (AccountWorker *account = m_workers.value(accountId))
        account->stopSync();
}

AccountWorker *Engine::upToDateWorker(quint64 accountId)
{
    // Another process may have added or changed the account a moment ago, and the notice of it is
    // still under way.
    const auto record = Store::AccountRecord::tryRead(QMailAccountId(accountId));
    AccountWorker *known = m_workers.value(accountId);
    // The store cannot be read just now: what was known of the account goes on.
    if (!record)
        return known;
    if (!record->id.isValid())
        return nullptr;
    if (!known)
        return makeWorker(*record);
    known->update(*record);
    return known;
}

AccountWorker *Engine::makeWorker(const Store::AccountRecord &record)
{
    auto *account = new AccountWorker(record, m_db, this);
    connect(account, &AccountWorker::workEnded, this, &Engine::workEnded);
    connect(account, &AccountWorker::requestFinished, this, [this](int id, int code) {
        tellStoreChanges();
        emit requestFinished(id, code);
    });
    connect(account, &AccountWorker::searchFinished, this,
            [this](int id, int code, const Activesync::SearchMailboxResult &result) {
                tellStoreChanges();
                emit searchFinished(id, code, result);
            });
    connect(account, &AccountWorker::syncBegan, this, &Engine::syncBegan);
    connect(account, &AccountWorker::syncProgressed, this, &Engine::syncProgressed);
    connect(account, &AccountWorker::syncEnded, this, [this](quint64 accountId) {
        tellStoreChanges();
        emit syncEnded(accountId);
    });
    m_workers.insert(record.id.toULongLong(), account);
    qCInfo(lcDaemon) << "account" << record.id << "is served";
    emit accountsChanged(accounts());
    return account;
}

/** Who hears of an end finds what it brought, in whatever process: the store would tell later. */
void Engine::tellStoreChanges()
{
    QMailStore::instance()->flushIpcNotifications();
}

void Engine::onAdded(const Store::AccountRecord &record)
{
    if (m_workers.contains(record.id.toULongLong()))
        onChanged(record);
    else
        makeWorker(record);
}

void Engine::onChanged(const Store::AccountRecord &record)
{
    if (AccountWorker *account = m_workers.value(record.id.toULongLong()))
        account->update(record);
}

void Engine::onRemoved(const QMailAccountId &id)
{
    AccountWorker *account = m_workers.take(id.toULongLong());
    if (!account)
        return;
    qCInfo(lcDaemon) << "account" << id << "is not served any more";
    account->cancelAll(Eas::Cancelled);
    delete account;
    emit accountsChanged(accounts());
}

void Engine::onDeleted(const QMailAccountId &id)
{
    const Eas::Result forgotten = m_db.removeAccount(id);
    if (!forgotten.ok())
        qCWarning(lcDaemon) << "account" << id << "could not be forgotten:" << forgotten.text;
}

} // namespace Daemon
