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
    for (const Store::AskedSending &sending : known) {
        add(sending);
        m_mails[sending.messageId].isRecalled = true;
    }
}

void TakenBackMails::noteAsked(const Store::AskedSending &sending)
{
    m_mails.remove(sending.messageId);
    save(sending);
}

void TakenBackMails::save(const Store::AskedSending &sending)
{
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
    m_mails.insert(sending.messageId, {sending.status, Alarm::now(), Place::Elsewhere, false});
    // The mail store's notice may come a second later, or behind the next synchronisation.
    if (!m_nextLook.isActive())
        m_nextLook.start(Pauses::BeforeLook);
}

void TakenBackMails::keepOut()
{
    const QList<QMailMessageId> ids = m_mails.keys();
    for (const QMailMessageId &id : ids)
        look(id);
    forgetOld();
    if (!m_mails.isEmpty())
        m_nextLook.start(Pauses::BeforeLook);
}

void TakenBackMails::look(const QMailMessageId &id)
{
    Mail &mail = m_mails[id];
    const bool isBack = Store::Outbox::isBackUnwanted(Store::currentMessage(id), mail.statusAsked);
    const Place before = mail.place;
    if (before == Place::TakenOut) {
        if (isBack)
            forget(id);
        return;
    }
    mail.place = isBack ? Place::Outbox : Place::Elsewhere;
    // Not at the first look: who has just put it back may be about to ask for its sending.
    if (isBack && before == Place::Outbox)
        takeOut(id);
}

void TakenBackMails::takeOut(const QMailMessageId &id)
{
    const Eas::Result done = Store::Outbox::takeBack(id);
    if (!done.ok()) {
        qCWarning(lcDaemon) << "message" << id.toULongLong() << done.text;
        return;
    }
    if (!m_mails[id].isRecalled) {
        forget(id);
        return;
    }
    forgetAsked(id);
    m_mails[id].place = Place::TakenOut;
    m_mails[id].since = Alarm::now();
}

bool TakenBackMails::isSentAgain(const QMailMessageId &id)
{
    forgetOld();
    const auto mail = m_mails.constFind(id);
    if (mail == m_mails.cend())
        return false;
    // In the outbox or not: the message server takes it out again as soon as it has asked. What we
    // have taken out and is in there is its author's.
    const auto message = Store::currentMessage(id);
    if (!Store::Outbox::isTakenBack(message, mail->statusAsked)
        || (mail->place == Place::TakenOut
            && Store::Outbox::isBackUnwanted(message, mail->statusAsked)))
        return false;
    const Store::AskedSending sending {id, mail->statusAsked};
    save(sending);
    add(sending);
    return true;
}

void TakenBackMails::forgetOld()
{
    const QList<QMailMessageId> ids = m_mails.keys();
    for (const QMailMessageId &id : ids) {
        const Mail mail = m_mails.value(id);
        // What has come back late is looked at once more.
        const int longest =
            mail.place == Place::Outbox ? 2 * Pauses::PuttingBack : Pauses::PuttingBack;
        if (Alarm::now() - mail.since > longest)
            forget(id);
    }
}

void TakenBackMails::forget(const QMailMessageId &id)
{
    m_mails.remove(id);
    forgetAsked(id);
}

void TakenBackMails::forgetAsked(const QMailMessageId &id)
{
    const Eas::Result forgotten = m_asked.remove(id);
    if (!forgotten.ok())
        qCWarning(lcDaemon) << "message" << id.toULongLong() << forgotten.text;
}

} // namespace Daemon
