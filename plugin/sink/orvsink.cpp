// SPDX-License-Identifier: LGPL-2.1-or-later
#include "plugin/sink/orvsink.h"

#include "asclient/asdbusinterface.h"
#include "plugin/requests/asdaemonoperationrequest.h"
#include "plugin/requests/asdaemonsendrequest.h"
#include "plugin/requests/requestscheduler.h"
#include "plugin/requests/transmittedmails.h"
#include "plugin/service/orvservice.h"

#include <qmaillog.h>

using Activesync::AsDBusInterface;

namespace {

const QMailMessageKey &outboxKey()
{
    static const QMailMessageKey key =
        QMailMessageKey::status(QMailMessageMetaData::Outbox, QMailDataComparator::Includes)
        & ~QMailMessageKey::status(QMailMessageMetaData::Trash, QMailDataComparator::Includes);
    return key;
}

/** What of an account waits to be sent; "dontSend" keeps a message out of it. */
QMailMessageKey waitingKey(const QMailAccountId &id)
{
    const QString dontSend = QStringLiteral("dontSend");
    return (outboxKey() & QMailMessageKey::parentAccountId(id, QMailDataComparator::Equal))
        & (QMailMessageKey::customField(dontSend, QMailDataComparator::Absent)
           | QMailMessageKey::customField(dontSend, QStringLiteral("true"),
                                          QMailDataComparator::NotEqual));
}

} // namespace

OrvSink::OrvSink(OrvService *service)
    : QMailMessageSink(service)
    , m_service(service)
    , m_transmitAction(new QMailTransmitAction(this))
{
    QDBusConnection::sessionBus().connect(
        QString(), QLatin1String(Activesync::ObjectPath), QLatin1String(Activesync::InterfaceName),
        QStringLiteral("syncStarted"), this, SLOT(onSync(qulonglong)));
    // Offers the daemon again what it did not take while it was silent.
    connect(&service->daemon()->answers(), &Activesync::AnswerWatch::heardAgain, this,
            &OrvSink::sendWaiting);
}

bool OrvSink::transmitMessages(const QMailMessageIdList &ids)
{
    qMailLog(Messaging) << "OrvSink::transmitMessages: got a request to send " << ids.count()
                        << " message(s)";
    if (ids.isEmpty()) {
        qMailLog(Messaging) << "Nothing to transmit";
        emit messagesTransmitted(QMailMessageIdList());
        const TransmittedMails::Guard guard(*m_service);
        emit m_service->actionCompleted(true);
        return true;
    }
    const RequestScheduler::Batch batch(*m_service->scheduler());
    for (const QMailMessageId &id : ids)
        sendMessage(id);
    syncSentFolder();
    return true;
}

void OrvSink::sendMessage(const QMailMessageId &id)
{
    qMailLog(Messaging) << "Sending message " << id;
    const QMailAccountId account = m_service->accountId();
    auto *request = new AsDaemonSendRequest(
        *m_service, account,
        std::tr1::bind(&AsDBusInterface::sendMail, m_service->daemon(), account.toULongLong(),
                       id.toULongLong(), QDBus::Block),
        id, this);
    connect(request, SIGNAL(messagesTransmitted(QMailMessageIdList)), this,
            SIGNAL(messagesTransmitted(QMailMessageIdList)));
    connect(request,
            SIGNAL(messagesFailedTransmission(QMailMessageIdList,
                                              QMailServiceAction::Status::ErrorCode)),
            this,
            SIGNAL(messagesFailedTransmission(QMailMessageIdList,
                                              QMailServiceAction::Status::ErrorCode)));
    const int result = m_service->scheduler()->addRequest(request);
    qMailLog(Messaging) << "res=" << result << "for Account" << account;
}

/** Queues, behind the sends, a synchronisation of the Sent folder if that is a favourite. */
void OrvSink::syncSentFolder()
{
    const QMailAccountId account = m_service->accountId();
    const QMailFolderId sent = QMailAccount(account).standardFolder(QMailFolder::SentFolder);
    if (!sent.isValid() || !(QMailFolder(sent).status() & QMailFolder::Favourite))
        return;
    const QStringList folders {QString::number(sent.toULongLong())};
    auto *request = new AsDaemonOperationRequest(
        *m_service, account,
        std::tr1::bind(&AsDBusInterface::syncSpecificFolders, m_service->daemon(),
                       account.toULongLong(), folders, 0, 0, QDBus::Block),
        this);
    m_ownSyncCount += 1;
    m_service->scheduler()->addSecondQueueRequest(request);
}

void OrvSink::completeAction(bool res)
{
    qMailLog(Messaging) << "OrvSink::Action completed: " << res;
    emit actionCompleted(res);
}

void OrvSink::onSync(qulonglong account)
{
    if (account != m_service->accountId().toULongLong())
        return;
    qMailLog(Messaging) << "Synchronize signal received for the account " << account;
    if (m_ownSyncCount >= 1) {
        qMailLog(Messaging) << "Skipping it because it is our own signal";
        m_ownSyncCount -= 1;
        return;
    }
    sendWaiting();
}

/** Has the message server transmit what waits in the outbox. */
void OrvSink::sendWaiting()
{
    // Also while the action is pending: the message server would transmit the same messages twice.
    if (m_transmitAction->isRunning()) {
        qMailLog(Messaging) << "Transmit in progress, skipping";
        return;
    }
    const QMailAccountId id = m_service->accountId();
    if (!id.isValid())
        return;
    const int waiting = QMailStore::instance()->countMessages(waitingKey(id));
    if (waiting == 0)
        return;
    qMailLog(Messaging) << "Sending " << waiting << " message(s)";
    m_transmitAction->transmitMessages(id);
}
