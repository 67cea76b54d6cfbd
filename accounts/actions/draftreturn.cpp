// SPDX-License-Identifier: LGPL-2.1-or-later
#include "accounts/actions/draftreturn.h"

#include "accounts/status/daemonstatus.h"
#include "accounts/status/outboxmemory.h"
#include "accounts/status/partstate.h"
#include "daemon/store/currentmessages.h"
#include "translations/text.h"

#include <qmailmessageserver.h>

#include <algorithm>

namespace Accounts {

using Activesync::WaitingMail;

namespace {

/** Milliseconds in which the message server tells what it does. */
constexpr int AnswerTime = 10 * 1000;

QString busyText()
{
    return Text::tr("the mail, or another one of the account, is being sent just now; "
                    "nothing was changed; try again in a moment");
}

QString silentText()
{
    return Text::tr("the daemon runs and does not tell whether it sends the mail just now; "
                    "nothing was changed");
}

} // namespace

DraftReturn::DraftReturn(const QMailAccountId &account, const QMailMessageId &message,
                         QObject *parent)
    : Task(parent)
    , m_account(account)
    , m_message(message)
{
    m_patience.setSingleShot(true);
    m_patience.setInterval(AnswerTime);
    connect(&m_patience, &QTimer::timeout, this, [this] {
        undo(Text::tr("the message server does not tell whether it sends the mail just now; "
                      "nothing was changed"));
    });
}

DraftReturn::~DraftReturn()
{
    // Nobody waits for the message server's answer any more.
    if (m_actions && !isOver())
        undoDraft(m_account, m_message);
}

void DraftReturn::start()
{
    if (isOver())
        return;
    Outcome made = isDaemonSilent(m_account) ? Outcome::refused(silentText()) : checkNotBeingSent();
    if (made.ok())
        made = makeDraft(m_account, m_message);
    if (!made.ok())
        end(made);
    else if (partState(MessageServerName) == PartState::Running)
        askMessageServer();
    else
        settle();
}

void DraftReturn::cancel()
{
    const QString text = Text::tr("cancelled; nothing was changed");
    if (m_actions)
        undo(text);
    else
        end(Outcome::refused(text));
}

Outcome DraftReturn::checkNotBeingSent() const
{
    WaitingMails mails;
    const Outcome read = readOutbox(m_account, &mails);
    if (!read.ok())
        return read;
    const auto mail = findWaitingMail(mails, m_message.toULongLong());
    return mail && mail->state == WaitingMail::Sending ? Outcome::refused(busyText()) : Outcome();
}

void DraftReturn::askMessageServer()
{
    QMailMessageServer::registerTypes();
    m_actions = std::make_unique<QMailActionObserver>();
    connect(m_actions.get(), &QMailActionObserver::actionsChanged, this, &DraftReturn::onActions);
    m_patience.start();
}

void DraftReturn::onActions(const Actions &actions)
{
    if (isOver())
        return;
    m_patience.stop();
    const bool isSending =
        std::any_of(actions.cbegin(), actions.cend(), [this](const auto &action) {
            const QMailAccountId account = action->statusAccountId();
            return action->requestType() == TransmitMessagesRequestType
                && (!account.isValid() || account == m_account);
        });
    if (isSending)
        undo(busyText());
    else
        settle();
}

void DraftReturn::settle()
{
    const QMailMessageMetaData message = Store::currentMessage(m_message);
    const Outcome free = checkNotBeingSent();
    if (!free.ok())
        undo(free.text);
    else if (!message.id().isValid() || message.status() & QMailMessage::Sent)
        end(Outcome::refused(Text::tr("the mail has just been sent")));
    else
        end(settleDraft(m_account, m_message));
}

void DraftReturn::undo(const QString &why)
{
    if (isOver())
        return;
    const Outcome undone = undoDraft(m_account, m_message);
    end(undone.ok() ? Outcome::refused(why) : undone);
}

} // namespace Accounts
