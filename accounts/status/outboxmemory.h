// SPDX-License-Identifier: LGPL-2.1-or-later
#ifndef ACCOUNTS_STATUS_OUTBOXMEMORY_H
#define ACCOUNTS_STATUS_OUTBOXMEMORY_H

#include "accounts/outcome.h"
#include "asclient/accountstatus.h"

#include <qmailid.h>

#include <optional>

namespace Accounts {

using WaitingMails = QList<Activesync::WaitingMail>;

/** The account's mails that wait, as the mail store and the daemon's memory know them; refused
 * where that cannot be read. */
Outcome readRememberedOutbox(const QMailAccountId &account, WaitingMails *mails);

/** The same, and what the daemon that runs is sending just now, which it alone knows. */
Outcome readOutbox(const QMailAccountId &account, WaitingMails *mails);

std::optional<Activesync::WaitingMail> findWaitingMail(const WaitingMails &mails, quint64 message);

/** Lets it go again, whatever has been tried. */
Outcome releaseMail(const QMailAccountId &account, const Activesync::WaitingMail &mail);

/** The three steps of putting it back among the drafts; Store::Outbox tells of them. */
Outcome makeDraft(const QMailAccountId &account, const QMailMessageId &id);
Outcome settleDraft(const QMailAccountId &account, const QMailMessageId &id);
Outcome undoDraft(const QMailAccountId &account, const QMailMessageId &id);

} // namespace Accounts

#endif
