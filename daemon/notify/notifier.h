// SPDX-License-Identifier: LGPL-2.1-or-later
#ifndef DAEMON_NOTIFY_NOTIFIER_H
#define DAEMON_NOTIFY_NOTIFIER_H

#include "daemon/notify/accountnotices.h"
#include "daemon/notify/notificationservice.h"

#include <QObject>
#include <QVariantMap>

#include <map>

namespace Daemon {

/**
 * Tells a person, by notifications of the desktop, when an account needs them: mail programs are
 * silent about that.
 *
 * It hears how the accounts fare, and asks nobody. Lives in the engine's thread.
 */
class Notifier : public QObject
{
    Q_OBJECT

public:
    /** The database must outlive it. */
    Notifier(Store::SyncStateDb &db, const QDBusConnection &bus, QObject *parent = nullptr);

public slots:
    /** An account fares so: an Activesync::AccountStatus, as its map. */
    void setStatus(quint64 accountId, const QVariantMap &status);
    /** These accounts are served; what was told of others is over. */
    void setAccounts(const QSet<quint64> &accounts);

private:
    Store::SyncStateDb &m_db;
    NotificationService m_service;
    std::map<quint64, AccountNotices> m_accounts;
};

} // namespace Daemon

#endif
