// SPDX-License-Identifier: LGPL-2.1-or-later
// Message lists, whole messages and message parts. The daemon writes them into the mail store.
#include "asclient/asdbusinterface.h"
#include "asclient/attachmentnotifier.h"
#include "plugin/requests/requestscheduler.h"
#include "plugin/service/orvservice.h"
#include "plugin/source/orvprogresslistener.h"
#include "plugin/source/orvsource.h"

#include <qmaillog.h>

using Activesync::AsDBusInterface;

bool OrvSource::retrieveMessageList(const QMailAccountId &accountId, const QMailFolderId &folderId,
                                    uint, const QMailMessageSortKey &)
{
    qMailLog(Messaging) << "retrieving messages list for folder" << folderId.toULongLong();
    emit updateStatus(QStringLiteral("retrieving messages list"));
    if (!folderId.isValid()) {
        qMailLog(Messaging) << "folder id is invalid. Retrieving all messages";
        retrieveAll(accountId);
        return true;
    }
    syncFolders(accountId, {QString::number(folderId.toULongLong())}, AsDBusInterface::AllContent);
    return true;
}

bool OrvSource::retrieveMessageLists(const QMailAccountId &accountId,
                                     const QMailFolderIdList &folderIds, uint,
                                     const QMailMessageSortKey &)
{
    qMailLog(Messaging) << "retrieving messages list for folders in account"
                        << accountId.toULongLong();
    QStringList folders;
    for (const QMailFolderId &id : folderIds)
        folders.append(QString::number(id.toULongLong()));
    syncFolders(accountId, folders, AsDBusInterface::MessageLists);
    return true;
}

bool OrvSource::retrieveMessages(const QMailMessageIdList &ids,
                                 QMailRetrievalAction::RetrievalSpecification)
{
    const quint64 account = m_service->accountId().toULongLong();
    const RequestScheduler::Batch batch(*m_service->scheduler());
    for (const QMailMessageId &id : ids) {
        qMailLog(Messaging) << "Retrieving message" << id;
        const int result = m_service->scheduler()->addRequest(
            createRequest(m_service->accountId(),
                          std::tr1::bind(&AsDBusInterface::downloadMessage, m_service->daemon(),
                                         account, id.toULongLong(), QDBus::Block)));
        qMailLog(Messaging) << "result = " << result;
    }
    return true;
}

bool OrvSource::retrieveMessagePart(const QMailMessagePart::Location &partLocation)
{
    const QMailAccountId account = m_service->accountId();
    const QString location = partLocation.toString(false);
    const quint64 message = partLocation.containingMessageId().toULongLong();
    qMailLog(Messaging) << "Retrieving message part at" << location << "msg" << message;
    AsDaemonRequest *request =
        createRequest(account,
                      std::tr1::bind(&AsDBusInterface::downloadAttachment, m_service->daemon(),
                                     account.toULongLong(), message, location, QDBus::Block));
    const QString path =
        Activesync::attachmentDowloadNotifierPath(QString::number(message), location);
    auto *listener = new OrvProgressListener(m_service, path, this);
    addListener(listener);
    connect(request, SIGNAL(requestCompleted(int, AsDaemonRequest *, bool)), listener,
            SLOT(onDisconnected()));
    connect(listener, SIGNAL(finished(QString)), this, SLOT(onListenerFinished(QString)));
    const int result = m_service->scheduler()->addRequest(request);
    qMailLog(Messaging) << "result = " << result << "for Account " << account;
    return true;
}

void OrvSource::addListener(OrvProgressListener *listener)
{
    if (!listener)
        return;
    delete m_listeners.value(listener->path());
    m_listeners.insert(listener->path(), listener);
}

void OrvSource::onListenerFinished(const QString &path)
{
    if (OrvProgressListener *listener = m_listeners.take(path))
        listener->deleteLater();
    // No download reports progress now: the timer counts again, to poll for a daemon that died.
    if (m_listeners.isEmpty())
        m_service->allowProgressCounter(true);
}

/** Ends the listeners with their action: a poll that ends it does not report its requests' ends. */
void OrvSource::endListeners()
{
    const QStringList paths = m_listeners.keys();
    for (const QString &path : paths)
        onListenerFinished(path);
}

/** Brings folders of an account up to date; the content type tells the daemon what is wanted. */
void OrvSource::syncFolders(const QMailAccountId &accountId, const QStringList &folders,
                            int contentType)
{
    const quint64 id = accountId.toULongLong();
    const int result = m_service->scheduler()->addRequest(
        createRequest(accountId,
                      std::tr1::bind(&AsDBusInterface::syncSpecificFolders, m_service->daemon(), id,
                                     folders, contentType, 0, QDBus::Block)));
    qMailLog(Messaging) << "result = " << result << "for AccountId=" << id;
}
