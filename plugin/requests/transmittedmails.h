// SPDX-License-Identifier: LGPL-2.1-or-later
#ifndef PLUGIN_REQUESTS_TRANSMITTEDMAILS_H
#define PLUGIN_REQUESTS_TRANSMITTEDMAILS_H

#include "plugin/requests/sentflaggings.h"
#include "plugin/service/orvservice.h"

#include <QHash>
#include <qmailmessage.h>
#include <QPointer>

/**
 * What the mails were of which the message server was told that they are transmitted.
 *
 * At the end of a transmission, the message server marks those mails as sent by their ids, and then
 * has the source flag them, which removes them. Until then their author may have written one anew:
 * that may be another mail, which nobody has sent. It keeps its marks, and stays. The daemon knows
 * whether it is what was sent after all, and takes it out then.
 */
class TransmittedMails
{
public:
    /**
     * While the message server is told of the end of an action of `service`, keeps the marks of
     * what was written anew, and sees what that marks as sent.
     */
    class Guard
    {
    public:
        explicit Guard(OrvService &service);
        ~Guard();
        Guard(const Guard &) = delete;
        Guard &operator=(const Guard &) = delete;

    private:
        QPointer<OrvService> m_service;
        QMailMessageMetaDataList m_before;
    };

    /** Those of all services: the message server does not tell them apart either. */
    static TransmittedMails &instance();

    bool isEmpty() const { return m_contents.isEmpty(); }
    /** Of the message, as the database has it now. */
    static QString contentOf(const QMailMessageId &id);
    /** The message server is told right after this that the message with that content has gone. */
    void note(const QMailMessageId &id, const QString &content);
    /**
     * `ids` without the mails that were written anew. What the message server has marked as sent of
     * these, at the end of another plugin's transmission, becomes a draft: whether it was to go is
     * not known any more.
     */
    QMailMessageIdList keepRewritten(const QMailMessageIdList &ids) const;
    /** Whose actions it is that sent mails are flagged in. */
    SentFlaggings &flaggings() { return m_flaggings; }
    /** The messages are removed. */
    void forget(const QMailMessageIdList &ids);

private:
    bool isRewritten(const QMailMessageId &id, const QMailMessageMetaData &now) const;
    QMailMessageMetaDataList takeStock();

    /** For each message its content's identifier, of which each writing makes a new one. */
    QHash<QMailMessageId, QString> m_contents;
    SentFlaggings m_flaggings;
};

#endif
