// SPDX-License-Identifier: LGPL-2.1-or-later
#ifndef ACCOUNTS_ACTIONS_TRANSMISSION_H
#define ACCOUNTS_ACTIONS_TRANSMISSION_H

#include "accounts/actions/messageservertask.h"
#include "asclient/accountstatus.h"

#include <qmailid.h>

#include <memory>

namespace Accounts {

/**
 * Has the message server send one mail of the outbox, as a mail program does when a person asks
 * for it.
 *
 * A mail that may have been sent is looked for at the server first, by the daemon; one of which
 * that cannot be found out goes again, because a person wants it. Other mails of the account that
 * wait go with it, and their ends are not told.
 */
class Transmission : public MessageServerTask
{
    Q_OBJECT

public:
    Transmission(const QMailAccountId &account, const Activesync::WaitingMail &mail,
                 QObject *parent = nullptr);
    ~Transmission() override;

    /** Ends the waiting. A mail that is being sent is not called back. */
    void cancel() override;

protected:
    void begin() override;
    Outcome outcomeOf(End way) override;

private:
    const QMailAccountId m_account;
    const Activesync::WaitingMail m_mail;
    std::unique_ptr<QMailTransmitAction> m_action;
};

} // namespace Accounts

#endif
