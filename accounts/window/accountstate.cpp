// SPDX-License-Identifier: LGPL-2.1-or-later
#include "accounts/window/accountstate.h"

#include "accounts/status/statusview.h"

#include <algorithm>

namespace Accounts {

using Activesync::WaitingMail;

namespace {

bool isStuck(const WaitingMail &mail)
{
    return mail.state != WaitingMail::Waiting && mail.state != WaitingMail::Sending;
}

} // namespace

/** What a person has to do something about goes first. */
AccountState AccountState::of(const AccountView &account)
{
    const Activesync::AccountStatus &status = account.status;
    if (account.details.wiped)
        return {Trouble, tr("wiped by its server")};
    if (!account.details.enabled)
        return {Off, tr("not used")};
    if (status.loginRefusedAt > 0)
        return {Trouble, tr("password refused")};
    if (status.policyUnmetAt > 0)
        return {Trouble, tr("policy not met")};
    if (std::any_of(status.outbox.cbegin(), status.outbox.cend(), isStuck))
        return {Trouble, tr("mail not sent")};
    if (status.isSyncing)
        return {Busy, tr("synchronising")};
    if (!account.problems().isEmpty())
        return {Trouble, tr("needs attention")};
    if (status.succeededAt == 0)
        return {Off, tr("not synchronised yet")};
    return {Good, tr("all is well")};
}

} // namespace Accounts
