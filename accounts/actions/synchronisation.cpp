// SPDX-License-Identifier: LGPL-2.1-or-later
#include "accounts/actions/synchronisation.h"

#include "accounts/advice.h"
#include "accounts/setup/accountbook.h"
#include "accounts/status/daemonstatus.h"

namespace Accounts {

Synchronisation::Synchronisation(const QMailAccountId &account, QObject *parent)
    : MessageServerTask(parent)
    , m_account(account)
{
}

Synchronisation::~Synchronisation() = default;

void Synchronisation::cancel()
{
    const bool isImpatient = m_cancelled;
    m_cancelled = true;
    if (isOver())
        return;
    if (!hasBegun())
        end(cancelled());
    else if (isImpatient)
        end(outcomeOf(End::Failed));
    else
        m_action->cancelOperation();
}

void Synchronisation::begin()
{
    m_before = std::make_unique<MailSnapshot>(m_account);
    m_action = std::make_unique<QMailRetrievalAction>();
    connect(m_action.get(), &QMailServiceAction::progressChanged, this,
            [this](uint value, uint total) {
                if (total > 0)
                    emit progressed(int(qMin<quint64>(100, quint64(value) * 100 / total)));
            });
    follow(*m_action);
    m_action->synchronize(m_account, QMailRetrievalAction::defaultMinimum());
}

Outcome Synchronisation::outcomeOf(End way)
{
    m_differences = m_before->differenceTo(MailSnapshot(m_account));
    if (m_cancelled)
        return cancelled();
    if (way == End::ServerGone)
        return serverGone();
    return way == End::Succeeded ? Outcome() : failure();
}

Outcome Synchronisation::cancelled() const
{
    return adviceFor(Eas::Result {Eas::Cancelled, {}}, AccountBook::details(m_account).settings);
}

Outcome Synchronisation::failure() const
{
    const AccountSettings settings = AccountBook::details(m_account).settings;
    const std::optional<Eas::Result> reason = lastErrorOf(m_account);
    return reason ? adviceForLastError(*reason, settings) : adviceFor(m_action->status(), settings);
}

} // namespace Accounts
