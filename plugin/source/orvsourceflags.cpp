// SPDX-License-Identifier: LGPL-2.1-or-later
// Flags and deletions: done in the mail store, and left to the daemon to carry to the server.
#include "asclient/asdbusinterface.h"
#include "plugin/requests/requestscheduler.h"
#include "plugin/requests/transmittedmails.h"
#include "plugin/service/orvservice.h"
#include "plugin/source/orvsource.h"
#include "plugin/source/syncmarker.h"

#include <qmaillog.h>

using Activesync::AsDBusInterface;

namespace {

/** The hint that local changes matter most; our daemon carries them first anyway. */
constexpr int LocalChangesFirst = 5;

} // namespace

bool OrvSource::flagMessages(const QMailMessageIdList &ids, quint64 setMask, quint64 unsetMask)
{
    qMailLog(Messaging) << "OrvSource::flagMessages set mask:" << setMask
                        << " unset mask:" << unsetMask;
    const QString refusal = ids.isEmpty() ? QStringLiteral("No messages to flag")
        : setMask == 0 && unsetMask == 0  ? QStringLiteral("No flags to be applied")
                                          : QString();
    if (!refusal.isEmpty()) {
        qMailLog(Messaging) << qPrintable(refusal);
        emit updateStatus(refusal);
        emit actionCompleted(false);
        return false;
    }
    const bool areSent =
        (setMask & QMailMessageMetaData::Sent) && (unsetMask & QMailMessageMetaData::Outbox);
    const QMailMessageIdList meant =
        areSent ? TransmittedMails::instance().keepRewritten(ids) : ids;
    modifyMessageFlags(meant, setMask, unsetMask);
    if (((setMask | unsetMask) & QMailMessageMetaData::Read) && isPushEnabled()) {
        syncChangedFolders(parentFolders(ids));
        return true;
    }
    if (areSent)
        endSent(ids, meant);
    else
        completeSoon();
    return true;
}

/**
 * Removes what was sent of the `flagged` messages, and ends the action that flags them: that may be
 * another account's, as the message server flags what all accounts have sent when one is done.
 */
void OrvSource::endSent(const QMailMessageIdList &flagged, const QMailMessageIdList &sent)
{
    removeSent(sent);
    if (TransmittedMails::instance().flaggings().end(flagged))
        return;
    // Another plugin's transmission has ended: what runs here then has its own end.
    if (!isBusy())
        completeSoon();
}

/** Deliberate: the server's own copies arrive by the Sent folder. */
void OrvSource::removeSent(const QMailMessageIdList &ids)
{
    for (const QMailMessageId &id : ids) {
        qMailLog(Messaging) << "Deleting send message" << id;
        QMailStore::instance()->removeMessage(id, QMailStore::NoRemovalRecord);
    }
    TransmittedMails::instance().forget(ids);
}

bool OrvSource::deleteMessages(const QMailMessageIdList &ids)
{
    if (ids.isEmpty()) {
        completeAction();
        return true;
    }
    qMailLog(Messaging) << "Deleting messages";
    QMailStore::instance()->removeMessages(QMailMessageKey::id(ids, QMailDataComparator::Includes),
                                           QMailStore::CreateRemovalRecord);
    if (!isPushEnabled()) {
        // Deliberate: nothing announces the deletion without push.
        completeAction();
        return true;
    }
    const QMailFolderId trash =
        QMailAccount(m_service->accountId()).standardFolder(QMailFolder::TrashFolder);
    syncChangedFolders({QString::number(trash.toULongLong())});
    emit messagesDeleted(ids);
    return true;
}

/** Whether an action runs that ends with its requests, or with the daemon's synchronisation. */
bool OrvSource::isBusy() const
{
    return !m_service->scheduler()->isIdle() || m_marker->state() == SyncMarker::Running;
}

bool OrvSource::isPushEnabled() const
{
    return QMailAccount(m_service->accountId()).customField(QStringLiteral("pushEnabled"))
        == QLatin1String("1");
}

/** The folders of the messages as decimal ids, each once, in order of first appearance. */
QStringList OrvSource::parentFolders(const QMailMessageIdList &ids) const
{
    QStringList folders;
    for (const QMailMessageId &id : ids) {
        const QString folder = QString::number(
            QMailStore::instance()->messageMetaData(id).parentFolderId().toULongLong());
        if (folders.contains(folder))
            continue;
        folders.append(folder);
        qMailLog(Messaging) << "OrvSource::flagMessages: clientId added" << folder;
    }
    return folders;
}

void OrvSource::syncChangedFolders(const QStringList &folders)
{
    const QMailAccountId account = m_service->accountId();
    const int result = m_service->scheduler()->addRequest(
        createRequest(account,
                      std::tr1::bind(&AsDBusInterface::syncSpecificFolders, m_service->daemon(),
                                     account.toULongLong(), folders, AsDBusInterface::AllContent,
                                     LocalChangesFirst, QDBus::Block)));
    qMailLog(Messaging) << "result = " << result << "AccountId=" << account;
}
