// SPDX-License-Identifier: LGPL-2.1-or-later
#include "accounts/synchronisation.h"

#include "accounts/accountbook.h"
#include "accounts/advice.h"
#include "accounts/daemonstatus.h"
#include "accounts/partstarter.h"

#include <qmailmessageserver.h>

namespace Accounts {

Synchronisation::Synchronisation(const QMailAccountId &account, QObject *parent)
    : QObject(parent)
    , m_account(account)
    , m_parts(std::make_unique<PartStarter>())
{
    connect(m_parts.get(), &PartStarter::finished, this, &Synchronisation::partsStarted);
}

Synchronisation::~Synchronisation() = default;

void Synchronisation::start()
{
    m_parts->start();
}

void Synchronisation::cancel()
{
    const bool isImpatient = m_cancelled;
    m_cancelled = true;
    if (!m_action)
        m_parts->cancel();
    else if (isImpatient)
        conclude(failure());
    else
        m_action->cancelOperation();
}

void Synchronisation::partsStarted()
{
    if (m_cancelled || !m_parts->outcome().ok()) {
        end(m_cancelled ? failure() : m_parts->outcome());
        return;
    }
    m_before = std::make_unique<MailSnapshot>(m_account);
    QMailMessageServer::registerTypes();
    m_action = std::make_unique<QMailRetrievalAction>();
    connect(m_action.get(), &QMailServiceAction::progressChanged, this,
            [this](uint value, uint total) {
                if (total > 0)
                    emit progressed(int(qMin<quint64>(100, quint64(value) * 100 / total)));
            });
    connect(m_action.get(), &QMailServiceAction::activityChanged, this,
            &Synchronisation::onActivity);
    m_action->synchronize(m_account, QMailRetrievalAction::defaultMinimum());
}

void Synchronisation::onActivity(QMailServiceAction::Activity activity)
{
    const bool isOver =
        activity == QMailServiceAction::Successful || activity == QMailServiceAction::Failed;
    if (m_over || !isOver)
        return;
    const bool done = activity == QMailServiceAction::Successful && !m_cancelled;
    conclude(done ? Outcome() : failure());
}

/** Ends it once the action has told all that it is in the middle of telling. */
void Synchronisation::conclude(const Outcome &outcome)
{
    m_over = true;
    m_differences = m_before->differenceTo(MailSnapshot(m_account));
    QMetaObject::invokeMethod(this, [this, outcome] { end(outcome); }, Qt::QueuedConnection);
}

Outcome Synchronisation::failure() const
{
    const AccountSettings settings = AccountBook::details(m_account).settings;
    if (m_cancelled)
        return adviceFor(Eas::Result {Eas::Cancelled, {}}, settings);
    const std::optional<Eas::Result> reason = lastErrorOf(m_account);
    return reason ? adviceForLastError(*reason, settings) : adviceFor(m_action->status(), settings);
}

void Synchronisation::end(const Outcome &outcome)
{
    m_outcome = outcome;
    emit finished();
}

} // namespace Accounts
