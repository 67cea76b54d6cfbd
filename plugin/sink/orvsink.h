// SPDX-License-Identifier: LGPL-2.1-or-later
#ifndef PLUGIN_SINK_ORVSINK_H
#define PLUGIN_SINK_ORVSINK_H

#include <qmailmessageservice.h>

class OrvService;
class QMailTransmitAction;

/**
 * The account's message sink: sends messages through the daemon, and has the message server
 * transmit what waits in the outbox whenever the daemon synchronises the account.
 */
class OrvSink : public QMailMessageSink
{
    Q_OBJECT

public:
    /** The service deletes it, and outlives it. */
    explicit OrvSink(OrvService *service);

    using QMailMessageSink::transmitMessages;

signals:
    void actionCompleted(bool success);

public slots:
    /** Sends the messages, then synchronises the Sent folder if it is a favourite; always true. */
    bool transmitMessages(const QMailMessageIdList &ids) override;
    /** Ends the running action. */
    void completeAction(bool res);
    /** The daemon has started to synchronise an account. */
    void onSync(qulonglong account);

private:
    void sendMessage(const QMailMessageId &id);
    void syncSentFolder();
    void sendWaiting();

    OrvService *m_service;
    QMailTransmitAction *m_transmitAction;
    /** Announcements still expected for synchronisations that the sink asked for itself. */
    int m_ownSyncCount = 0;
};

#endif
