// SPDX-License-Identifier: LGPL-2.1-or-later
#include "daemon/send/takenbackmails.h"

#include "daemon/log/logging.h"
#include "daemon/pacing/alarm.h"
#include "daemon/pacing/pauses.h"
#include "daemon/store/outgoing/outbox.h"

namespace Daemon {

TakenBackMails::TakenBackMails()
{
    QObject::connect(&m_nextLook, &Alarm::rang, [this] { keepOut(); });
}

void TakenBackMails::add(const QMailMessageId &id)
{
    m_mails.insert(id, {Alarm::now(), false});
    // The mail store's notice may come a second later, or behind the next synchronisation.
    if (!m_nextLook.isActive())
        m_nextLook.start(Pauses::BeforeLook);
}

void TakenBackMails::keepOut()
{
    const QList<QMailMessageId> ids = m_mails.keys();
    for (const QMailMessageId &id : ids) {
        Mail &mail = m_mails[id];
        const bool wasBack = mail.isBack;
        mail.isBack = Store::Outbox::isBackUnwanted(id);
        // Not at the first look: who has just put it back may be about to ask for its sending.
        if (!mail.isBack || !wasBack)
            continue;
        const Eas::Result done = Store::Outbox::takeBack(id);
        if (done.ok())
            m_mails.remove(id);
        else
            qCWarning(lcDaemon) << "message" << id.toULongLong() << done.text;
    }
    forgetOld();
    if (!m_mails.isEmpty())
        m_nextLook.start(Pauses::BeforeLook);
}

bool TakenBackMails::isSentAgain(const QMailMessageId &id)
{
    forgetOld();
    // In the outbox or not: the message server takes it out again as soon as it has asked.
    return m_mails.contains(id) && Store::Outbox::isTakenBack(id);
}

void TakenBackMails::forgetOld()
{
    const QList<QMailMessageId> ids = m_mails.keys();
    for (const QMailMessageId &id : ids) {
        const Mail mail = m_mails.value(id);
        // What has come back late is looked at once more.
        const int longest = mail.isBack ? 2 * Pauses::PuttingBack : Pauses::PuttingBack;
        if (Alarm::now() - mail.since > longest)
            m_mails.remove(id);
    }
}

} // namespace Daemon
