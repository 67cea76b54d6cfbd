// SPDX-License-Identifier: LGPL-2.1-or-later
#include "daemon/notify/accountnotices.h"

#include "asclient/resultcode.h"
#include "daemon/log/logging.h"
#include "daemon/notify/notificationservice.h"
#include "daemon/store/accountrecord.h"

namespace Daemon {

using Activesync::WaitingMail;
using Store::Notice;

namespace {

/** The account itself, in the place of mails, while something is so. */
QSet<quint64> accountIf(bool isSo)
{
    return isSo ? QSet<quint64> {0} : QSet<quint64>();
}

/**
 * Whether the mail does not go unless its author does something. What fails in another way, as
 * there is no connection, is tried again until it is given up.
 */
bool needsItsAuthor(const WaitingMail &mail)
{
    switch (mail.state) {
    case WaitingMail::GivenUp:
    case WaitingMail::Doubtful:
        return true;
    case WaitingMail::Failed:
        return mail.code == Activesync::Forbidden || mail.code == Activesync::NotFound
            || mail.code == Activesync::NoRoom;
    default:
        return false;
    }
}

} // namespace

AccountNotices::AccountNotices(Store::SyncStateDb &db, NotificationService &service,
                               const QMailAccountId &account)
    : m_db(db)
    , m_service(service)
    , m_account(account)
{
    for (const Notice::Cause cause :
         {Notice::LoginRefused, Notice::PolicyUnmet, Notice::MailNotSent})
        m_topics[cause].told = Store::NoticeTable(m_db, m_account).find(cause);
}

void AccountNotices::setStatus(const Activesync::AccountStatus &status)
{
    const QSet<quint64> refused = accountIf(status.loginRefusedAt > 0);
    const QSet<quint64> unmet = accountIf(status.policyUnmetAt > 0);
    QSet<quint64> unsent;
    QSet<quint64> waiting;
    for (const WaitingMail &mail : status.outbox) {
        waiting.insert(mail.message);
        if (needsItsAuthor(mail))
            unsent.insert(mail.message);
    }
    update(Notice::LoginRefused, refused, refused);
    update(Notice::PolicyUnmet, unmet, unmet);
    // One that is tried again is not told again, unless it has left the outbox meanwhile.
    update(Notice::MailNotSent, unsent, waiting);
}

void AccountNotices::tellAll()
{
    for (auto &[cause, topic] : m_topics)
        tell(topic);
}

void AccountNotices::update(Notice::Cause cause, const QSet<quint64> &needed,
                            const QSet<quint64> &present)
{
    Topic &topic = m_topics[cause];
    topic.needed = needed;
    topic.present = present;
    forget(topic);
    tell(topic);
}

/** Forgets what is over, so that it is told if it comes again. */
void AccountNotices::forget(Topic &topic)
{
    const QSet<quint64> left = topic.told.subjects & topic.present;
    if (topic.isUnderWay || left == topic.told.subjects)
        return;
    topic.told.subjects = left;
    if (left.isEmpty()) {
        m_service.close(topic.told.shown);
        topic.told.shown.clear();
    }
    save(topic.told);
}

void AccountNotices::tell(Topic &topic)
{
    const QSet<quint64> untold = topic.needed - topic.told.subjects;
    if (untold.isEmpty() || topic.isUnderWay || m_service.isMissing())
        return;
    const auto record = Store::AccountRecord::tryRead(m_account);
    if (!record || !record->notifications)
        return;
    topic.isUnderWay = true;
    const QSet<quint64> subjects = topic.told.subjects | topic.needed;
    m_service.show(
        Notification::about(topic.told.cause, *record, topic.needed.size()), topic.told.shown,
        [this, &topic, subjects](const QString &shown) { noteShown(topic, subjects, shown); });
}

/** What has changed meanwhile is done now. */
void AccountNotices::noteShown(Topic &topic, const QSet<quint64> &subjects, const QString &shown)
{
    topic.isUnderWay = false;
    if (!shown.isEmpty()) {
        topic.told.subjects = subjects;
        topic.told.shown = shown;
        save(topic.told);
    }
    forget(topic);
    tell(topic);
}

void AccountNotices::save(const Notice &notice)
{
    const Eas::Result saved = Store::NoticeTable(m_db, m_account).save(notice);
    // One that was removed meanwhile is forgotten already.
    if (!saved.ok() && saved.code != Eas::Cancelled)
        qCWarning(lcDaemon) << "account" << m_account << saved.text;
}

} // namespace Daemon
