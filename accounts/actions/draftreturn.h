// SPDX-License-Identifier: LGPL-2.1-or-later
#ifndef ACCOUNTS_ACTIONS_DRAFTRETURN_H
#define ACCOUNTS_ACTIONS_DRAFTRETURN_H

#include "accounts/actions/task.h"

#include <qmailid.h>
#include <qmailserviceaction.h>
#include <QTimer>

#include <memory>

namespace Accounts {

/**
 * Puts a mail of the outbox back among the drafts, unless somebody is sending it.
 *
 * It is made a draft first, so that nobody begins to send it from then on. Who had begun before is
 * seen afterwards, at the message server or at the daemon; then it is put back as it was.
 */
class DraftReturn : public Task
{
    Q_OBJECT

public:
    DraftReturn(const QMailAccountId &account, const QMailMessageId &message,
                QObject *parent = nullptr);
    ~DraftReturn() override;

    void start() override;
    void cancel() override;

private:
    using Actions = QList<QSharedPointer<QMailActionInfo>>;

    Outcome checkNotBeingSent() const;
    void askMessageServer();
    void onActions(const Actions &actions);
    void settle();
    void undo(const QString &why);

    const QMailAccountId m_account;
    const QMailMessageId m_message;
    std::unique_ptr<QMailActionObserver> m_actions;
    QTimer m_patience;
};

} // namespace Accounts

#endif
