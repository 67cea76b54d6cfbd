// SPDX-License-Identifier: LGPL-2.1-or-later
#include "accounts/actions/transmission.h"

#include "accounts/advice.h"
#include "accounts/setup/accountbook.h"
#include "accounts/status/outboxmemory.h"
#include "accounts/status/outboxview.h"
#include "daemon/store/currentmessages.h"
#include "translations/text.h"

namespace Accounts {

using Activesync::WaitingMail;

Transmission::Transmission(const QMailAccountId &account, const WaitingMail &mail, QObject *parent)
    : MessageServerTask(parent)
    , m_account(account)
    , m_mail(mail)
{
}

Transmission::~Transmission() = default;

void Transmission::cancel()
{
    end(Outcome::refused(hasBegun()
                             ? Text::tr("not waited for any more; what is being sent goes on")
                             : Text::tr("cancelled; nothing was sent")));
}

void Transmission::begin()
{
    // Only now: without a message server, it is to stay as it is.
    const Outcome released = releaseMail(m_account, m_mail);
    if (!released.ok()) {
        end(released);
        return;
    }
    m_action = std::make_unique<QMailTransmitAction>();
    follow(*m_action);
    // What nobody is certain of goes by its name, as a person wants it. Nothing else does: it may
    // have become uncertain by now, and is then left out of what the account sends.
    if (m_mail.state == WaitingMail::Doubtful)
        m_action->transmitMessage(QMailMessageId(m_mail.message));
    else
        m_action->transmitMessages(m_account);
}

/** By what became of the mail: the action's end also tells of other mails, or of nothing. */
Outcome Transmission::outcomeOf(End way)
{
    WaitingMails mails;
    const Outcome read = readOutbox(m_account, &mails);
    if (!read.ok())
        return Outcome::refused(
            Text::tr("whether the mail was sent is not known: %1").arg(read.text));
    const auto mail = findWaitingMail(mails, m_mail.message);
    const quint64 status = Store::currentMessage(QMailMessageId(m_mail.message)).status();
    if (!mail && status & QMailMessage::Draft)
        return Outcome::refused(Text::tr("the mail is a draft now, and was not sent"));
    if (!mail && status & QMailMessage::Trash && !(status & QMailMessage::Sent))
        return Outcome::refused(Text::tr("the mail was deleted meanwhile, and was not sent"));
    if (!mail)
        return {};
    const AccountSettings settings = AccountBook::details(m_account).settings;
    if (way == End::ServerGone)
        return serverGone();
    if (way == End::Succeeded || mail->code != 0 || mail->mayHaveBeenSent())
        return Outcome::refused(mailText(*mail, settings));
    return adviceFor(m_action->status(), settings);
}

} // namespace Accounts
