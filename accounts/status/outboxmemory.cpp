// SPDX-License-Identifier: LGPL-2.1-or-later
#include "accounts/status/outboxmemory.h"

#include "accounts/status/daemonstatus.h"
#include "daemon/store/outgoing/outbox.h"
#include "daemon/store/state/syncstatedb.h"
#include "translations/translation.h"

#include <algorithm>
#include <functional>

namespace Accounts {

using Activesync::WaitingMail;

namespace {

Outcome withOutbox(const QMailAccountId &account, Eas::Result (Store::SyncStateDb::*open)(),
                   const std::function<Eas::Result(Store::Outbox &)> &work)
{
    Store::SyncStateDb memory;
    Eas::Result result = (memory.*open)();
    if (result.ok()) {
        Store::AccountRecord record;
        record.id = account;
        Store::Outbox outbox(memory, record);
        result = work(outbox);
    }
    return result.ok() ? Outcome() : Outcome::refused(Translation::ofFailure(result.text));
}

Outcome changeOutbox(const QMailAccountId &account,
                     const std::function<Eas::Result(Store::Outbox &)> &work)
{
    return withOutbox(account, &Store::SyncStateDb::open, work);
}

} // namespace

Outcome readRememberedOutbox(const QMailAccountId &account, WaitingMails *mails)
{
    return withOutbox(account, &Store::SyncStateDb::openToRead,
                      [mails](const Store::Outbox &outbox) {
                          *mails = outbox.waiting();
                          return Eas::Result();
                      });
}

Outcome readOutbox(const QMailAccountId &account, WaitingMails *mails)
{
    const Outcome read = readRememberedOutbox(account, mails);
    if (!read.ok())
        return read;
    const auto live = daemonStatusOf(account);
    for (const WaitingMail &mail : live ? live->outbox : WaitingMails()) {
        if (mail.state != WaitingMail::Sending)
            continue;
        const auto isSame = [&mail](const WaitingMail &one) { return one.message == mail.message; };
        mails->erase(std::remove_if(mails->begin(), mails->end(), isSame), mails->end());
        mails->append(mail);
    }
    return {};
}

std::optional<WaitingMail> findWaitingMail(const WaitingMails &mails, quint64 message)
{
    for (const WaitingMail &mail : mails) {
        if (mail.message == message)
            return mail;
    }
    return std::nullopt;
}

Outcome releaseMail(const QMailAccountId &account, const WaitingMail &mail)
{
    return changeOutbox(account, [&mail](Store::Outbox &outbox) { return outbox.release(mail); });
}

Outcome makeDraft(const QMailAccountId &account, const QMailMessageId &id)
{
    return changeOutbox(account, [&id](Store::Outbox &outbox) { return outbox.makeDraft(id); });
}

Outcome settleDraft(const QMailAccountId &account, const QMailMessageId &id)
{
    return changeOutbox(account, [&id](Store::Outbox &outbox) { return outbox.settleDraft(id); });
}

Outcome undoDraft(const QMailAccountId &account, const QMailMessageId &id)
{
    return changeOutbox(account, [&id](Store::Outbox &outbox) { return outbox.undoDraft(id); });
}

} // namespace Accounts
