// SPDX-License-Identifier: LGPL-2.1-or-later
#ifndef DAEMON_STORE_INCOMING_CONVERSATIONS_H
#define DAEMON_STORE_INCOMING_CONVERSATIONS_H

#include "daemon/store/state/conversationtable.h"

#include <QHash>
#include <qmailmessage.h>
#include <QPair>
#include <QSet>

#include <optional>

namespace Store {

/**
 * Brings the messages of a conversation, as the server tells it, into one thread of the mail store.
 *
 * A conversation's thread is the one in which its messages are. Which messages these are is
 * remembered by ConversationTable, and looked at in the store before it is believed: they have to
 * be there, in the account, and of the conversation. So a thread that others have joined to another
 * one, or taken apart, is followed. A conversation of which no message is known gets a thread of
 * its own. For messages without a conversation, the mail store guesses by their subjects. No
 * message is lost, or kept back, because its thread is not found.
 *
 * All messages of a call are looked up together: a call costs what its messages and their threads
 * cost, however many others the account has.
 */
class Conversations
{
public:
    /** The mail store reads all of a thread when one of its messages goes: what comes when a thread
     * has so many begins another one. */
    static constexpr int MaximumThread = 250;

    /** A message before its conversation has changed, and after. */
    using Change = QPair<QMailMessageMetaData, QMailMessageMetaData>;

    /** The database must outlive the object. */
    Conversations(SyncStateDb &db, const QMailAccountId &account);

    /** Adds messages to the mail store, all or none. */
    Eas::Result add(const QList<QMailMessage *> &messages);
    /** Remembers messages that are in the store, where nothing is known of their conversation. */
    void note(const QMailMessageMetaDataList &messages);
    /** Brings messages that are in the store, and whose conversation has changed, into its thread.
     */
    void move(const QList<Change> &changes);
    /** Has the unread messages counted anew in the threads of messages that were marked as read, or
     * as unread. */
    void recount(const QMailMessageMetaDataList &messages);
    /** Remembers all that was found. What could not be saved is not found again: later messages
     * begin another thread. */
    void save();

private:
    /** What the store has of a conversation. */
    struct Known
    {
        ConversationRecord record;
        QDateTime firstDate;
        QDateTime lastDate;

        void take(const QMailMessageMetaData &message);
    };

    void lookUp(const QSet<QByteArray> &digests);
    QList<Known> believed(const QList<ConversationRecord> &records) const;
    bool join(QMailMessage *message);
    Eas::Result addTogether(const QList<QMailMessage *> &messages);
    void separate(QMailMessage *message);
    bool leave(QMailMessageMetaData *message, const QMailMessageIdList &along);
    std::optional<QMailMessageMetaData> takeOut(const QMailMessageMetaData &message,
                                                const QMailMessageId &companion);
    bool isInFullThread(const QMailMessageMetaData &message) const;
    void place(const QMailMessageMetaData &message);
    void moveTo(const QMailThreadId &thread, const QMailMessageMetaData &message);
    void refreshThreads();

    const QMailAccountId m_account;
    ConversationTable m_table;
    QHash<QByteArray, ConversationRecord> m_unsaved;
    QHash<QByteArray, Known> m_known;               ///< of the current call's messages
    QHash<QByteArray, QMailThreadId> m_full;        ///< those of them whose thread is full
    QHash<quint64, QMailMessageId> m_joinedThreads; ///< with a message of each
};

} // namespace Store

#endif
