// SPDX-License-Identifier: LGPL-2.1-or-later
#ifndef DAEMON_SEND_SENDINGPREPARATION_H
#define DAEMON_SEND_SENDINGPREPARATION_H

#include "daemon/store/outgoing/references.h"
#include "daemon/store/outgoing/responseplan.h"
#include "daemon/tasks/task.h"

#include <qmailmessage.h>

namespace Daemon {

/**
 * Fetches what a message needs of others before it can be sent: attachments and messages that it
 * passes on and that were never fetched, and the ids of the message that it replies to.
 *
 * Without the former it fails. Without the latter a message can be sent.
 */
class SendingPreparation : public Task
{
    Q_OBJECT

public:
    SendingPreparation(const AccountContext &context, const QMailMessage &message,
                       const Store::ResponsePlan &plan, QObject *parent);

    /** The original of a reply, or of it only the headers; empty where nothing is known of it. */
    QMailMessage original() const { return m_original; }

private:
    void perform() override;
    void fetchNext();
    void onFetched(const Store::ContentOrigin &origin, const Eas::Result &result);
    void queueParts(const QMailMessageId &id);
    void findOriginal();
    void askForOriginal(const Store::ServerUid &uid);

    const QMailMessage m_message;
    const Store::ResponsePlan m_plan;
    QList<Store::ContentOrigin> m_missing;
    QMailMessage m_original;
};

} // namespace Daemon

#endif
