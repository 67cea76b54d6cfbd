// SPDX-License-Identifier: LGPL-2.1-or-later
#include "daemon/notify/notifier.h"

namespace Daemon {

Notifier::Notifier(Store::SyncStateDb &db, const QDBusConnection &bus, QObject *parent)
    : QObject(parent)
    , m_db(db)
    , m_service(bus)
{
    connect(&m_service, &NotificationService::appeared, this, [this] {
        for (auto &[id, notices] : m_accounts)
            notices.tellAll();
    });
}

void Notifier::setStatus(quint64 accountId, const QVariantMap &status)
{
    const auto known =
        m_accounts.try_emplace(accountId, m_db, m_service, QMailAccountId(accountId)).first;
    known->second.setStatus(Activesync::AccountStatus::fromMap(status));
}

void Notifier::setAccounts(const QSet<quint64> &accounts)
{
    for (auto &[id, notices] : m_accounts) {
        if (!accounts.contains(id))
            notices.setStatus({});
    }
}

} // namespace Daemon
