// SPDX-License-Identifier: LGPL-2.1-or-later
#ifndef DAEMON_STORE_INCOMING_FOUNDWRITER_H
#define DAEMON_STORE_INCOMING_FOUNDWRITER_H

#include "daemon/store/incoming/conversations.h"
#include "daemon/store/serveruid.h"
#include "daemon/store/state/folderkeys.h"
#include "daemon/store/storejob.h"
#include "eas/mailitem.h"

#include <qmailmessage.h>

namespace Store {

/** A message that a search has found at the server. */
struct FoundItem
{
    ServerUid uid; ///< in a folder that is known here
    Eas::MailItem item;
    ServerUid longUid {}; ///< by its LongId alone, as an earlier search may have brought it
};

/**
 * Finds the messages of a search's result in the mail store and adds those that are not there.
 *
 * What the user deleted here and the server does not know of yet is left out, and so is what may be
 * that. What was moved away is found where it lies now.
 */
class FoundWriter : public StoreJob
{
public:
    /** The database must outlive the job. */
    FoundWriter(SyncStateDb &db, const QMailAccountId &account, const QList<FoundItem> &items);

    bool step() override;
    int progress() const override;

    /** The messages, in the order of the items. */
    QMailMessageIdList messages() const { return m_messages; }

private:
    Eas::Result write(const FoundItem &found);
    bool isDeleted(const FoundItem &found) const;
    bool mayBeDeleted(const FoundItem &found, const FolderState &folder) const;
    QMailMessageId presentAs(const FoundItem &found, const FolderState &folder) const;
    Eas::Result add(const FoundItem &found, const FolderState &folder);

    const QMailAccountId m_account;
    const FolderKeys m_folders;
    Conversations m_conversations;
    QList<FoundItem> m_items;
    const int m_total;
    bool m_started = false;
    QList<ServerUid> m_deleted;
    QMailMessageIdList m_messages;
};

} // namespace Store

#endif
