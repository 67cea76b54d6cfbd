// SPDX-License-Identifier: LGPL-2.1-or-later
#ifndef DAEMON_ENGINE_ENGINE_H
#define DAEMON_ENGINE_ENGINE_H

#include "daemon/engine/accountworker.h"
#include "daemon/engine/networkmonitor.h"
#include "daemon/store/accountdirectory.h"
#include "daemon/tasks/workreport.h"

#include <QHash>
#include <QObject>
#include <QSet>

namespace Daemon {

/**
 * The daemon's work: the accounts in the mail store, and a worker for each of them.
 *
 * Lives in the main thread, the only one that touches the mail store, and may be held up there for
 * seconds; the front talks to it through queued signals.
 */
class Engine : public QObject
{
    Q_OBJECT

public:
    /** The database is open, and outlives the engine. */
    explicit Engine(Store::SyncStateDb &db, QObject *parent = nullptr);
    ~Engine() override;

    /** Where all work tells of itself. */
    const WorkReport *report() const { return &m_report; }
    /** The accounts that are served. */
    QSet<quint64> accounts() const;
    /** Whether somebody waits for the end of some work. */
    bool isAwaited() const;
    /** Call it when the front can be heard: carries what was changed while no daemon ran. */
    void catchUp();

public slots:
    void check(quint64 ticket, quint64 accountId, quint64 messageId);
    void accept(const Daemon::Request &request);
    void drop(int requestId);
    void stopSync(quint64 accountId);

signals:
    void accountsChanged(const QSet<quint64> &accounts);
    void checkResolved(quint64 ticket, bool acceptable);

private:
    void onAdded(const Store::AccountRecord &record);
    void onChanged(const Store::AccountRecord &record);
    void onRemoved(const QMailAccountId &id);
    void onDeleted(const QMailAccountId &id);
    AccountWorker *upToDateWorker(quint64 accountId);
    AccountWorker *makeWorker(const Store::AccountRecord &record);
    void watchStore();
    void lookEverywhere();
    void onStoreChanged(const QMailAccountIdList &accounts);

    Store::SyncStateDb &m_db;
    WorkReport m_report;
    Store::AccountDirectory m_directory;
    QHash<quint64, AccountWorker *> m_workers;
    NetworkMonitor m_network;
};

} // namespace Daemon

#endif
