// SPDX-License-Identifier: LGPL-2.1-or-later
#ifndef DAEMON_STORE_INCOMING_MESSAGEWRITER_H
#define DAEMON_STORE_INCOMING_MESSAGEWRITER_H

#include "daemon/store/incoming/conversations.h"
#include "daemon/store/state/folderkeys.h"
#include "eas/mailitem.h"
#include "eas/result.h"

#include <qmailmessage.h>
#include <qmailmessagekey.h>
#include <QMap>
#include <QPair>

#include <vector>

namespace Store {

/** Writes items of a server into the mail store as an account's messages, and counts what changed.
 */
class MessageWriter
{
public:
    /** An item, and the message that it changes. */
    using Update = QPair<Eas::MailItem, QMailMessageMetaData>;
    using Updates = QList<Update>;

    /** The database must outlive the writer. */
    MessageWriter(SyncStateDb &db, const QMailAccountId &account);

    /** New messages of a folder; all of them or none. */
    Eas::Result add(const FolderState &folder, const QList<Eas::MailItem> &items);
    Eas::Result update(const Updates &items);
    /** Messages as they are to be, without their contents. */
    Eas::Result replace(QList<QMailMessageMetaData> &messages);
    Eas::Result remove(const QMailMessageKey &messages);
    /** Remembers which threads the messages' conversations are. */
    void saveConversations() { m_conversations.save(); }

    /** The messages that are new in the store, in the order of the items. */
    QMailMessageIdList added() const { return m_added; }
    QMailMessageIdList updated() const { return m_updated; }
    int removed() const { return m_removed; }

private:
    Eas::Result storeContents(std::vector<QMailMessage> &contents, const Updates &items,
                              Updates *outdated);
    Eas::Result storeFlags(const QMap<QPair<quint64, bool>, QMailMessageIdList> &flags);
    Eas::Result storeMarks(const QList<QMailMessageMetaData> &marked);
    void followConversations(const Updates &items);

    const QMailAccountId m_account;
    Conversations m_conversations;
    QMailMessageIdList m_added;
    QMailMessageIdList m_updated;
    int m_removed = 0;
};

} // namespace Store

#endif
