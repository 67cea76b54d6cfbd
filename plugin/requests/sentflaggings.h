// SPDX-License-Identifier: LGPL-2.1-or-later
#ifndef PLUGIN_REQUESTS_SENTFLAGGINGS_H
#define PLUGIN_REQUESTS_SENTFLAGGINGS_H

#include "plugin/service/orvservice.h"

#include <QList>
#include <qmailmessage.h>
#include <QPointer>
#include <QSet>

/**
 * Which service's actions the message server makes to have sent mails flagged.
 *
 * At the end of a transmission, it marks as sent what all accounts have told as transmitted by
 * then, and begins an action of the service whose transmission has ended. In that, it has each
 * account's source flag the account's own mails. Where none of them is of the service itself, that
 * service is asked for nothing, and yet blocked until it ends the action: the other's source ends
 * it then.
 */
class SentFlaggings
{
public:
    /** The message server has marked the messages as sent when a transmission of `service` ended.
     */
    void begin(OrvService *service, const QMailMessageIdList &ids);
    /**
     * A source flags the messages: has the service end its action after the call, once.
     *
     * False when no service is known whose action that is: another plugin's transmission has ended.
     */
    bool end(const QMailMessageIdList &ids);

private:
    struct Flagging
    {
        QPointer<OrvService> service;
        /** Those that no source has been asked to flag yet. */
        QSet<QMailMessageId> messages;
        bool isEnded = false;
    };

    void forgetBefore(const OrvService *service, int end);

    QList<Flagging> m_flaggings; ///< in the order in which they run
};

#endif
