// SPDX-License-Identifier: LGPL-2.1-or-later
#include "daemon/send/takenbackmails.h"

#include "daemon/log/logging.h"
#include "daemon/pacing/alarm.h"
#include "daemon/pacing/pauses.h"
#include "daemon/store/currentmessages.h"
#include "daemon/store/outgoing/outbox.h"

namespace Daemon {

TakenBackMails::TakenBackMails(Store::SyncStateDb &db, const QMailAccountId &account)
    : m_asked(db, account)
{
    QObject::connect(&m_nextLook, &Alarm::rang, [this] { keepOut(); });
}

void TakenBackMails::recall()
{
    const QList<Store::AskedSending> known = m_asked.all();
    for (const Store::AskedSending &sending : known)
        add(sending);
}

void TakenBackMails::noteAsked(const Store::AskedSending &sending)
{
    m_mails.remove(sending.messageId);
    const Eas::Result saved = m_asked.save(sending);
    if (!saved.ok())
        qCWarning(lcDaemon) << "message" << sending.messageId.toULongLong() << saved.text;
}

void TakenBackMails::noteEnd(const QMailMessageId &id)
{
    forget(id);
}

void TakenBackMails::add(const Store::AskedSending &sending)
{
    m_mails.insert(sending.messageId, {sending.status, Alarm::now(), false});
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
        mail.isBack = Store::Outbox::isBackUnwanted(Store::currentMessage(id), mail.statusAsked);
        // Not at the first look: who has just put it back may be about to ask for its sending.
        if (!mail.isBack || !wasBack)
            continue;
        const Eas::Result done = Store::Outbox::takeBack(id);
        if (done.ok())
            forget(id);
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
    const auto mail = m_mails.constFind(id);
    if (mail == m_mails.cend()
        || !Store::Outbox::isTakenBack(Store::currentMessage(id), mail->statusAsked))
        return false;
    add({id, mail->statusAsked});
    return true;
}

void TakenBackMails::forgetOld()
{
    const QList<QMailMessageId> ids = m_mails.keys();
    for (const QMailMessageId &id : ids) {
        const Mail mail = m_mails.value(id);
        // What has come back late is looked at once more.
        const int longest = mail.isBack ? 2 * Pauses::PuttingBack : Pauses::PuttingBack;
        if (Alarm::now() - mail.since > longest)
            forget(id);
    }
}

void TakenBackMails::forget(const QMailMessageId &id)
{
    m_mails.remove(id);
    const Eas::Result forgotten = m_asked.remove(id);
    if (!forgotten.ok())
        qCWarning(lcDaemon) << "message" << id.toULongLong() << forgotten.text;
}

} // namespace Daemon
