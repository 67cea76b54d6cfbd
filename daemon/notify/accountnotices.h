// SPDX-License-Identifier: LGPL-2.1-or-later
#ifndef DAEMON_NOTIFY_ACCOUNTNOTICES_H
#define DAEMON_NOTIFY_ACCOUNTNOTICES_H

#include "asclient/accountstatus.h"
#include "daemon/store/state/noticetable.h"

#include <qmailid.h>
#include <QSet>

#include <map>

namespace Daemon {

class NotificationService;

/**
 * What a person is told of one account by notifications: each cause once, until it is gone.
 *
 * Mails that did not go are one cause, which is told anew, with the number of all of them, when
 * there is one more.
 */
class AccountNotices
{
public:
    /** Database and service must outlive it, and it the service's answers. */
    AccountNotices(Store::SyncStateDb &db, NotificationService &service,
                   const QMailAccountId &account);
    AccountNotices(const AccountNotices &) = delete;
    AccountNotices &operator=(const AccountNotices &) = delete;

    /** The account fares so. */
    void setStatus(const Activesync::AccountStatus &status);
    /** Tells what could not be told before. */
    void tellAll();

private:
    struct Topic
    {
        Store::Notice told;
        QSet<quint64> needed;  ///< what the person is to be told of
        QSet<quint64> present; ///< what is not over yet, and needs no other telling
        bool isUnderWay = false;
    };

    void update(Store::Notice::Cause cause, const QSet<quint64> &needed,
                const QSet<quint64> &present);
    void forget(Topic &topic);
    void tell(Topic &topic);
    void noteShown(Topic &topic, const QSet<quint64> &subjects, const QString &shown);
    void save(const Store::Notice &notice);

    Store::SyncStateDb &m_db;
    NotificationService &m_service;
    const QMailAccountId m_account;
    std::map<Store::Notice::Cause, Topic> m_topics;
};

} // namespace Daemon

#endif
