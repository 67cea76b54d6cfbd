// SPDX-License-Identifier: LGPL-2.1-or-later
#include "daemon/store/accountwipe.h"

#include "asclient/servicekey.h"
#include "daemon/store/storefailure.h"

#include <qmailaccount.h>
#include <qmailaccountconfiguration.h>
#include <qmailstore.h>

namespace Store {

namespace {

/** Removed in one step, which is one transaction. */
constexpr uint MessagesAtOnce = 50;

} // namespace

AccountWipe::AccountWipe(SyncStateDb &db, const QMailAccountId &account)
    : m_account(account)
    , m_keys(db, account)
{
}

bool AccountWipe::step()
{
    QMailStore *store = QMailStore::instance();
    const QMailMessageIdList some = store->queryMessages(
        QMailMessageKey::parentAccountId(m_account), QMailMessageSortKey(), MessagesAtOnce);
    if (store->lastError() != QMailStore::NoError) {
        m_result = storeFailure(QStringLiteral("cannot read the messages"));
        return false;
    }
    if (some.isEmpty()) {
        m_result = removeTheRest();
        return false;
    }
    if (store->removeMessages(QMailMessageKey::id(some), QMailStore::NoRemovalRecord))
        return true;
    m_result = storeFailure(QStringLiteral("cannot remove the messages"));
    return false;
}

Eas::Result AccountWipe::removeTheRest()
{
    QMailStore *store = QMailStore::instance();
    if (!store->removeFolders(QMailFolderKey::parentAccountId(m_account),
                              QMailStore::NoRemovalRecord)
        || !store->purgeMessageRemovalRecords(m_account))
        return storeFailure(QStringLiteral("cannot remove the folders"));
    return m_keys.remove();
}

Eas::Result AccountWipe::forget(const QMailAccountId &id)
{
    QMailAccount account(id);
    QMailAccountConfiguration configuration(id);
    account.setStatus(QMailAccount::Enabled, false);
    auto &values = configuration.serviceConfiguration(Activesync::mailServiceKey());
    values.setValue(QStringLiteral("password"), QStringLiteral("")); // a null one is refused
    // For whoever wonders later why the account has neither mail nor password.
    values.setValue(QStringLiteral("wiped"), QStringLiteral("1"));
    if (!QMailStore::instance()->updateAccount(&account, &configuration))
        return storeFailure(QStringLiteral("cannot disable the account"));
    return {};
}

} // namespace Store
