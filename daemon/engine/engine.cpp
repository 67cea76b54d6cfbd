// SPDX-License-Identifier: LGPL-2.1-or-later
#include "daemon/engine/engine.h"

#include "daemon/log/logging.h"
#include "daemon/store/state/accountkeys.h"

#include <qmailstore.h>

#include <algorithm>

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

Engine::~Engine()
{
    // Deleted before the report, which they use.
    qDeleteAll(m_workers);
}

/** The store names the accounts of changed messages, whatever has changed. */
void Engine::watchStore()
{
    QMailStore *store = QMailStore::instance();
    connect(store, &QMailStore::accountContentsModified, this, &Engine::onStoreChanged);
    // Mail that is to be sent lies in a folder that belongs to no account.
    connect(store, &QMailStore::folderContentsModified, this, [this](const QMailFolderIdList &ids) {
        if (ids.contains(QMailFolderId(QMailFolder::LocalStorageFolderId)))
            lookEverywhere();
    });
    // Some notices may have been missed.
    connect(store, &QMailStore::ipcConnectionEstablished, this, &Engine::lookEverywhere);
}

void Engine::lookEverywhere()
{
    for (AccountWorker *account : qAsConst(m_workers))
        account->storeChanged();
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

bool Engine::isAwaited() const
{
    return std::any_of(m_workers.cbegin(), m_workers.cend(),
                       [](const AccountWorker *account) { return account->isAwaited(); });
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
        m_report.endRequest(request.id, Eas::Cancelled);
    else if (request.namesMessage() && !hasMessage(request.accountId, request.messageId))
        m_report.endRequest(request.id, Eas::NotFound);
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
    auto *account = new AccountWorker(record, m_db, m_report, this);
    m_workers.insert(record.id.toULongLong(), account);
    qCInfo(lcDaemon) << "account" << record.id << "is served";
    emit accountsChanged(accounts());
    return account;
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
    const Eas::Result forgotten = Store::AccountKeys(m_db, id).remove();
    if (!forgotten.ok())
        qCWarning(lcDaemon) << "account" << id << "could not be forgotten:" << forgotten.text;
}

} // namespace Daemon
