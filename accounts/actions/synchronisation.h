// SPDX-License-Identifier: LGPL-2.1-or-later
#ifndef ACCOUNTS_ACTIONS_SYNCHRONISATION_H
#define ACCOUNTS_ACTIONS_SYNCHRONISATION_H

#include "accounts/actions/messageservertask.h"
#include "accounts/mailsnapshot.h"

#include <qmailid.h>

#include <memory>

namespace Accounts {

/** One synchronisation of an account. Where it fails, the daemon tells the reason. */
class Synchronisation : public MessageServerTask
{
    Q_OBJECT

public:
    explicit Synchronisation(const QMailAccountId &account, QObject *parent = nullptr);
    ~Synchronisation() override;

    /** Ends it soon, as cancelled; called again, without waiting for the message server. */
    void cancel() override;
    /** Whether cancel() was called; what somebody else has cancelled is told by the outcome. */
    bool isCancelled() const { return m_cancelled; }

    /** What has changed in the mail store, even where it failed in the middle; after finished(). */
    const QList<FolderDifference> &differences() const { return m_differences; }

signals:
    /** In percent. */
    void progressed(int percent);

protected:
    void begin() override;
    Outcome outcomeOf(End way) override;

private:
    Outcome cancelled() const;
    Outcome failure() const;

    const QMailAccountId m_account;
    std::unique_ptr<QMailRetrievalAction> m_action;
    std::unique_ptr<MailSnapshot> m_before;
    QList<FolderDifference> m_differences;
    bool m_cancelled = false;
};

} // namespace Accounts

#endif
